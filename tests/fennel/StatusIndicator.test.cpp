#include <fennel/StatusIndicator.hpp>

#include <sorrel/VRequest.hpp>

#include <gtest/gtest.h>

namespace {

using Mirk::StatusIndicator;
using Mirk::ValuePool;
using Mirk::ValuePoolPtr;
using Mirk::VObject;
using Mirk::VObjectStatus;

class Indicating : public VObject, public StatusIndicator {
public:
    explicit Indicating(const std::string& description = "", const std::string& slotName = Slotname)
        : VObject("Indicating", 0, {}), StatusIndicator(this, description, 3, slotName) {}
};
using IndicatingPtr = Keel::StrongPtr<Indicating, Mirk::VManagedObjectBase>;

VObjectStatus statusOf(const IndicatingPtr& object, const ValuePoolPtr& pool) {
    VObjectStatus status("unread");
    object->statusSlot().get(pool, status);
    return status;
}

TEST(StatusIndicatorTest, AddsTheSlotUnderItsDefaultName) {
    EXPECT_STREQ("Status", StatusIndicator::Slotname);
    const IndicatingPtr object(new Indicating);
    const Mirk::VSlotPtr slot = object->findInput(StatusIndicator::Slotname);
    ASSERT_TRUE(slot);
    EXPECT_TRUE(slot == object->statusSlot());
    EXPECT_TRUE(slot->valueType() == typeid(VObjectStatus));
    EXPECT_EQ(3, slot->expertLevel());
}

TEST(StatusIndicatorTest, TakesAnotherName) {
    const IndicatingPtr object(new Indicating("", "Health"));
    EXPECT_TRUE(object->findInput("Health"));
    EXPECT_FALSE(object->findInput(StatusIndicator::Slotname));
}

TEST(StatusIndicatorTest, DescriptionIsTheHelpOfTheSlot) {
    const IndicatingPtr plain(new Indicating);
    EXPECT_FALSE(plain->statusSlot()->parameter()->getProperty("help"));
    const IndicatingPtr described(new Indicating("How it fares."));
    const auto help = described->statusSlot()->parameter()->getProperty("help");
    ASSERT_TRUE(help);
    EXPECT_EQ("How it fares.", help->text());
}

TEST(StatusIndicatorTest, StatusIsLocalToEachPool) {
    const IndicatingPtr object(new Indicating);
    const ValuePoolPtr one(new ValuePool);
    const ValuePoolPtr two(new ValuePool);
    object->setStatusError(one, "No data!", false);
    EXPECT_EQ("No data!", statusOf(object, one).text);
    EXPECT_EQ(VObjectStatus::DefaultColors, statusOf(object, one).colors);
    EXPECT_EQ(0u, statusOf(object, one).code);
    EXPECT_EQ("", statusOf(object, two).text);
    EXPECT_EQ(0u, object->statusSlot()->flags & Mirk::VSlot::GlobalFlag);
}

TEST(StatusIndicatorTest, AnEmptyMessageClears) {
    const IndicatingPtr object(new Indicating);
    const ValuePoolPtr pool(new ValuePool);
    object->setStatusError(pool, "No data!", false);
    object->setStatusError(pool, "", false);
    EXPECT_EQ("", statusOf(object, pool).text);
}

TEST(StatusIndicatorTest, ANullPoolMeansAllPools) {
    const IndicatingPtr object(new Indicating);
    const ValuePoolPtr pool(new ValuePool);
    EXPECT_EQ("", statusOf(object, pool).text);
    object->setStatusError(ValuePoolPtr(), "No data!", false);
    EXPECT_EQ("No data!", statusOf(object, pool).text);
    EXPECT_EQ("No data!", statusOf(object, ValuePoolPtr(new ValuePool)).text);
}

TEST(StatusIndicatorTest, TheSameMessageAgainIsNoChange) {
    const IndicatingPtr object(new Indicating);
    const ValuePoolPtr pool(new ValuePool);
    object->setStatusError(pool, "No data!", false);
    const auto age = object->statusSlot()->age(pool);
    object->setStatusError(pool, "No data!", false);
    EXPECT_EQ(age, object->statusSlot()->age(pool));
    object->setStatusError(pool, "Bad data!", false);
    EXPECT_LT(age, object->statusSlot()->age(pool));
}

TEST(StatusIndicatorTest, AStatusDoesNotMakeItsObjectDue) {
    const IndicatingPtr object(new Indicating);
    EXPECT_TRUE(object->ignoreInput(object->statusSlot()));
}

TEST(StatusIndicatorTest, PrintsIfItIsToldTo) {
    const IndicatingPtr object(new Indicating);
    const ValuePoolPtr pool(new ValuePool);
    testing::internal::CaptureStdout();
    object->setStatusError(pool, "100% lost", true);
    EXPECT_EQ("Indicating: 100% lost\n", testing::internal::GetCapturedStdout());
    testing::internal::CaptureStdout();
    object->setStatusError(pool, "quiet", false);
    object->setStatusError(pool, "", true);
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
}

} // namespace
