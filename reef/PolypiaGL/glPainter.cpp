#include <PolypiaGL/glPainter.hpp>

#include <PolypiaGL/GLRenderException.hpp>
#include <PolypiaGL/glProgram.hpp>
#include <PolypiaGL/glVertexLayout.hpp>

#include <algorithm>
#include <chrono>
#include <optional>
#include <string>

namespace Mirk::GL {

namespace {

/// Where a draw may be cut: after a multiple of `step` vertices, `overlap` more of which the part
/// in front of the cut needs. A step of 0 means that it can't be cut.
struct Cutting {
    std::int64_t step;
    std::int64_t overlap;
};

Cutting cuttingOf(unsigned mode) {
    switch (mode) {
    case GL_POINTS:
        return {1, 0};
    case GL_LINES:
        return {2, 0};
    case GL_LINE_STRIP:
        return {1, 1};
    case GL_TRIANGLES:
        return {3, 0};
    case GL_TRIANGLE_STRIP: // every other triangle has its corners turned round
        return {2, 2};
    default:
        return {0, 0};
    }
}

std::int64_t indexBytes(unsigned type) {
    switch (type) {
    case GL_UNSIGNED_BYTE:
        return 1;
    case GL_UNSIGNED_SHORT:
        return 2;
    default:
        return 4;
    }
}

/// Calls `draw(int instances)` once for each view that the machine asks for, or once for all of
/// them if the program can do so.
template<class Draw>
void drawViews(Machine& machine, GLProgram* program, const Draw& draw) {
    const Pass pass = program != nullptr ? program->pass() : Pass::EachView;
    const bool isPlain = pass == Pass::EachView && machine.pass == Pass::EachView;
    if (machine.targets == nullptr || (isPlain && machine.numberOfViews == 1)) return draw(1);
    const unsigned first = machine.firstView, end = first + machine.numberOfViews;
    const bool isInFrame = machine.targets->areBound();
    const bool drawsAll = isInFrame && machine.numberOfViews > 1;
    // The view that was current before.
    const auto goBack = [&] {
        if (drawsAll) machine.targets->bindView(first);
    };
    switch (pass) {
    case Pass::EachView:
        if (!isInFrame) return draw(1);
        for (unsigned view = first; view < end; ++view) {
            machine.targets->bindView(view);
            if (program != nullptr) program->selectView();
            draw(1);
        }
        return goBack();
    case Pass::Layers:
        if (drawsAll && machine.targets->bindAll()) {
            program->setLayer(static_cast<int>(first));
            return draw(static_cast<int>(machine.numberOfViews));
        }
        for (unsigned view = first; view < (isInFrame ? end : first + 1); ++view) {
            if (isInFrame) machine.targets->bindView(view);
            program->setLayer(static_cast<int>(view));
            draw(1);
        }
        return goBack();
    case Pass::Extension:
        program->setLayer(drawsAll ? 0 : static_cast<int>(first) + 1);
        if (isInFrame) machine.targets->bindAll();
        return draw(1);
    }
}

} // namespace

GLPainter::GLPainter(MachinePtr machine, RenderNamespace::Primitive primitive, int vertices)
    : _machine(std::move(machine)), _primitive(primitive), _vertices(vertices) {}

GLPainter::GLPainter(MachinePtr machine, RenderNamespace::Primitive primitive, IndicesPtr indices)
    : _machine(std::move(machine)), _primitive(primitive), _indices(std::move(indices)) {}

bool GLPainter::draw(const Polyp& polyp) {
    GLProgram* const program = _machine->program;
    if (program != nullptr && program->isCompute()) return true;
    const unsigned glMode = mode(program);
    const bool inPieces = isInPieces(polyp);
    const Range wanted = inPieces ? rangeInPiece(polyp, range(polyp), glMode) : range(polyp);
    if (wanted.count <= 0) return true;
    const DrawState::Scope scope(_machine->drawState);
    if (program != nullptr) {
        // An object may have had others draw, or called OpenGL itself, since it was prepared.
        program->select();
        program->setFirstVertexOfChunk(inPieces ? polyp.currentChunk * polyp.chunkElements : 0);
    } else {
        _machine->drawState.useCallersProgram();
    }
    if (_indices) _indices->uploadSource();
    const VertexLayout layout(*_machine, program);
    if (_indices) layoutIndices();
    drawViews(*_machine, program, [&](int instances) { drawInParts(glMode, wanted, instances); });
    _machine->check("Painter::draw");
    return true;
}

void GLPainter::layoutIndices() const {
    const BufferMemory& memory = _indices->memory();
    _machine->drawState.setIndices(memory.serial(), memory.number());
    // With fewer bits the greatest index is one that meshes use.
    _machine->drawState.setPrimitiveRestart(indexBytes(_indices->type()) == 4);
}

bool GLPainter::isInPieces(const Polyp& polyp) const {
    // Indices tell vertices of all pieces.
    return polyp.chunkElements != 0 && !_indices;
}

GLPainter::Range GLPainter::range(const Polyp& polyp) const {
    const auto all = static_cast<std::int64_t>(
        _indices ? _indices->numberOfComponents()
        : _vertices != 0
            ? static_cast<std::size_t>(_vertices)
            : polyp.NumberOfElements(Polyp::VertexAttributeKey, Polyp::ChunkedDataKey - 1));
    const std::int64_t from = std::max<std::int64_t>(first, 0);
    const std::int64_t to = count < 0 ? all : std::min(all, from + count);
    return {from, to - from};
}

GLPainter::Range GLPainter::rangeInPiece(const Polyp& polyp, Range all, unsigned glMode) const {
    const std::int64_t piece = polyp.chunkElements;
    const std::int64_t begin = piece * polyp.currentChunk;
    const std::int64_t end = all.first + all.count;
    const Cutting cutting = cuttingOf(glMode);
    if (cutting.step == 0) {
        const bool isInOne = all.count <= 0 || all.first / piece == (end - 1) / piece;
        if (isInOne) return all.first / piece == polyp.currentChunk ? all : Range{0, 0};
        throw GLRenderException(GL_INVALID_OPERATION,
                                "a loop or fan of " + std::to_string(all.count) +
                                    " vertices can't be drawn in pieces of " +
                                    std::to_string(piece),
                                "Painter::draw", __FILE__, __LINE__);
    }
    // The first vertex from here on with which a figure begins.
    const auto figure = [&](std::int64_t vertex) {
        const std::int64_t passed =
            std::clamp(vertex, all.first, std::max(all.first, end)) - all.first;
        return all.first + (passed + cutting.step - 1) / cutting.step * cutting.step;
    };
    const std::int64_t from = figure(begin);
    return {from, std::min(end, figure(begin + piece) + cutting.overlap) - from};
}

unsigned GLPainter::mode(const GLProgram* program) const {
    switch (_primitive) {
    case RenderNamespace::Polygon:
        return program != nullptr && program->takesLines() ? GL_LINE_LOOP : GL_TRIANGLE_FAN;
    case RenderNamespace::ConnectedLines:
        return GL_LINE_STRIP;
    default:
        return static_cast<unsigned>(_primitive);
    }
}

void GLPainter::drawInParts(unsigned glMode, Range range, int instances) const {
    const Cutting cutting = cuttingOf(glMode);
    const auto queue = static_cast<std::int64_t>(_machine->queuedVertices) / instances;
    // Where indices begin a strip of triangles anew, nobody knows which of them are turned round.
    const bool isWhole = cutting.step == 0 || (_indices && glMode == GL_TRIANGLE_STRIP);
    if (queue == 0 || isWhole || range.count <= queue) {
        drawRange(glMode, range, instances);
        return;
    }
    const std::int64_t part =
        std::max(queue / cutting.step * cutting.step, cutting.step + cutting.overlap);
    for (std::int64_t done = 0; done < range.count; done += part - cutting.overlap) {
        drawRange(glMode, {range.first + done, std::min(part, range.count - done)}, instances);
        glFinish();
    }
}

void GLPainter::drawRange(unsigned glMode, Range range, int instances) const {
    if (!_indices) {
        glDrawArraysInstanced(glMode, static_cast<GLint>(range.first),
                              static_cast<GLsizei>(range.count), instances);
        return;
    }
    const unsigned type = _indices->type();
    // An offset that travels as a pointer, as OpenGL wants it.
    const auto* const offset = reinterpret_cast<const void*>(range.first * indexBytes(type));
    glDrawElementsInstanced(glMode, static_cast<GLsizei>(range.count),
                            type == GL_INT ? unsigned{GL_UNSIGNED_INT} : type, offset, instances);
}

GLDispatcher::GLDispatcher(MachinePtr machine, unsigned x, unsigned y, unsigned z)
    : _machine(std::move(machine)), _x(x), _y(y), _z(z) {}

void GLDispatcher::setGroups(unsigned x, unsigned y, unsigned z) {
    _x = x;
    _y = y;
    _z = z;
}

bool GLDispatcher::activate(const Polyp& polyp) {
    bool ok = true;
    const auto [first, last] = polyp.get_programs();
    for (auto entry = first; entry != last; ++entry) {
        const Keel::StrongPtr<GLProgram, Polyp::Tentacle> program(entry->second);
        if (!program || !program->isCompute()) continue;
        program->prepare(polyp);
        ok = dispatch(polyp) && ok;
    }
    return ok;
}

bool GLDispatcher::deactivate(const Polyp&) {
    return true;
}

bool GLDispatcher::dispatch(const Polyp&) {
    glDispatchCompute(_x, _y, _z);
    glMemoryBarrier(GL_ALL_BARRIER_BITS);
    _machine->check("ComputationDispatcher::dispatch");
    return true;
}

GLTimer::GLTimer(MachinePtr machine) : _machine(std::move(machine)) {}

std::uint64_t GLTimer::now() const {
    if (_machine->context.isSoftware()) {
        glFinish();
        return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(
                                              std::chrono::steady_clock::now().time_since_epoch())
                                              .count());
    }
    // Waits until the driver has got here, which is what a measurement costs.
    const QueryId query = createQuery(GL_TIMESTAMP);
    glQueryCounter(query.number(), GL_TIMESTAMP);
    GLuint64 time = 0;
    glGetQueryObjectui64v(query.number(), GL_QUERY_RESULT, &time);
    return time;
}

bool GLTimer::activate(const Polyp&) {
    startNanoseconds = now();
    return true;
}

bool GLTimer::deactivate(const Polyp&) {
    totalNanoseconds += now() - startNanoseconds;
    ++measurements;
    return true;
}

double GLTimer::seconds() const {
    if (measurements == 0) return -1.0;
    return static_cast<double>(totalNanoseconds) * 1e-9 / static_cast<double>(measurements);
}

} // namespace Mirk::GL
