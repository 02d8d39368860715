#include <Polypia/ShaderConditionals.hpp>

#include "RecordingContext.hpp"

#include <Polypia/Seagrass.hpp>

#include <sorrel/TypedSlot.hpp>

#include <gmock/gmock.h>

#include <string>

using Mirk::TypedSlot;

namespace {

class Owner : public Mirk::VObject {
public:
    Owner() : VObject("owner", 0, {}) {}
};

class ShaderConditionals : public testing::Test {
protected:
    using Creator = Mirk::PolypCreator<Mirk::DefaultPolypInitializer>;

    template<class T>
    Mirk::VSlotPtr input(const std::string& name, const T& initial) {
        return TypedSlot<T>(owner.get(), name, initial, 0);
    }
    Mirk::VSlotPtr condition(const Mirk::VSlotPtr& slot, const std::string& macro) {
        conditionals.Conditions[slot] = macro;
        return slot;
    }
    std::string defines() const { return conditionals.getShaderDefines(context.pool); }
    bool isValid() {
        return conditionals.hasValidShaderDefines(
            {context, Keel::StrongPtr<Mirk::PolypCreatorBase>(creator)});
    }

    const Keel::StrongPtr<Mirk::Seagrass> seagrass{new Mirk::Seagrass(1 << 20, "test")};
    RecordingContext context{seagrass};
    const Keel::StrongPtr<Owner, Mirk::VManagedObjectBase> owner{new Owner};
    const Keel::StrongPtr<Mirk::PolypBasicCreator, Keel::Creature> creator{
        new Mirk::PolypBasicCreator(*seagrass, {})};
    Mirk::ShaderConditionals conditionals;
};

TEST_F(ShaderConditionals, WithoutConditionsAreEmptyAndValid) {
    EXPECT_EQ(defines(), "");
    EXPECT_TRUE(isValid());
}

TEST_F(ShaderConditionals, ABoolThatIsOnIsAMacro) {
    const auto slot = condition(input("lit", true), "LIT");
    EXPECT_EQ(defines(), "#define LIT 1\n");
    Mirk::writeSlot<bool>(slot, context.pool, false);
    EXPECT_EQ(defines(), "") << "no line, not even with 0";
}

TEST_F(ShaderConditionals, ADoubleIsAMacroIfItsPredicateSaysSo) {
    const auto slot = condition(input("width", 1.5), "WIDE");
    EXPECT_EQ(defines(), "") << "no predicate";
    conditionals.Predicates[slot] = [](double width) { return width > 1; };
    EXPECT_EQ(defines(), "#define WIDE 1\n");
    Mirk::writeSlot<double>(slot, context.pool, 0.5);
    EXPECT_EQ(defines(), "");
    conditionals.Predicates[slot] = nullptr;
    EXPECT_EQ(defines(), "");
}

TEST_F(ShaderConditionals, OtherTypesAreNoMacros) {
    const auto number = condition(input("number", 1), "NUMBER");
    conditionals.Predicates[number] = [](double) { return true; };
    condition(input("text", std::string("true")), "TEXT");
    EXPECT_EQ(defines(), "");
}

TEST_F(ShaderConditionals, MacrosStandInTheOrderOfTheirSlots) {
    const auto first = input("first", true), second = input("second", true);
    condition(second, "SECOND");
    condition(first, "FIRST");
    EXPECT_EQ(defines(), "#define FIRST 1\n#define SECOND 1\n");
}

TEST_F(ShaderConditionals, SlotsThatHaveDiedAreLeftOut) {
    conditionals.Conditions[Mirk::ShaderConditionals::Slot()] = "NONE";
    {
        const Mirk::VSlotPtr gone(new Mirk::VSlot("gone", 0, {}));
        condition(gone, "GONE");
        EXPECT_EQ(defines(), "") << "without value";
        condition(Mirk::VSlotPtr(new Mirk::VSlot("alight", 0, input("of it", true)->parameter())),
                  "ALIGHT");
    }
    EXPECT_EQ(conditionals.Conditions.size(), 3U);
    EXPECT_EQ(defines(), "");
    EXPECT_TRUE(isValid());
}

TEST_F(ShaderConditionals, ValuesAreThoseOfThePool) {
    const auto slot = condition(input("lit", false), "LIT");
    slot->parameter()->Localize();
    const Mirk::ValuePoolPtr other(new Mirk::ValuePool);
    Mirk::writeSlot<bool>(slot, context.pool, true);
    EXPECT_EQ(defines(), "#define LIT 1\n");
    EXPECT_EQ(conditionals.getShaderDefines(other), "");
}

TEST_F(ShaderConditionals, AreInvalidOnceAnInputIsYoungerThanThePolyp) {
    const auto slot = condition(input("lit", true), "LIT");
    const auto other = input("other", true);
    creator->create();
    EXPECT_TRUE(isValid());
    Mirk::writeSlot<bool>(other, context.pool, false);
    EXPECT_TRUE(isValid()) << "of no condition";
    Mirk::writeSlot<bool>(slot, context.pool, false);
    EXPECT_FALSE(isValid());
    Mirk::writeSlot<bool>(slot, context.pool, true);
    EXPECT_FALSE(isValid()) << "though the value is what it was";
    creator->create();
    EXPECT_TRUE(isValid());
}

TEST_F(ShaderConditionals, AreInvalidOnceAnInputIsConnectedElsewhere) {
    const auto slot = condition(input("lit", true), "LIT");
    struct Lamp : Mirk::VObject {
        Lamp() : VObject("lamp", 0, {}) {}
        Mirk::VOutput<bool> on{this, "on", true};
    };
    const Keel::StrongPtr<Lamp, Mirk::VManagedObjectBase> lamp(new Lamp);
    creator->create();
    ASSERT_EQ(owner->attachParameter(lamp->on, slot, ""), Mirk::Attached);
    EXPECT_FALSE(isValid()) << "though the value is what it was, and older";
    creator->create();
    EXPECT_TRUE(isValid());
    ASSERT_TRUE(owner->detach(slot));
    EXPECT_FALSE(isValid()) << "back to its own";
}

TEST_F(ShaderConditionals, AreInvalidByTheInputsOfTheirPoolOnly) {
    const auto slot = condition(input("lit", true), "LIT");
    slot->parameter()->Localize();
    const Mirk::ValuePoolPtr other(new Mirk::ValuePool);
    Mirk::writeSlot<bool>(slot, context.pool, true);
    creator->create();
    Mirk::writeSlot<bool>(slot, other, false);
    EXPECT_TRUE(isValid());
    Mirk::writeSlot<bool>(slot, context.pool, false);
    EXPECT_FALSE(isValid());
}

TEST_F(ShaderConditionals, AreValidAtTheSameAge) {
    const auto slot = condition(input("lit", true), "LIT");
    Mirk::writeSlot<bool>(slot, context.pool, false);
    creator->setAge(slot->age(context.pool));
    EXPECT_TRUE(isValid());
    creator->setAge(slot->age(context.pool) - 1);
    EXPECT_FALSE(isValid());
}

} // namespace
