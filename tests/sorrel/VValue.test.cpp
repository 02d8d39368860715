#include <sorrel/VValue.hpp>

#include <sorrel/VObject.hpp>

#include "../Polypia/virtualSlot.hpp"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>

using Mirk::TextResult;
using Mirk::VValue;
using Mirk::VValueBase;
using Mirk::VValuePtr;

namespace {

struct Point {
    std::array<double, 3> x{};
};
struct Cursor {
    int id = 0;
};
/// The label makes no difference.
struct alignas(8) Labelled {
    int id = 0;
    int label = 0;
};
struct LargeLabelled {
    int id = 0;
    std::string label;
};
/// Too large for one piece, different by address.
struct BrushLike {
    std::array<double, 4> content{};
};

} // namespace

template<>
struct Mirk::VValueCompareTrait<Cursor> {
    static bool isDifferent(const Cursor& a, const Cursor& b) { return &a != &b; }
};
template<>
struct Mirk::VValueCompareTrait<Labelled> {
    static bool isDifferent(const Labelled& a, const Labelled& b) { return a.id != b.id; }
};
template<>
struct Mirk::VValueCompareTrait<LargeLabelled> {
    static bool isDifferent(const LargeLabelled& a, const LargeLabelled& b) { return a.id != b.id; }
};
template<>
struct Mirk::VValueCompareTrait<BrushLike> {
    static inline const BrushLike* held = nullptr;
    static inline const BrushLike* given = nullptr;
    static bool isDifferent(const BrushLike& a, const BrushLike& b) {
        held = &a;
        given = &b;
        return &a != &b;
    }
};

