#include <PolypiaGL/glMachine.hpp>

#include <PolypiaGL/GLRenderException.hpp>
#include <PolypiaGL/glErrors.hpp>

#include <keel/VerboseStream.hpp>

namespace Mirk::GL {

namespace {

// A quarter of a million vertices keeps a driver on the CPU at a few dozen megabytes, and costs
// less than a tenth of its time.
constexpr std::size_t softwareQueue = 250000;

} // namespace

Machine::Machine(GLContext& theContext) : context(theContext), drawState(context.profile()) {
    if (context.isSoftware()) queuedVertices = softwareQueue;
    // The greatest index starts a new strip.
    glEnable(GL_PRIMITIVE_RESTART_FIXED_INDEX);
}

Machine::~Machine() = default;

void Machine::check(const char* call) const {
    if (!checksErrors) return;
    const auto errors = drainErrors(call);
    if (errors.empty()) return;
    throw GLRenderException(static_cast<int>(errors.front().code), errors.front().text(), call,
                            "PolypiaGL", 0);
}

void Machine::report(const char* call) const noexcept {
    if (checksErrors) setErrorsAside(call);
}

void Machine::setErrorsAside(const char* call) const noexcept {
    for (const Error& error : drainErrors(call)) {
        if (checksErrors) Keel::VerboseStream("GL").print("%s", error.text().c_str());
    }
}

void Machine::discardErrors(const std::string& object) const noexcept {
    if (!checksErrors) return;
    const std::vector<Error> errors = drainErrors("");
    if (errors.empty()) return;
    // The others follow from it, and a lost context has no end of them.
    Keel::VerboseStream("GL").print("[%s] has left an error of OpenGL: %s", object.c_str(),
                                    errorName(errors.front().code).c_str());
}

} // namespace Mirk::GL
