#include <sorrel/TypedSlot.hpp>

#include "Recorder.hpp"
#include "Summing.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

using Mirk::TypedSlot;
using Mirk::ValuePoolPtr;
using Mirk::VObject;
using Mirk::VObjectPtr;
using Mirk::VParameterPtr;
using Mirk::VSlotPtr;

namespace {

struct Unregistered {
    int content = 0;
};
struct Registered {
    int content = 0;
};
/// An input of this type does not start with what its default constructor makes.
struct Primed {
    int content = 0;
};

} // namespace

template<>
struct Mirk::VValueTrait<Primed> {
    static std::string Text(const Primed& primed) { return numberText(primed.content); }
    static bool setValueFromText(Primed&, const std::string&) { return false; }
};
template<>
struct Mirk::VInputValueTrait<Primed> {
    static void init(Primed& primed) { primed.content = 7; }
    static bool setValueFromText(Primed&, const std::string&) { return false; }
};

namespace {

class TypedSlotTest : public testing::Test {
protected:
    const ValuePoolPtr pool{new Mirk::ValuePool}, otherPool{new Mirk::ValuePool};
    const SummingPtr object = makeSumming("object");
};

TEST_F(TypedSlotTest, AddsAnInputWithItsInitialValue) {
    const TypedSlot<int> slot(object.get(), "count", 7, 2);
    EXPECT_EQ(object->findInput("count"), slot);
    EXPECT_EQ(slot->Name(), "count");
    EXPECT_EQ(slot->expertLevel(), 2);
    EXPECT_EQ(slot->parameter()->Name(), "count");
    EXPECT_EQ(slot->parameter()->creator(), object);
    EXPECT_EQ(slot.value(pool), 7);
}

TEST_F(TypedSlotTest, ReadOnADeadParameterLeavesTheTarget) {
    double target = 4.5;
    EXPECT_FALSE(Mirk::readSlot<double>(VSlotPtr(new Mirk::VSlot("empty", 0, {})), pool, target));
    EXPECT_FALSE(Mirk::readSlot<double>({}, pool, target));
    EXPECT_EQ(target, 4.5);
    Mirk::TypedSlot<double> slot(object.get(), "gone", 1.0, 0);
    static_cast<VSlotPtr&>(slot) = VSlotPtr(new Mirk::VSlot("gone", 0, {}));
    EXPECT_FALSE(slot.get(pool, target));
    EXPECT_EQ(target, 4.5);
    static_cast<VSlotPtr&>(slot) = {};
    EXPECT_FALSE(slot.get(pool, target));
    EXPECT_EQ(target, 4.5);
}

TEST_F(TypedSlotTest, WriteOfTheGlobalValueThatItHasSetsTheCopiesAll) {
    const Mirk::TypedSlot<int> slot(object.get(), "number", 1, 0);
    slot->parameter()->Localize();
    slot.set(pool, 5);
    EXPECT_EQ(slot.value(pool), 5);
    const WatcherPtr watcher(new Watcher);
    slot->parameter()->addNotifier(watcher);
    slot.set({}, 1);
    EXPECT_EQ(slot.value(pool), 1);
    EXPECT_EQ(watcher->changes, 1);
    slot.set({}, 1);
    EXPECT_EQ(watcher->changes, 1);
    slot.set(pool, 7);
    EXPECT_TRUE(slot->parameter()->setValueFromText({}, "1"));
    EXPECT_EQ(slot.value(pool), 1);
}

TEST_F(TypedSlotTest, ReadOfAnotherTypeLeavesTheTarget) {
    int target = 4;
    EXPECT_FALSE(Mirk::readSlot<int>(object->own, pool, target));
    EXPECT_EQ(target, 4);
    EXPECT_FALSE(Mirk::writeSlot<int>(object->own, pool, 5));
    EXPECT_FALSE(Mirk::writeSlot<int>({}, pool, 5));
}

TEST_F(TypedSlotTest, ReadMakesALocalValueOnlyIfValuesAreLocal) {
    EXPECT_EQ(object->own.value(pool), 0.0);
    EXPECT_EQ(pool->numberOfValues(), 0u);
    object->own->parameter()->Localize();
    EXPECT_EQ(object->own.value(pool), 0.0);
    EXPECT_EQ(pool->numberOfValues(), 1u);
}

TEST_F(TypedSlotTest, WriteInOnePoolIsNotSeenInAnother) {
    object->own->parameter()->Localize();
    EXPECT_TRUE(object->own.set(pool, 2.5));
    EXPECT_EQ(object->own.value(pool), 2.5);
    EXPECT_EQ(object->own.value(otherPool), 0.0);
    EXPECT_EQ(object->own.value({}), 0.0) << "without pool the global value";
}

TEST_F(TypedSlotTest, WriteNotifiesOnlyAChange) {
    const WatcherPtr watcher(new Watcher), excepted(new Watcher);
    object->own->parameter()->addNotifier(watcher);
    object->own->parameter()->addNotifier(excepted);
    EXPECT_TRUE(object->own.set(pool, 2.5));
    EXPECT_TRUE(object->own.set(pool, 2.5));
    EXPECT_EQ(watcher->changes, 1);
    EXPECT_TRUE(Mirk::writeSlot<double>(object->own, pool, 3.5, excepted));
    EXPECT_EQ(watcher->changes, 2);
    EXPECT_EQ(excepted->changes, 1);
}

TEST_F(TypedSlotTest, ReadsInThePoolOfARequestAndOfAContext) {
    object->own->parameter()->Localize();
    object->own.set(pool, 2.5);
    const Mirk::VRequest request(pool);
    Mirk::VContext context({});
    double value = 0;
    EXPECT_TRUE(object->own.get(request, value));
    EXPECT_EQ(value, 2.5);
    EXPECT_TRUE(object->own.get(context, value));
    EXPECT_EQ(value, 0.0) << "no pool";
    context.pool = pool;
    EXPECT_TRUE(object->own.get(context, value));
    EXPECT_EQ(value, 2.5);
}

TEST_F(TypedSlotTest, FallsBackIfNothingCanBeRead) {
    VObjectPtr owner(new VObject("owner", 0, {}));
    const TypedSlot<double> slot(owner.get(), "x", 1.5, 0);
    EXPECT_EQ(slot.value(pool, 3.0), 1.5);
    owner = {};
    EXPECT_EQ(slot.value(pool, 3.0), 1.5) << "the slot keeps its parameter";
}

TEST_F(TypedSlotTest, HelpAndOtherSideValuesBelongToTheParameter) {
    TypedSlot<double> slot(object.get(), "x", 1.5, 0);
    slot.setHelp("a number").setProperty("min", 0.5);
    EXPECT_EQ(slot->parameter()->getProperty("help")->text(), "a number");
    EXPECT_EQ(slot->parameter()->getProperty("min")->text(), "0.5");
}

TEST_F(TypedSlotTest, SlotsAreCounted) {
    const long before = Mirk::InternalTypeCreatorAccessory;
    {
        const TypedSlot<double> slot(object.get(), "x", 1.5, 0);
        EXPECT_EQ(Mirk::InternalTypeCreatorAccessory, before + 1);
        const TypedSlot<double> copy(slot);
        EXPECT_EQ(Mirk::InternalTypeCreatorAccessory, before + 2);
        EXPECT_EQ(copy, slot);
    }
    EXPECT_EQ(Mirk::InternalTypeCreatorAccessory, before);
}

TEST_F(TypedSlotTest, TypeWithoutCreatorIsWarnedOf) {
    const ShellRecorderPtr shell = listenToShell();
    testing::internal::CaptureStdout();
    {
        const TypedSlot<Unregistered> slot(object.get(), "odd", Unregistered{}, 0);
        ASSERT_EQ(shell->events().size(), 1u);
        EXPECT_THAT(shell->events()[0],
                    testing::HasSubstr("TypedSlot(VObject* that, const string& name, const T& "
                                       "initialValue, int expertLevel)"));
        EXPECT_THAT(shell->events()[0], testing::HasSubstr("Unregistered"));
        EXPECT_THAT(shell->events()[0], testing::HasSubstr("\"object.odd\""));
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        testing::internal::CaptureStdout();
        Unregistered read;
        EXPECT_TRUE(slot.get(pool, read)) << "it works all the same";
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "Typeslot has a problem, its creators were not registered!?\n");
        testing::internal::CaptureStdout();
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Typeslot has a problem, its creators were not registered!?\n");
}

TEST_F(TypedSlotTest, SlotThatOutlivesTheCreatorOfItsTypeSaysSo) {
    std::optional<Mirk::ValueTypeRegistration<Registered>> type("Registered");
    auto slot = std::make_unique<TypedSlot<Registered>>(object.get(), "r", Registered{}, 0);
    testing::internal::CaptureStdout();
    slot->value(pool);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    type.reset();
    testing::internal::CaptureStdout();
    slot.reset();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Typeslot has a problem, its creators were not registered!?\n");
}

TEST(TypedSlotCreatorTest, MakesParametersOfItsType) {
    const auto creator = Mirk::TypedSlotCreator::find(typeid(double));
    ASSERT_TRUE(creator);
    EXPECT_EQ(creator->type(), typeid(double));
    const VParameterPtr parameter = creator->createParameter("made");
    EXPECT_EQ(parameter->Name(), "made");
    EXPECT_EQ(parameter->valueType(), typeid(double));
    EXPECT_EQ(parameter->getValueAsText({}, {}, false), "0");
    EXPECT_FALSE(Mirk::TypedSlotCreator::find(typeid(Unregistered)));
}

TEST(TypedSlotCreatorTest, NewInputStartsAsItsTraitSays) {
    const TypedSlot<Primed>::SlotCreator parameters;
    EXPECT_EQ(parameters.createParameter("made")->getValueAsText({}, {}, false), "7");
    const Mirk::TypedValueCreator<Primed> values;
    EXPECT_EQ(values.create()->text(), "7");
}

TEST(TypedSlotCreatorTest, SecondCreatorOfATypeIsRefused) {
    using Creator = TypedSlot<Registered>::SlotCreator;
    Keel::StrongPtr<Mirk::TypedSlotCreator> first(new Creator);
    const Keel::StrongPtr<Mirk::TypedSlotCreator> second(new Creator);
    EXPECT_TRUE(Mirk::registerTypedSlotCreator(typeid(Registered), first, "Registered"));
    EXPECT_TRUE(Mirk::registerTypedSlotCreator(typeid(Registered), first, "Registered"));
    EXPECT_FALSE(Mirk::registerTypedSlotCreator(typeid(Registered), second, "Registered"));
    EXPECT_EQ(Mirk::VValueCreator::typeName(typeid(Registered)), "Registered");
    EXPECT_FALSE(Mirk::unregisterTypedSlotCreator(typeid(Registered), second, "Registered"));
    EXPECT_EQ(Mirk::TypedSlotCreator::find(typeid(Registered)), first);
    first = {};
    EXPECT_FALSE(Mirk::TypedSlotCreator::find(typeid(Registered))) << "held weakly";
    EXPECT_TRUE(Mirk::registerTypedSlotCreator(typeid(Registered), second, "Registered"));
    EXPECT_TRUE(Mirk::unregisterTypedSlotCreator(typeid(Registered), second, "Registered"));
    EXPECT_EQ(Mirk::VValueCreator::typeName(typeid(Registered)), "");
    EXPECT_FALSE(Mirk::registerTypedSlotCreator(typeid(Registered), {}, "Registered"));
}

TEST(VValueCreatorTest, MakesValuesByTheNameOfTheirType) {
    const auto creator = Mirk::VValueCreator::find("double");
    ASSERT_TRUE(creator);
    EXPECT_EQ(creator->type(), typeid(double));
    EXPECT_EQ(creator->create()->type(), typeid(double));
    EXPECT_EQ(Mirk::VValueCreator::typeName(typeid(double)), "double");
    EXPECT_FALSE(Mirk::VValueCreator::find("no such type"));
    EXPECT_THAT(Mirk::VValueCreator::typeNames(), testing::IsSupersetOf({"bool", "double", "int"}));
}

TEST(VValueCreatorTest, SecondCreatorOfANameIsRefused) {
    const Keel::StrongPtr<Mirk::VValueCreator> first(new Mirk::TypedValueCreator<Registered>),
        second(new Mirk::TypedValueCreator<Registered>);
    EXPECT_TRUE(Mirk::VValueCreator::registerCreator(first, "Registered"));
    EXPECT_FALSE(Mirk::VValueCreator::registerCreator(second, "Registered"));
    EXPECT_EQ(Mirk::VValueCreator::find("Registered"), first);
    Mirk::VValueCreator::unregisterCreator(first);
    EXPECT_FALSE(Mirk::VValueCreator::find("Registered"));
}

class VOutputTest : public TypedSlotTest {};

TEST_F(VOutputTest, IsRegisteredWithItsOwner) {
    EXPECT_EQ(object->sum->Name(), "sum");
    EXPECT_EQ(object->sum->source(), object);
    EXPECT_EQ(object->findOutput("sum")->parameter(), object->sum);
    EXPECT_TRUE(object->sum.set(pool, 4.0));
    double read = 0;
    EXPECT_TRUE(object->sum.get(pool, read));
    EXPECT_EQ(read, 4.0);
}

class Requesting : public VObject {
public:
    explicit Requesting(const std::string& objectName) : VObject(objectName, 0, {}) {}
};
class Offering : public VObject {
public:
    Offering() : VObject("offering", 0, {}) {
        joined = output.addThisToAllTypeRequestingObjects(3);
    }
    Mirk::VPolyOutput<double, Requesting> output{this, "offer", 1.5};
    int joined = 0;
};

TEST(VPolyOutputTest, JoinsEveryObjectOfItsTypeOnce) {
    const VObjectPtr first(new Requesting("first")), second(new Requesting("second"));
    const SummingPtr another = makeSumming("another");
    const Keel::StrongPtr<Offering, Mirk::VManagedObjectBase> offering(new Offering);
    EXPECT_EQ(offering->joined, 2);
    EXPECT_EQ(first->findInput("offer")->parameter(), offering->output);
    EXPECT_EQ(first->findInput("offer")->expertLevel(), 3);
    EXPECT_EQ(second->numberOfInputs(), 1u);
    EXPECT_EQ(another->numberOfInputs(), 1u);
    EXPECT_EQ(offering->output.addThisToAllTypeRequestingObjects(3), 2);
    EXPECT_EQ(first->numberOfInputs(), 1u) << "attaching twice is one connection";
    const VObjectPtr third(new Requesting("third"));
    EXPECT_EQ(offering->output.addThisToAllTypeRequestingObjects(3), 3);
}

} // namespace
