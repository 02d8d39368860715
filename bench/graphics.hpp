#pragma once
// The context of OpenGL that benchmarks draw with; stands on PolypiaGL.

#include <PolypiaGL/EglContext.hpp>

#include <cstdio>
#include <cstdlib>

/// For what would have something else measured than is said.
[[noreturn]] inline void fail(const char* reason) {
    std::fprintf(stderr, "%s\n", reason);
    std::exit(1);
}

/// One for all frames, as all are drawn on one thread. It ends with the process. Mesa compiles each
/// program of it, and neither finds nor leaves any on disk.
inline Mirk::EglContext& graphics() {
    static Mirk::EglContext* const context = [] {
        ::setenv("MESA_SHADER_CACHE_DISABLE", "true", 1);
        Mirk::EglContext* const made = Mirk::EglContext::create({}).release();
        made->makeCurrent();
        return made;
    }();
    return *context;
}
