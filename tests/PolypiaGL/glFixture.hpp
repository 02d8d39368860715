#pragma once
// What tests that need a context stand on: one on demand, else a skip that says why.

#include <PolypiaGL/ContextError.hpp>
#include <PolypiaGL/EglContext.hpp>

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

namespace Mirk::GLTest {

/// True if a missing context is to fail the tests: POLYPIA_REQUIRE_GL=1 in the environment.
inline bool isContextRequired() {
    const char* value = std::getenv("POLYPIA_REQUIRE_GL");
    return value && std::string_view(value) == "1";
}

/// Null with the reason if there is none.
inline std::unique_ptr<EglContext> tryContext(const EglContext::Options& options,
                                              std::string& reason) {
    try {
        return EglContext::create(options);
    } catch (const ContextError& error) {
        reason = error.what();
        return nullptr;
    }
}

} // namespace Mirk::GLTest

/// Leaves the test without a context: as a failure if one is required, else as a skip.
#define POLYPIA_NO_CONTEXT(reason)                                                                 \
    do {                                                                                           \
        if (Mirk::GLTest::isContextRequired()) FAIL() << (reason);                                 \
        GTEST_SKIP() << (reason);                                                                  \
    } while (false)
