#include <PolypiaGL/glDrawState.hpp>

#include <PolypiaGL/glHeaders.hpp>

#include <bit>
#include <utility>

namespace Mirk::GL {

namespace {

/// By Switch. Point sprites have no constant beyond the compatibility profile, in which alone they
/// can be switched: in the other they are always on.
constexpr std::array<GLenum, 5> names{GL_CLIP_DISTANCE0, GL_CLIP_DISTANCE1, GL_PROGRAM_POINT_SIZE,
                                      0x8861 /* GL_POINT_SPRITE */,
                                      GL_PRIMITIVE_RESTART_FIXED_INDEX};

bool exists(std::size_t number, Profile profile) {
    return number != static_cast<std::size_t>(Switch::PointSprite) ||
           profile == Profile::Compatibility;
}

void setFormat(unsigned array, unsigned location, const VertexSource& source) {
    switch (source.conversion) {
    case VertexSource::Conversion::Double:
        return glVertexArrayAttribLFormat(array, location, source.components, source.type, 0);
    case VertexSource::Conversion::Integer:
        return glVertexArrayAttribIFormat(array, location, source.components, source.type, 0);
    default:
        return glVertexArrayAttribFormat(
            array, location, source.components, source.type,
            source.conversion == VertexSource::Conversion::Normalised ? GL_TRUE : GL_FALSE, 0);
    }
}

bool haveSameFormat(const VertexSource& a, const VertexSource& b) {
    return a.type == b.type && a.components == b.components && a.conversion == b.conversion;
}

/// Calls `visit(unsigned location)` for each bit.
template<class Visit>
void forEachBit(unsigned bits, const Visit& visit) {
    for (; bits != 0; bits &= bits - 1) visit(static_cast<unsigned>(std::countr_zero(bits)));
}

/// These belong to the context.
void loadMatrices(const double* projection, const double* modelView) {
    GLint mode = GL_MODELVIEW;
    glGetIntegerv(GL_MATRIX_MODE, &mode);
    glMatrixMode(GL_PROJECTION);
    glLoadMatrixd(projection);
    glMatrixMode(GL_MODELVIEW);
    glLoadMatrixd(modelView);
    glMatrixMode(static_cast<GLenum>(mode));
}

} // namespace

DrawState::DrawState(Profile profile) : _profile(profile), _vertexArray(createVertexArray()) {}

DrawState::~DrawState() = default;

DrawState::Frame::Frame(DrawState& state)
    : _scope(state),
      _state(state),
      _isWithin(state._depth > 1),
      _isOthers(_isWithin && !state._isKnown),
      _wasRestored(std::exchange(state._wasRestored, false)),
      _outer(state._found) {
    state.know();
    state._found = state._callers;
}

DrawState::Frame::~Frame() {
    if (_isOthers) {
        _state.goBack();
        _state.restore();
    }
    _state._found = _outer;
    _state._wasRestored = _wasRestored;
}

void DrawState::know() {
    if (_isKnown) return;
    GLint program = 0, array = 0;
    glGetIntegerv(GL_CURRENT_PROGRAM, &program);
    glGetIntegerv(GL_VERTEX_ARRAY_BINDING, &array);
    _callers.program = static_cast<unsigned>(program);
    _callers.vertexArray = static_cast<unsigned>(array);
    for (std::size_t i = 0; i < names.size(); ++i) {
        _callers.switches[i] = exists(i, _profile) && glIsEnabled(names[i]) == GL_TRUE;
    }
    _current = _callers;
    _isKnown = _depth > 0;
}

void DrawState::restore() noexcept {
    _wasRestored = true;
    if (!_isKnown) return;
    setAll(_callers);
    if (_callersMatrices) {
        loadMatrices((*_callersMatrices)[0].data(), (*_callersMatrices)[1].data());
        _callersMatrices.reset();
    }
    _isKnown = false;
}

void DrawState::goBack() {
    _isKnown = false;
    know();
    _callers = _found;
    setAll(_found);
    _wasRestored = false;
}

void DrawState::setAll(const Values& values) {
    emptyVertexArray();
    bindVertexArray(values.vertexArray);
    useProgram(values.program);
    for (std::size_t i = 0; i < names.size(); ++i) {
        set(static_cast<Switch>(i), values.switches[i]);
    }
}

void DrawState::useProgram(unsigned program) {
    know();
    if (program == _current.program) return;
    glUseProgram(program);
    _current.program = program;
}

void DrawState::useCallersProgram() {
    know();
    useProgram(_callers.program);
    for (std::size_t i = 0; i < ProgramSwitches().size(); ++i) {
        set(static_cast<Switch>(i), _callers.switches[i]);
    }
}

void DrawState::setSwitches(const ProgramSwitches& enabled) {
    for (std::size_t i = 0; i < enabled.size(); ++i) set(static_cast<Switch>(i), enabled[i]);
}

void DrawState::set(Switch which, bool enabled) {
    know();
    const auto i = static_cast<std::size_t>(which);
    if (_current.switches[i] == enabled || !exists(i, _profile)) return;
    if (enabled) {
        glEnable(names[i]);
    } else {
        glDisable(names[i]);
    }
    _current.switches[i] = enabled;
}

void DrawState::bindVertexArray() {
    bindVertexArray(_vertexArray.number());
}

void DrawState::bindVertexArray(unsigned array) {
    know();
    if (array == _current.vertexArray) return;
    glBindVertexArray(array);
    _current.vertexArray = array;
}

void DrawState::setVertices(unsigned location, const VertexSource& source) {
    const unsigned array = _vertexArray.number();
    VertexSource& present = _sources[location];
    const bool isFed = (_locations >> location & 1U) != 0;
    if (!isFed || !haveSameFormat(present, source)) setFormat(array, location, source);
    if (!isFed || present.serial != source.serial || present.strideBytes != source.strideBytes) {
        glVertexArrayVertexBuffer(array, location, source.buffer, 0, source.strideBytes);
    }
    if (!isFed) glEnableVertexArrayAttrib(array, location);
    present = source;
    _locations |= 1U << location;
}

void DrawState::limitVertices(unsigned locations) {
    const unsigned array = _vertexArray.number();
    forEachBit(_locations & ~locations, [array](unsigned location) {
        constexpr int anyStride = 16;
        glDisableVertexArrayAttrib(array, location);
        // A vertex array that kept a buffer would keep its memory, too.
        glVertexArrayVertexBuffer(array, location, 0, 0, anyStride);
    });
    _locations &= locations;
}

void DrawState::setIndices(std::uint64_t serial, unsigned buffer) {
    if (serial == _indices) return;
    glVertexArrayElementBuffer(_vertexArray.number(), buffer);
    _indices = serial;
}

void DrawState::setMatrices(const Matrix& projection, const Matrix& modelView) {
    know();
    if (_isKnown && !_callersMatrices) {
        auto& callers = _callersMatrices.emplace();
        glGetDoublev(GL_PROJECTION_MATRIX, callers[0].data());
        glGetDoublev(GL_MODELVIEW_MATRIX, callers[1].data());
    }
    // Always, as anybody may have set others since.
    loadMatrices(projection.data(), modelView.data());
}

void DrawState::emptyVertexArray() {
    limitVertices(0);
    setIndices(0, 0);
}

} // namespace Mirk::GL
