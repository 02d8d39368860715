#pragma once
// What tests of render contexts stand on: a context of the driver, and render contexts in it;
// stands on GLRenderContext.

#include "glFixture.hpp"

#include <Polypia/Seagrass.hpp>
#include <PolypiaGL/GLRenderContext.hpp>
#include <PolypiaGL/glErrors.hpp>
#include <sorrel/VActionNotifier.hpp>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace Mirk::GLTest {

inline Keel::StrongPtr<Seagrass> makeSeagrass() {
    return Keel::make<Seagrass>(1ULL << 30, "test");
}

/// With a pool of its own; it takes over what the driver's context is set to.
inline std::unique_ptr<GLRenderContext>
makeRenderContext(EglContext& glContext, const Keel::StrongPtr<Seagrass>& seagrass,
                  const Keel::WeakPtr<VRenderInterruptor>& interruptor = {}) {
    auto context = std::make_unique<GLRenderContext>(
        glContext, seagrass, interruptor, Keel::StrongPtr<VRenderPrecision>(), 1LL << 30);
    context->pool = Keel::make<ValuePool>();
    return context;
}

/// Ends both, and all that they keep.
inline void endRenderContext(std::unique_ptr<GLRenderContext>& context,
                             Keel::StrongPtr<Seagrass>& seagrass) {
    context.reset();
    const Keel::WeakPtr<Seagrass> remains(seagrass);
    seagrass = {};
    EXPECT_TRUE(Seagrass::drain(remains));
}

/// A context of the driver. At the end no object of the context may live and no error wait.
class DriverTest : public testing::Test {
protected:
    void SetUp() override {
        std::string reason;
        glContext = tryContext({}, reason);
        if (!glContext) POLYPIA_NO_CONTEXT(reason);
        glContext->makeCurrent();
    }
    void TearDown() override {
        VActionNotifier::clear();
        if (!glContext) return;
        for (const GL::Error& error : GL::drainErrors("the test")) ADD_FAILURE() << error.text();
        EXPECT_EQ(glContext->ledger()->report(), "");
    }

    std::unique_ptr<EglContext> glContext;
};

/// The same with a render context.
class RenderTest : public DriverTest {
protected:
    void SetUp() override {
        DriverTest::SetUp();
        if (!glContext) return;
        seagrass = makeSeagrass();
        renewContext();
    }
    void renewContext(const Keel::WeakPtr<VRenderInterruptor>& interruptor = {}) {
        context = makeRenderContext(*glContext, seagrass, interruptor);
    }
    /// What it draws into lives longer; to be called ahead of the end of that.
    void endContext() {
        if (context) endRenderContext(context, seagrass);
    }
    void TearDown() override {
        endContext();
        DriverTest::TearDown();
    }

    Keel::StrongPtr<Seagrass> seagrass;
    std::unique_ptr<GLRenderContext> context;
};

} // namespace Mirk::GLTest
