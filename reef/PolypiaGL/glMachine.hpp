#pragma once
// What all tentacles of one context share: the context, its current state, matrices for programs of
// the fixed-function names. Internal to the backend; stands on GLContext and ObjectId.

#include <PolypiaGL/GLContext.hpp>
#include <PolypiaGL/ObjectId.hpp>
#include <PolypiaGL/glHeaders.hpp>

#include <array>
#include <cstdint>
#include <memory>
#include <string>

namespace Mirk::GL {

/// The shared state of a basin and its tentacles, which hold it strongly: it dies with the last of
/// them. Render thread only.
class Machine {
public:
    using Matrix = std::array<double, 16>; // column-major, the vector on the right

    explicit Machine(GLContext& context);
    ~Machine();

    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    /// The program that glUseProgram has set last; returns the one before.
    unsigned useProgram(unsigned program);
    unsigned currentProgram() const { return _program; }

    /// Throws for the first error that OpenGL has kept, if checks are on; names what was done.
    void check(const char* call) const;
    /// The same for places that must not throw: prints.
    void report(const char* call) const noexcept;

    static constexpr Matrix identity() { return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}; }

    GLContext& context;
    VertexArrayId vertexArray;
    Matrix projection = identity();
    Matrix modelView = identity();
    /// Raised when one of the matrices changes, so that programs send them again.
    std::uint64_t matrixStamp = 1;
    unsigned currentView = 0;
    bool checksErrors = true;
    /// Vertices that may wait in the driver's queue; 0 for any number. Drivers that draw on the
    /// CPU keep about 130 bytes for each.
    std::size_t queuedVertices = 0;

private:
    unsigned _program = 0;
};

using MachinePtr = std::shared_ptr<Machine>;

} // namespace Mirk::GL
