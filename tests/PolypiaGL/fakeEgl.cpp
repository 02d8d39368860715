// A libEGL with faults: what it does not define comes from the real one, which it is linked to.
// FAKE_EGL in the environment names the fault.

#define EGL_NO_PLATFORM_SPECIFIC_TYPES
#include <EGL/egl.h>

#include <dlfcn.h>

#include <cstdlib>
#include <string>
#include <string_view>

namespace {

bool hasFault(std::string_view fault) {
    const char* value = std::getenv("FAKE_EGL");
    return value && value == fault;
}

template<class Function>
Function real(const char* name) {
    static void* const library = dlopen("libEGL.so.1", RTLD_NOW);
    return reinterpret_cast<Function>(dlsym(library, name));
}

void hide(std::string& list, std::string_view word) {
    if (const std::size_t at = list.find(word); at != std::string::npos)
        list.erase(at, word.size());
}

} // namespace

extern "C" {

__attribute__((visibility("default"))) const char* eglQueryString(EGLDisplay display, EGLint name) {
    const char* text = real<decltype(&eglQueryString)>("eglQueryString")(display, name);
    if (!text || name != EGL_EXTENSIONS || !hasFault("needs surface")) return text;
    static std::string list;
    list = text;
    hide(list, "EGL_KHR_surfaceless_context");
    hide(list, "EGL_KHR_no_config_context");
    return list.c_str();
}

__attribute__((visibility("default"))) EGLBoolean eglInitialize(EGLDisplay display, EGLint* major,
                                                                EGLint* minor) {
    if (!hasFault("no access"))
        return real<decltype(&eglInitialize)>("eglInitialize")(display, major, minor);
    real<decltype(&eglBindAPI)>("eglBindAPI")(EGL_NONE); // leaves an error behind
    return EGL_FALSE;
}

__attribute__((visibility("default"))) EGLBoolean eglChooseConfig(EGLDisplay display,
                                                                  const EGLint* attributes,
                                                                  EGLConfig* configs, EGLint size,
                                                                  EGLint* count) {
    if (!hasFault("needs surface")) std::abort(); // it was not needed
    return real<decltype(&eglChooseConfig)>("eglChooseConfig")(display, attributes, configs, size,
                                                               count);
}

__attribute__((visibility("default"))) EGLSurface
eglCreatePbufferSurface(EGLDisplay display, EGLConfig config, const EGLint* attributes) {
    if (!hasFault("needs surface")) std::abort();
    return real<decltype(&eglCreatePbufferSurface)>("eglCreatePbufferSurface")(display, config,
                                                                               attributes);
}
}
