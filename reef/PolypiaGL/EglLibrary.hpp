#pragma once
// libEGL, opened at run time: a machine without it gets a message rather than a program that does
// not start. Stands on dlopen and the headers of EGL.

#include <PolypiaGL/export.hpp>

#ifndef EGL_NO_PLATFORM_SPECIFIC_TYPES
#define EGL_NO_PLATFORM_SPECIFIC_TYPES // no headers of window systems
#endif
#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <memory>
#include <string>
#include <string_view>

namespace Mirk {

/// The functions of one libEGL. It stays loaded until the process ends, since drivers leave threads
/// and exit handlers behind. Safe to use from all threads.
class EglLibrary {
public:
    /// Throws ContextError if the library can't be opened or lacks a function.
    static std::shared_ptr<const EglLibrary> open(const std::string& name);

    bool hasClientExtension(std::string_view extension) const;

    /// What went wrong last on this thread, as "EGL_BAD_MATCH (0x3009)".
    std::string lastError() const;

    decltype(&eglGetProcAddress) getProcAddress = nullptr;
    decltype(&eglQueryString) queryString = nullptr;
    decltype(&eglGetError) getError = nullptr;
    decltype(&eglGetDisplay) getDisplay = nullptr;
    decltype(&eglInitialize) initialize = nullptr;
    decltype(&eglBindAPI) bindAPI = nullptr;
    decltype(&eglChooseConfig) chooseConfig = nullptr;
    decltype(&eglCreatePbufferSurface) createPbufferSurface = nullptr;
    decltype(&eglDestroySurface) destroySurface = nullptr;
    decltype(&eglCreateContext) createContext = nullptr;
    decltype(&eglDestroyContext) destroyContext = nullptr;
    decltype(&eglMakeCurrent) makeCurrent = nullptr;

    // Of extensions, null without them.
    PFNEGLGETPLATFORMDISPLAYEXTPROC getPlatformDisplay = nullptr;
    PFNEGLQUERYDEVICESEXTPROC queryDevices = nullptr;
    PFNEGLQUERYDEVICESTRINGEXTPROC queryDeviceString = nullptr;

private:
    EglLibrary() = default;
};

/// True if a list of words with blanks between them, which may be null, holds the word.
bool listHolds(const char* list, std::string_view word);

} // namespace Mirk
