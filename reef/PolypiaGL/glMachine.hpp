#pragma once
// What all tentacles of one context share: the context, its current state, matrices for programs of
// the fixed-function names. Internal to the backend; stands on GLContext and DrawState.

#include <PolypiaGL/GLContext.hpp>
#include <PolypiaGL/Pass.hpp>
#include <PolypiaGL/glDrawState.hpp>
#include <PolypiaGL/glHeaders.hpp>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Mirk::GL {

class GLProgram;
class GLVertexAttribute;

/// Where the views of a frame are drawn to.
class ViewTargets {
public:
    /// Draws go to all views; false if there is no way to that.
    virtual bool bindAll() = 0;
    /// Draws go to one view, which is the current one of the machine, with its matrices.
    virtual void bindView(unsigned view) = 0;
    /// Whether draws go here at all: objects may draw into pictures of their own.
    virtual bool areBound() const = 0;

protected:
    ~ViewTargets() = default;
};

/// The shared state of a basin and its tentacles, which hold it strongly: it dies with the last of
/// them. Render thread only.
class Machine {
public:
    using Matrix = std::array<double, 16>; // column-major, the vector on the right

    explicit Machine(GLContext& context);
    ~Machine();

    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    /// Throws for the first error that OpenGL has kept, if checks are on; names what was done.
    void check(const char* call) const;
    /// The same for an activate(): the wave does not deactivate what has thrown, so that it has to
    /// undo by itself what it has done.
    template<class Undo>
    void check(const char* call, const Undo& undo) const {
        try {
            check(call);
        } catch (...) {
            undo();
            throw;
        }
    }
    /// The same for places that must not throw: prints.
    void report(const char* call) const noexcept;
    /// Takes the errors that OpenGL has kept, even if checks are off, so that what comes next isn't
    /// held to have failed for them. Prints them if checks are on.
    void setErrorsAside(const char* call) const noexcept;

    /// If checks are on, drops the errors that an object has left, so that nobody else fails for
    /// them, and prints the first one with its name.
    void discardErrors(const std::string& object) const noexcept;

    static constexpr Matrix identity() { return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}; }

    GLContext& context;
    DrawState drawState;
    /// The one that was activated or prepared last, of those that are active; null without one.
    GLProgram* program = nullptr;
    /// For buffers, see VertexSource.
    std::uint64_t nextSerial() { return ++_serial; }
    /// Those that are active, in the order of activation.
    std::vector<const GLVertexAttribute*> attributes;
    Matrix projection = identity();
    Matrix modelView = identity();
    /// Raised when one of the matrices changes, so that programs send them again.
    std::uint64_t matrixStamp = 1;
    unsigned currentView = 0;
    /// How programs that are made from now on draw several views.
    Pass pass = Pass::EachView;
    /// What is drawn goes to these views of the targets; without targets to what is bound.
    unsigned firstView = 0;
    unsigned numberOfViews = 1;
    ViewTargets* targets = nullptr;
    bool checksErrors = true;
    /// Vertices that may wait in the driver's queue; 0 for any number. Drivers that draw on the
    /// CPU keep about 130 bytes for each.
    std::size_t queuedVertices = 0;

private:
    std::uint64_t _serial = 0;
};

using MachinePtr = std::shared_ptr<Machine>;

} // namespace Mirk::GL
