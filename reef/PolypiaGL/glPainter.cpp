#include <PolypiaGL/glPainter.hpp>

#include <PolypiaGL/glProgram.hpp>

#include <algorithm>
#include <chrono>

namespace Mirk::GL {

namespace {

/// How a long draw is cut: parts have a multiple of `step` vertices, of which the last `overlap`
/// begin the next part. A step of 0 means that it can't be cut.
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
    default:
        return {0, 0};
    }
}

} // namespace

GLPainter::GLPainter(MachinePtr machine, RenderNamespace::Primitive primitive, int vertices)
    : _machine(std::move(machine)), _primitive(primitive), _vertices(vertices) {}

GLPainter::GLPainter(MachinePtr machine, RenderNamespace::Primitive primitive, IndicesPtr indices)
    : _machine(std::move(machine)), _primitive(primitive), _indices(std::move(indices)) {}

bool GLPainter::draw(const Polyp& polyp) {
    const Keel::StrongPtr<GLProgram, Polyp::Tentacle> program = currentProgram(polyp, *_machine);
    if (program && program->isCompute()) return true;
    const Range wanted = range(polyp);
    if (wanted.count <= 0) return true;
    if (program) program->setInteger("zelk_FirstVertexOfChunk", static_cast<int>(wanted.first));
    glBindVertexArray(_machine->vertexArray.number());
    if (_indices) {
        glVertexArrayElementBuffer(_machine->vertexArray.number(), _indices->memory().number());
    }
    drawInParts(mode(program.get()), wanted);
    if (_indices) glVertexArrayElementBuffer(_machine->vertexArray.number(), 0);
    glBindVertexArray(0);
    _machine->check("Painter::draw");
    return true;
}

GLPainter::Range GLPainter::range(const Polyp& polyp) const {
    const auto all = static_cast<std::int64_t>(
        _indices ? _indices->elements()
        : _vertices != 0
            ? static_cast<std::size_t>(_vertices)
            : polyp.NumberOfElements(Polyp::VertexAttributeKey, Polyp::ChunkedDataKey - 1));
    std::int64_t from = std::max<std::int64_t>(first, 0);
    std::int64_t to = count < 0 ? all : std::min(all, from + count);
    // Indices tell vertices of all pieces, so that only plain vertices can be drawn in pieces.
    if (polyp.chunkElements != 0 && !_indices) {
        const std::int64_t piece = polyp.chunkElements;
        from = std::max(from, piece * polyp.currentChunk);
        to = std::min(to, piece * (std::int64_t{polyp.currentChunk} + 1));
    }
    return {from, to - from};
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

void GLPainter::drawInParts(unsigned glMode, Range range) const {
    const Cutting cutting = cuttingOf(glMode);
    const auto queue = static_cast<std::int64_t>(_machine->queuedVertices);
    if (queue == 0 || cutting.step == 0 || range.count <= queue) {
        drawRange(glMode, range);
        return;
    }
    const std::int64_t part = queue / cutting.step * cutting.step;
    for (std::int64_t done = 0; done < range.count; done += part - cutting.overlap) {
        drawRange(glMode, {range.first + done, std::min(part, range.count - done)});
        glFinish();
    }
}

void GLPainter::drawRange(unsigned glMode, Range range) const {
    if (!_indices) {
        glDrawArrays(glMode, static_cast<GLint>(range.first), static_cast<GLsizei>(range.count));
        return;
    }
    const unsigned type = _indices->type();
    const std::int64_t indexBytes = type == GL_UNSIGNED_BYTE    ? 1
                                    : type == GL_UNSIGNED_SHORT ? 2
                                                                : 4;
    // An offset that travels as a pointer, as OpenGL wants it.
    const auto* const offset = reinterpret_cast<const void*>(range.first * indexBytes);
    glDrawElements(glMode, static_cast<GLsizei>(range.count),
                   type == GL_INT ? unsigned{GL_UNSIGNED_INT} : type, offset);
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