namespace {

TEST(VValueTest, HasItsVirtualOperationsInOrder) {
    // The hook and two destructors are ahead of them.
    EXPECT_EQ((std::vector{
                  virtualSlot(&VValueBase::type), virtualSlot(&VValueBase::clone),
                  virtualSlot(&VValueBase::text), virtualSlot(&VValueBase::setText),
                  virtualSlot(&VValueBase::assign), virtualSlot(&VValueBase::component),
                  virtualSlot(&VValueBase::getInterface),
                  virtualSlot(static_cast<const Keel::Ageable& (VValueBase::*)() const>(
                      &VValueBase::ageable)),
                  virtualSlot(static_cast<Keel::Ageable& (VValueBase::*)()>(&VValueBase::ageable)),
                  virtualSlot(&Mirk::VTypedValueBase<double>::get),
                  virtualSlot(&Mirk::VTypedValueBase<double>::set)}),
              slotsFrom(3, 11));
}

TEST(VValueTest, HoldsWhatIsWritten) {
    VValue<double> value(1.5);
    double read = 0;
    value.get(read);
    EXPECT_EQ(read, 1.5);
    EXPECT_TRUE(value.set(2.5));
    value.get(read);
    EXPECT_EQ(read, 2.5);
    EXPECT_EQ(value.type(), typeid(double));
}

TEST(VValueTest, EqualValueIsNoChange) {
    VValue<bool> flag(true);
    EXPECT_FALSE(flag.set(true));
    EXPECT_TRUE(flag.set(false));
    VValue<std::string> text("a");
    EXPECT_FALSE(text.set("a"));
    EXPECT_TRUE(text.set("b"));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    VValue<double> number(nan);
    EXPECT_FALSE(number.set(nan));
    EXPECT_TRUE(number.set(0.0));
    EXPECT_TRUE(number.set(-0.0));
}

TEST(VValueTest, EveryWriteIsAChangeWithoutComparison) {
    VValue<Point> value(Point{});
    EXPECT_TRUE(value.set(Point{}));
}

TEST(VValueTest, ComparisonByAddressSeesTheHeldObjectAndTheArgument) {
    VValue<BrushLike> value(BrushLike{});
    const BrushLike brush;
    EXPECT_TRUE(value.set(brush));
    EXPECT_EQ(Mirk::VValueCompareTrait<BrushLike>::given, &brush);
    const BrushLike* const held = Mirk::VValueCompareTrait<BrushLike>::held;
    EXPECT_TRUE(value.set(brush));
    EXPECT_EQ(Mirk::VValueCompareTrait<BrushLike>::held, held) << "not a copy";
    VValue<Cursor> cursor(Cursor{});
    EXPECT_TRUE(cursor.set(Cursor{}));
    EXPECT_TRUE(cursor.set(Cursor{}));
}

TEST(VValueTest, WhatIsNotDifferentIsNotWritten) {
    static_assert(Mirk::AtomicValue<Labelled> && !Mirk::AtomicValue<LargeLabelled>);
    VValue<Labelled> small(Labelled{1, 5});
    EXPECT_FALSE(small.set(Labelled{1, 6}));
    Labelled read;
    small.get(read);
    EXPECT_EQ(read.label, 5) << "nobody would be told of it";
    EXPECT_TRUE(small.set(Labelled{2, 6}));
    small.get(read);
    EXPECT_EQ(read.label, 6);
    VValue<LargeLabelled> large(LargeLabelled{1, "a"});
    EXPECT_FALSE(large.set(LargeLabelled{1, "b"}));
    LargeLabelled readToo;
    large.get(readToo);
    EXPECT_EQ(readToo.label, "a");
}

TEST(VValueTest, HasItsBases) {
    static_assert(std::is_base_of_v<Mirk::VTypedValueBase<double>, VValue<double>>);
    static_assert(std::is_base_of_v<VValueBase, Mirk::VTypedValueBase<double>>);
    static_assert(std::is_base_of_v<Keel::Ageable, VValue<double>>);
    static_assert(std::is_base_of_v<Keel::ReferenceBase<VValueBase>, VValueBase>);
}

TEST(VValueTest, WritingLeavesTheAgeToTheNotification) {
    VValue<double> value(1.5);
    EXPECT_EQ(value.age(), Keel::Ageable::Ooooold);
    value.set(2.5);
    EXPECT_EQ(value.age(), Keel::Ageable::Ooooold);
}

TEST(VValueTest, CloneHasTheContentAndTheAgeAndNothingElse) {
    const VValuePtr value(new VValue<double>(1.5));
    value->ageable().rejuvenate();
    value->setContainerValue(VValuePtr(value));
    const VValuePtr clone = value->clone();
    EXPECT_FALSE(clone == value);
    EXPECT_EQ(clone->ageable().age(), value->ageable().age());
    EXPECT_FALSE(clone->containerValue());
    Mirk::typedValue<double>(value.get())->set(2.5);
    double read = 0;
    Mirk::typedValue<double>(clone.get())->get(read);
    EXPECT_EQ(read, 1.5);
}

TEST(VValueTest, AssignTakesOverAValueOfTheSameType) {
    VValue<double> value(1.5);
    EXPECT_TRUE(value.assign(VValue<double>(2.5)));
    EXPECT_FALSE(value.assign(VValue<double>(2.5)));
    EXPECT_FALSE(value.assign(VValue<int>(7)));
    EXPECT_EQ(value.text(), "2.5");
}

TEST(VValueTest, TextIsReadOrChangesNothing) {
    VValue<double> value(1.5);
    EXPECT_EQ(value.setText("2.5"), TextResult::Changed);
    EXPECT_EQ(value.setText(" 2.5 "), TextResult::Same);
    EXPECT_EQ(value.setText("2.5 m"), TextResult::Unreadable);
    EXPECT_EQ(value.text(), "2.5");
    VValue<Point> mute(Point{});
    EXPECT_EQ(mute.text(), "");
    EXPECT_EQ(mute.setText("1"), TextResult::Unreadable);
}

TEST(VValueTest, ValueOfAnotherTypeIsNotTyped) {
    const VValuePtr value(new VValue<double>(1.5));
    EXPECT_NE(Mirk::typedValue<double>(value.get()), nullptr);
    EXPECT_EQ(Mirk::typedValue<int>(value.get()), nullptr);
    EXPECT_EQ(Mirk::typedValue<int>(static_cast<VValueBase*>(nullptr)), nullptr);
}

TEST(VValueTest, HasNeitherComponentsNorInterfaceByDefault) {
    const VValue<double> value(1.5);
    EXPECT_FALSE(value.component("x"));
    EXPECT_FALSE(value.getInterface());
}

TEST(VValueTest, RemembersSourceAndContainerWeakly) {
    VValue<double> value(1.5);
    {
        const Mirk::VObjectPtr source(new Mirk::VObject("source", 0, {}));
        const VValuePtr container(new VValue<int>(1));
        value.setSource(source);
        value.setContainerValue(container);
        EXPECT_EQ(value.source(), source);
        EXPECT_EQ(value.containerValue(), container);
    }
    EXPECT_FALSE(value.source());
    EXPECT_FALSE(value.containerValue());
}

/// Writes to its value when it dies.
struct Reentrant {
    explicit Reentrant(VValue<std::shared_ptr<Reentrant>>* target) : value(target) {}
    ~Reentrant() {
        std::shared_ptr<Reentrant> read;
        value->get(read);
    }
    VValue<std::shared_ptr<Reentrant>>* value;
};

TEST(VValueTest, WhatIsReplacedDiesOutsideOfTheLock) {
    VValue<std::shared_ptr<Reentrant>> value(nullptr);
    value.set(std::make_shared<Reentrant>(&value));
    EXPECT_TRUE(value.set(nullptr));
}

} // namespace
