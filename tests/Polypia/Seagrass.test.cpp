#include <Polypia/Seagrass.hpp>

#include <keel/StrongPtr.hpp>

#include <gmock/gmock.h>

#include <type_traits>

namespace {

using Keel::StrongPtr;

TEST(Seagrass, IsCountedAndHasWhatContextsShare) {
    using Mirk::Seagrass;
    static_assert(std::is_base_of_v<Keel::ReferenceBase<Seagrass>, Seagrass>);
    static_assert(std::is_base_of_v<Keel::Intercube, Seagrass>);
    static_assert(std::is_base_of_v<Mirk::RenderNamespace::Lighting, Seagrass>);
    static_assert(std::is_base_of_v<Mirk::UniformBufferRegistry, Seagrass>);
    static_assert(std::is_base_of_v<Keel::ThreadPool, Seagrass>);
    const StrongPtr<Seagrass> seagrass(new Seagrass(1, ""));
    EXPECT_TRUE(static_cast<Mirk::RenderNamespace::Lighting&>(*seagrass).empty());
}

TEST(Seagrass, HasACacheOfItsBudgetAndName) {
    const StrongPtr<Mirk::Seagrass> seagrass(new Mirk::Seagrass(12345, "window"));
    ASSERT_TRUE(seagrass->getCache());
    EXPECT_EQ(seagrass->getCache()->maxCost.load(), 12345U);
    EXPECT_EQ(seagrass->getCache()->name(), "window");
    EXPECT_EQ(seagrass->getCache()->size(), 0U);
}

} // namespace
