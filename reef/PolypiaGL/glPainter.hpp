#pragma once
// Draw calls, compute work, timers and flags; internal to the backend, stands on Machine.

#include <Polypia/RenderTentacles.hpp>
#include <PolypiaGL/glBuffers.hpp>
#include <PolypiaGL/glMachine.hpp>

#include <cstdint>

namespace Mirk::GL {

/// Draws all vertices of the polyp or a range of them, or those that an array of indices tells, in
/// the pieces that Polyp::prepareWave has worked out: each pass draws the figures that begin in its
/// piece. A shader that reads data bound in pieces subtracts the int uniform
/// "zelk_FirstVertexOfChunk" from gl_VertexID. Loops and fans can't be drawn in pieces.
///
/// An index with all of 32 bits set ends a strip, loop or fan and begins the next.
class GLPainter : public RenderBasin::RangedPainter {
public:
    using IndicesPtr = Keel::StrongPtr<GLVertexAttribute, Polyp::Tentacle>;

    /// `vertices` 0: as many as the polyp has.
    GLPainter(MachinePtr machine, RenderNamespace::Primitive primitive, int vertices);
    GLPainter(MachinePtr machine, RenderNamespace::Primitive primitive, IndicesPtr indices);

    bool draw(const Polyp& polyp) override;
    RenderNamespace::Primitive primitive() const override { return _primitive; }

private:
    /// A range of vertices or indices.
    struct Range {
        std::int64_t first;
        std::int64_t count;
    };

    Range range(const Polyp& polyp) const;
    Range rangeInPiece(const Polyp& polyp, Range all, unsigned mode) const;
    void layoutIndices() const;
    bool isInPieces(const Polyp& polyp) const;
    unsigned mode(const class GLProgram* program) const;
    void drawInParts(unsigned mode, Range range, int instances) const;
    void drawRange(unsigned mode, Range range, int instances) const;

    MachinePtr _machine;
    RenderNamespace::Primitive _primitive;
    int _vertices = 0;
    IndicesPtr _indices;
};

class GLDispatcher : public RenderBasin::ComputationDispatcher {
public:
    GLDispatcher(MachinePtr machine, unsigned x, unsigned y, unsigned z);

    bool activate(const Polyp& polyp) override;
    bool deactivate(const Polyp& polyp) override;
    void setGroups(unsigned x, unsigned y, unsigned z) override;
    /// Work is seen by all that comes after it.
    bool dispatch(const Polyp& polyp) override;

private:
    MachinePtr _machine;
    unsigned _x;
    unsigned _y;
    unsigned _z;
};

/// Times by the driver's clock or, where that tells nothing (drivers on the CPU), by waiting for
/// the driver at both ends.
class GLTimer : public RenderBasin::RenderTimer {
public:
    explicit GLTimer(MachinePtr machine);

    bool activate(const Polyp& polyp) override;
    bool deactivate(const Polyp& polyp) override;
    double seconds() const override;

private:
    std::uint64_t now() const;

    MachinePtr _machine;
};

} // namespace Mirk::GL
