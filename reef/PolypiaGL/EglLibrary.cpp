#include <PolypiaGL/EglLibrary.hpp>

#include <PolypiaGL/ContextError.hpp>

#include <dlfcn.h>

#include <cstdio>
#include <sstream>

namespace Mirk {
namespace {

std::string_view errorWord(EGLint code) {
    switch (code) {
    case EGL_SUCCESS:
        return "no EGL error";
    case EGL_NOT_INITIALIZED:
        return "EGL_NOT_INITIALIZED";
    case EGL_BAD_ACCESS:
        return "EGL_BAD_ACCESS";
    case EGL_BAD_ALLOC:
        return "EGL_BAD_ALLOC";
    case EGL_BAD_ATTRIBUTE:
        return "EGL_BAD_ATTRIBUTE";
    case EGL_BAD_CONFIG:
        return "EGL_BAD_CONFIG";
    case EGL_BAD_CONTEXT:
        return "EGL_BAD_CONTEXT";
    case EGL_BAD_CURRENT_SURFACE:
        return "EGL_BAD_CURRENT_SURFACE";
    case EGL_BAD_DISPLAY:
        return "EGL_BAD_DISPLAY";
    case EGL_BAD_MATCH:
        return "EGL_BAD_MATCH";
    case EGL_BAD_NATIVE_PIXMAP:
        return "EGL_BAD_NATIVE_PIXMAP";
    case EGL_BAD_NATIVE_WINDOW:
        return "EGL_BAD_NATIVE_WINDOW";
    case EGL_BAD_PARAMETER:
        return "EGL_BAD_PARAMETER";
    case EGL_BAD_SURFACE:
        return "EGL_BAD_SURFACE";
    case EGL_CONTEXT_LOST:
        return "EGL_CONTEXT_LOST";
    default:
        return "unknown EGL error";
    }
}

template<class Function>
void load(Function& function, void* library, const char* name) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    if (!function) throw ContextError(std::string("the EGL library has no function ") + name);
}

template<class Function>
void loadExtension(Function& function, const EglLibrary& egl, const char* name) {
    function = reinterpret_cast<Function>(egl.getProcAddress(name));
}

} // namespace

bool listHolds(const char* list, std::string_view word) {
    std::istringstream words(list ? list : "");
    for (std::string found; words >> found;)
        if (found == word) return true;
    return false;
}

std::shared_ptr<const EglLibrary> EglLibrary::open(const std::string& name) {
    void* library = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        const char* reason = dlerror();
        throw ContextError("no EGL library: " + std::string(reason ? reason : name));
    }
    std::shared_ptr<EglLibrary> egl(new EglLibrary);
    load(egl->getProcAddress, library, "eglGetProcAddress");
    load(egl->queryString, library, "eglQueryString");
    load(egl->getError, library, "eglGetError");
    load(egl->getDisplay, library, "eglGetDisplay");
    load(egl->initialize, library, "eglInitialize");
    load(egl->bindAPI, library, "eglBindAPI");
    load(egl->chooseConfig, library, "eglChooseConfig");
    load(egl->createPbufferSurface, library, "eglCreatePbufferSurface");
    load(egl->destroySurface, library, "eglDestroySurface");
    load(egl->createContext, library, "eglCreateContext");
    load(egl->destroyContext, library, "eglDestroyContext");
    load(egl->makeCurrent, library, "eglMakeCurrent");
    // The name without EXT aborts in some loaders as long as there is no display.
    loadExtension(egl->getPlatformDisplay, *egl, "eglGetPlatformDisplayEXT");
    loadExtension(egl->queryDevices, *egl, "eglQueryDevicesEXT");
    loadExtension(egl->queryDeviceString, *egl, "eglQueryDeviceStringEXT");
    return egl;
}

bool EglLibrary::hasClientExtension(std::string_view extension) const {
    return listHolds(queryString(EGL_NO_DISPLAY, EGL_EXTENSIONS), extension);
}

std::string EglLibrary::lastError() const {
    const EGLint code = getError();
    char number[24];
    std::snprintf(number, sizeof number, " (0x%x)", static_cast<unsigned>(code));
    return std::string(errorWord(code)) + number;
}

} // namespace Mirk
