#include <sorrel/VContext.hpp>

#include <gtest/gtest.h>

#include <chrono>
#include <mutex>

using Mirk::VContext;

namespace {

TEST(VContextTest, HoldsItsAddendumAndNoPool) {
    const Keel::StrongPtr<VContext::Addendum> addendum(new VContext::Addendum);
    const VContext context(addendum);
    EXPECT_EQ(context.addendum, addendum);
    EXPECT_EQ(context.timeScale, 1.0);
    EXPECT_FALSE(context.pool);
    static_assert(std::is_base_of_v<Keel::Intercube, VContext::Addendum>);
}

TEST(VContextTest, FieldsStandInTheirOrder) {
    const VContext context({});
    EXPECT_LT(static_cast<const void*>(&context.timeScale),
              static_cast<const void*>(&context.pool));
    EXPECT_LT(static_cast<const void*>(&context.pool), static_cast<const void*>(&context.addendum));
}

TEST(VContextTest, TimeIsThatOfTheLastCall) {
    VContext context({});
    EXPECT_EQ(context.time().time_since_epoch().count(), 0);
    const auto before = std::chrono::system_clock::now();
    context.setTime();
    EXPECT_GE(context.time(), before);
    EXPECT_LE(context.time(), std::chrono::system_clock::now());
}

TEST(VContextTest, MutexIsForItsUsers) {
    const VContext context({});
    const std::lock_guard lock(context.mutex);
}

} // namespace
