#pragma once
// Where a context without a window may come from: devices, Mesa's surfaceless platform, the
// default display. Stands on EglLibrary.

#include <PolypiaGL/EglLibrary.hpp>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Mirk {

/// An initialised display. Displays are never terminated: EGL hands out the same one to everybody
/// in the process and does not count them.
class EglDisplay {
public:
    /// A place to try, not yet touched.
    struct Source {
        enum class Kind { Device, Surfaceless, Default };
        Kind kind = Kind::Default;
        EGLDeviceEXT device = nullptr;
        std::string name; ///< for messages, as "device 0 (/dev/dri/card0)"
        bool isSoftware = false;
    };

    /// What to try, best first. `choice`: a device number, "surfaceless" or "default" names the
    /// only one; empty means devices with hardware, surfaceless, software devices, default. Reasons
    /// why some are not even tried are appended to `reasons`.
    static std::vector<Source> sources(const EglLibrary& egl, const std::string& choice,
                                       std::vector<std::string>& reasons);

    /// Throws ContextError with the reason if the display can't be used.
    EglDisplay(std::shared_ptr<const EglLibrary> library, Source source);

    const EglLibrary& egl() const { return *_library; }
    EGLDisplay handle() const { return _handle; }
    const Source& source() const { return _source; }
    bool hasExtension(std::string_view extension) const;

private:
    EGLDisplay open() const;

    std::shared_ptr<const EglLibrary> _library;
    Source _source;
    EGLDisplay _handle;
};

} // namespace Mirk
