#pragma once
// An OpenGL 4.5 context without a window; stands on EglDisplay.

#include <PolypiaGL/GLContext.hpp>
#include <PolypiaGL/export.hpp>

#include <memory>
#include <optional>
#include <string>

namespace Mirk {

class EglDisplay;

/// A context on a device, or wherever EGL gives one without a window. Nothing can be drawn but into
/// framebuffer objects.
class POLYPIAGL_EXPORT EglContext : public GLContext {
public:
    struct Options {
        std::string device; ///< number, "surfaceless" or "default"; empty: the best that works
        std::optional<GL::Profile> profile;  ///< empty: compatibility, else core
        bool debug = false;                  ///< a debug context that collects messages
        std::string library = "libEGL.so.1"; ///< for dlopen
    };

    /// Not current afterwards; the thread keeps the context that it had. Throws one ContextError
    /// that tells for each way tried why it failed.
    static std::unique_ptr<EglContext> create(const Options& options);
    static std::unique_ptr<EglContext> create() { return create(Options()); }

    /// A second context of the same device and profile that shares objects with this one. Throws
    /// ContextError.
    std::unique_ptr<EglContext> createShared() const;

    /// Gives up the context; prints if it is current on another thread, where it then lives on.
    ~EglContext() override;

    Function function(const char* name) const override;
    /// Where it comes from, as "device 0 (software)" or "surfaceless".
    const std::string& source() const;

private:
    struct Native;
    struct Attempt;

    EglContext(std::shared_ptr<const EglDisplay> display, GL::Profile profile, bool debug,
               const EglContext* shared);

    bool bind(std::string& reason) override;
    bool unbind() noexcept override;

    std::unique_ptr<Native> _native;
    bool _debug;
};

} // namespace Mirk
