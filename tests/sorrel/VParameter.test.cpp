#include <sorrel/VParameter.hpp>

#include <sorrel/TypedSlot.hpp>

#include "../Polypia/virtualSlot.hpp"
#include "Recorder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>

using Mirk::ValuePoolPtr;
using Mirk::VParameter;
using Mirk::VParameterPtr;
using Mirk::VValuePtr;

namespace {

double numberIn(const VValuePtr& value) {
    double number = -1;
    if (auto* typed = Mirk::typedValue<double>(value.get())) typed->get(number);
    return number;
}

void writeInto(const VValuePtr& value, double number) {
    Mirk::typedValue<double>(value.get())->set(number);
}

/// What a user types for it may be more than its text.
struct Distance {
    double metres = 0;
};

} // namespace

template<>
struct Mirk::VValueTrait<Distance> {
    static std::string Text(const Distance& distance) { return numberText(distance.metres); }
    static bool setValueFromText(Distance& distance, const std::string& text) {
        return readNumber(distance.metres, text);
    }
};
template<>
struct Mirk::VValueCompareTrait<Distance> {
    static bool isDifferent(const Distance& a, const Distance& b) { return a.metres != b.metres; }
};
template<>
struct Mirk::VInputValueTrait<Distance> {
    static void init(Distance& distance) { distance.metres = 1; }
    static bool setValueFromText(Distance& distance, const std::string& text) {
        if (text != "far") return VValueTrait<Distance>::setValueFromText(distance, text);
        distance.metres = 1e9;
        return true;
    }
};

namespace {

/// A value with the component "half".
class Halvable : public Mirk::VValue<double> {
public:
    using VValue<double>::VValue;
    VValuePtr clone() const override { return VValuePtr(new Halvable(*this)); }
    VValuePtr component(const std::string& name) const override {
        if (name != "half") return {};
        double whole = 0;
        get(whole);
        return VValuePtr(new VValue<double>(whole / 2));
    }
};

class VParameterTest : public testing::Test {
protected:
    WatcherPtr watch(const VParameterPtr& watched) {
        WatcherPtr watcher(new Watcher);
        watched->addNotifier(watcher);
        return watcher;
    }

    const ValuePoolPtr pool{new Mirk::ValuePool}, otherPool{new Mirk::ValuePool};
    const VParameterPtr parameter{new Mirk::VValueParameter<double>(1.5, "x")};
};

TEST(VParameterOrderTest, HasItsVirtualOperationsInOrder) {
    // The hook and two destructors are ahead of them.
    EXPECT_EQ(virtualSlot(&Mirk::ValueNotifierList::touch), 3u);
    EXPECT_EQ(virtualSlot(&VParameter::DefaultValue), 4u);
    static_assert(std::is_base_of_v<Mirk::ValueNotifierList, VParameter>);
}

TEST_F(VParameterTest, HasNameValueAndType) {
    EXPECT_EQ(parameter->Name(), "x");
    EXPECT_EQ(numberIn(parameter->DefaultValue()), 1.5);
    EXPECT_EQ(parameter->valueType(), typeid(double));
    const Keel::StrongPtr<Mirk::VCreationPreferences, Keel::InterfaceBase> words(
        new Mirk::VCreationPreferences("Red"));
    const VParameterPtr empty(new VParameter({}, "empty", words));
    EXPECT_EQ(empty->preferences(), words);
    EXPECT_EQ(empty->valueType(), typeid(void));
    EXPECT_FALSE(empty->getValue(pool));
    EXPECT_FALSE(empty->getLocalValue(pool, {}, true));
}

TEST_F(VParameterTest, DefaultValueIsTheLiveGlobalValue) {
    const VValuePtr value(new Mirk::VValue<double>(2.5));
    const VParameterPtr made(new VParameter(value, "y", {}));
    EXPECT_EQ(made->DefaultValue(), value);
    writeInto(value, 3.5);
    EXPECT_EQ(numberIn(made->DefaultValue()), 3.5);
}

TEST_F(VParameterTest, NoLocalValueWithoutCreate) {
    EXPECT_FALSE(parameter->getLocalValue(pool, {}, false));
    EXPECT_EQ(pool->numberOfValues(), 0u);
    EXPECT_FALSE(parameter->getLocalValue({}, {}, true)) << "no pool";
}

TEST_F(VParameterTest, LocalValueIsACopyOfTheGlobalOne) {
    parameter->notifyValueChange(parameter->DefaultValue(), {});
    const VValuePtr local = parameter->getLocalValue(pool, {}, true);
    EXPECT_FALSE(local == parameter->DefaultValue());
    EXPECT_EQ(numberIn(local), 1.5);
    EXPECT_EQ(local->ageable().age(), parameter->DefaultValue()->ageable().age());
    EXPECT_EQ(parameter->getLocalValue(pool, {}, true), local);
    EXPECT_EQ(parameter->getLocalValue(pool, {}, false), local);
}

TEST_F(VParameterTest, LocalValueOfOnePoolLeavesTheOtherWithout) {
    const VValuePtr local = parameter->getLocalValue(pool, {}, true);
    writeInto(local, 2.5);
    parameter->notifyValueChange(local, pool);
    EXPECT_FALSE(parameter->getLocalValue(otherPool, {}, false));
    EXPECT_EQ(numberIn(parameter->DefaultValue()), 1.5);
}

TEST_F(VParameterTest, ReadsLocalValuesOnceTheyAreLocal) {
    const VValuePtr local = parameter->getLocalValue(pool, {}, true);
    EXPECT_EQ(parameter->getValue(pool), parameter->DefaultValue());
    EXPECT_FALSE(parameter->holdsLocalValues());
    parameter->Localize();
    EXPECT_TRUE(parameter->holdsLocalValues());
    EXPECT_EQ(parameter->getValue(pool), local);
    EXPECT_FALSE(parameter->getValue(otherPool) == parameter->DefaultValue()) << "made by the read";
    EXPECT_EQ(parameter->getValue({}), parameter->DefaultValue());
}

TEST_F(VParameterTest, GlobalWriteRefreshesTheCopies) {
    parameter->Localize();
    const VValuePtr local = parameter->getValue(pool);
    const VValuePtr other = parameter->getValue(otherPool);
    const auto before = local->ageable().age();
    EXPECT_TRUE(Mirk::writeParameter<double>(parameter, {}, 7.5));
    EXPECT_EQ(numberIn(local), 7.5);
    EXPECT_EQ(numberIn(other), 7.5);
    EXPECT_GT(local->ageable().age(), before);
    EXPECT_TRUE(Mirk::writeParameter<double>(parameter, pool, 8.5));
    EXPECT_EQ(numberIn(other), 7.5);
    EXPECT_EQ(numberIn(parameter->DefaultValue()), 7.5);
}

/// A value that does something, once, right after it has been read or copied.
class Interrupted : public Mirk::VValue<double> {
public:
    using VValue<double>::VValue;
    VValuePtr clone() const override {
        VValuePtr copy(new VValue<double>(*this));
        if (afterCopy) std::exchange(afterCopy, {})();
        return copy;
    }
    void get(double& target) const override {
        VValue<double>::get(target);
        if (afterReading) std::exchange(afterReading, {})();
    }
    mutable std::function<void()> afterCopy, afterReading;
};

TEST_F(VParameterTest, CopiesEndWithTheLastOfTwoGlobalWritesAtOnce) {
    const VValuePtr global(new Interrupted(1.0));
    const VParameterPtr shared(new VParameter(global, "shared", {}));
    const VValuePtr local = shared->getLocalValue(pool, {}, true);
    static_cast<Interrupted&>(*global).afterReading = [&] {
        Mirk::writeParameter<double>(shared, {}, 3.0);
    };
    Mirk::writeParameter<double>(shared, {}, 2.0);
    EXPECT_EQ(numberIn(global), 3.0);
    EXPECT_EQ(numberIn(local), 3.0);
}

TEST_F(VParameterTest, CopyThatIsBeingMadeEndsWithTheLastGlobalWrite) {
    const VValuePtr global(new Interrupted(1.0));
    const VParameterPtr shared(new VParameter(global, "shared", {}));
    auto& interrupted = static_cast<Interrupted&>(*global);
    interrupted.afterCopy = [&] {
        Mirk::writeParameter<double>(shared, {}, 2.0);
        interrupted.afterReading = [&] { Mirk::writeParameter<double>(shared, {}, 3.0); };
    };
    EXPECT_EQ(numberIn(shared->getLocalValue(pool, {}, true)), 3.0);
}

TEST_F(VParameterTest, MemberThatIsBeingCopiedEndsWithTheLastGlobalWrite) {
    class Changing : public Halvable {
    public:
        using Halvable::Halvable;
        VValuePtr component(const std::string& name) const override {
            VValuePtr part = Halvable::component(name);
            if (afterwards) std::exchange(afterwards, {})();
            return part;
        }
        mutable std::function<void()> afterwards;
    };
    const VValuePtr global(new Changing(3.0));
    const VParameterPtr halves(new VParameter(global, "h", {}));
    static_cast<Changing&>(*global).afterwards = [&] {
        Mirk::writeParameter<double>(halves, {}, 8.0);
    };
    EXPECT_EQ(numberIn(halves->getLocalValue(pool, "half", true)), 4.0);
}

TEST_F(VParameterTest, GlobalWriteRefreshesTheCopiesOfMembers) {
    const VParameterPtr halves(new VParameter(VValuePtr(new Halvable(3.0)), "h", {}));
    const VValuePtr half = halves->getLocalValue(pool, "half", true);
    const auto before = half->ageable().age();
    Mirk::writeParameter<double>(halves, {}, 8.0);
    EXPECT_EQ(numberIn(half), 4.0);
    EXPECT_GT(half->ageable().age(), before);
    EXPECT_FALSE(halves->getLocalValue(pool, {}, false)) << "nothing new is made";
}

TEST_F(VParameterTest, WriteOfTheGlobalValueIsToldAsSuch) {
    const WatcherPtr watcher = watch(parameter);
    Mirk::writeParameter<double>(parameter, pool, 2.5);
    EXPECT_EQ(numberIn(parameter->DefaultValue()), 2.5) << "values are not local";
    EXPECT_FALSE(watcher->lastPool) << "all pools read it";
    parameter->Localize();
    Mirk::writeParameter<double>(parameter, pool, 3.5);
    EXPECT_EQ(watcher->lastPool, pool);
}

TEST_F(VParameterTest, CopyIsRefreshedEvenIfValuesBecomeLocalLater) {
    const VValuePtr local = parameter->getLocalValue(pool, {}, true);
    Mirk::writeParameter<double>(parameter, {}, 7.5);
    parameter->Localize();
    EXPECT_EQ(numberIn(parameter->getValue(pool)), 7.5);
    EXPECT_EQ(parameter->getValue(pool), local);
}

TEST_F(VParameterTest, NotificationRaisesTheAgeAheadOfTellingIt) {
    const WatcherPtr watcher = watch(parameter);
    const VValuePtr local = parameter->getLocalValue(pool, {}, true);
    parameter->notifyValueChange(local, pool);
    EXPECT_EQ(local->ageable().age(), Keel::Ageable::GlobalTime.load());
    EXPECT_EQ(watcher->changes, 1);
    EXPECT_EQ(watcher->ageWhenTold, local->ageable().age());
    EXPECT_EQ(watcher->lastValue, local);
    EXPECT_EQ(watcher->lastPool, pool);
    EXPECT_EQ(watcher->lastParameter, parameter.get());
    parameter->notifyValueChange({}, pool);
    EXPECT_EQ(watcher->changes, 1) << "no value, no change";
}

TEST_F(VParameterTest, EachWatcherIsToldOnce) {
    const WatcherPtr first = watch(parameter), second = watch(parameter);
    parameter->addNotifier(first);
    EXPECT_EQ(parameter->numberOfNotifiers(), 2u);
    parameter->notifyValueChange(parameter->DefaultValue(), {});
    EXPECT_EQ(first->changes, 1);
    EXPECT_EQ(second->changes, 1);
    parameter->removeNotifier(first);
    parameter->removeNotifier(first);
    EXPECT_FALSE(parameter->watches(first));
    EXPECT_TRUE(parameter->watches(second));
    parameter->notifyValueChange(parameter->DefaultValue(), {});
    EXPECT_EQ(first->changes, 1);
    EXPECT_EQ(second->changes, 2);
}

TEST_F(VParameterTest, ExceptedWatchersAreNotTold) {
    const VParameterPtr other(new Mirk::VValueParameter<double>(1.5, "other"));
    const WatcherPtr told = watch(parameter), excepted = watch(parameter), both = watch(parameter);
    other->addNotifier(both);
    parameter->notifyValueChange(parameter->DefaultValue(), {}, {}, excepted, other.get());
    EXPECT_EQ(told->changes, 1);
    EXPECT_EQ(excepted->changes, 0);
    EXPECT_EQ(both->changes, 0);
}

TEST_F(VParameterTest, WatchersAreKeptWeakly) {
    WatcherPtr watcher = watch(parameter);
    const Keel::WeakPtr<Mirk::ValueNotifier> weak(watcher);
    watcher = {};
    EXPECT_FALSE(weak);
    EXPECT_EQ(parameter->numberOfNotifiers(), 0u);
    parameter->notifyValueChange(parameter->DefaultValue(), {});
    parameter->addNotifier({});
    EXPECT_EQ(parameter->numberOfNotifiers(), 0u);
}

/// Does something when it is told.
class Acting : public Mirk::ValueNotifier {
public:
    explicit Acting(std::function<void()> action) : _action(std::move(action)) {}
    void touched(const Mirk::ValueNotifierList&, const VValuePtr&, const ValuePoolPtr&) override {
        if (++changes == 1) _action();
    }
    int changes = 0;

private:
    const std::function<void()> _action;
};

TEST_F(VParameterTest, NoLockIsHeldWhileWatchersAreTold) {
    parameter->Localize();
    WatcherPtr added(new Watcher);
    const WatcherPtr removed = watch(parameter);
    const Keel::StrongPtr<Mirk::ValueNotifier> acting(new Acting([&] {
        EXPECT_EQ(numberIn(parameter->getValue(pool)), 2.5);
        EXPECT_EQ(parameter->getValueAsText(otherPool, {}, true), "1.5");
        Mirk::writeParameter<double>(parameter, otherPool, 3.5);
        parameter->removeNotifier(removed);
        parameter->addNotifier(added);
        parameter->touch();
        parameter->setProperty("min", VValuePtr(new Mirk::VValue<double>(0)));
    }));
    parameter->addNotifier(acting);
    Mirk::writeParameter<double>(parameter, pool, 2.5);
    EXPECT_EQ(static_cast<Acting&>(*acting).changes, 4);
    EXPECT_EQ(added->changes, 2) << "by touch and setProperty, not by the change that was going on";
    EXPECT_EQ(removed->changes, 2) << "by the first change, and by the one to the other pool";
}

TEST_F(VParameterTest, TouchRaisesTheParameterAndTellsWithoutValue) {
    const WatcherPtr watcher = watch(parameter);
    const auto before = parameter->age(pool);
    parameter->touch();
    EXPECT_GT(parameter->age(pool), before);
    EXPECT_EQ(watcher->changes, 1);
    EXPECT_FALSE(watcher->lastValue);
    EXPECT_EQ(parameter->DefaultValue()->ageable().age(), Keel::Ageable::Ooooold);
}

TEST_F(VParameterTest, AgeIsThatOfTheLocalValueIfThereIsOne) {
    parameter->Localize();
    EXPECT_EQ(parameter->age(pool), Keel::Ageable::Ooooold);
    EXPECT_EQ(pool->numberOfValues(), 0u) << "asking makes no value";
    Mirk::writeParameter<double>(parameter, pool, 2.5);
    EXPECT_EQ(parameter->age(pool), Keel::Ageable::GlobalTime.load());
    EXPECT_EQ(parameter->age(otherPool), Keel::Ageable::Ooooold);
    EXPECT_EQ(parameter->age({}), Keel::Ageable::Ooooold);
}

TEST_F(VParameterTest, MemberIsAComponentOfTheGlobalValue) {
    const VParameterPtr halves(new VParameter(VValuePtr(new Halvable(3.0)), "h", {}));
    const VValuePtr half = halves->getLocalValue(pool, "half", true);
    EXPECT_EQ(numberIn(half), 1.5);
    EXPECT_EQ(halves->getLocalValue(pool, "half", false), half);
    EXPECT_FALSE(halves->getLocalValue(pool, "third", true));
    EXPECT_FALSE(halves->getLocalValue(pool, {}, false)) << "the whole value was not asked for";
    const auto before = halves->age(pool);
    halves->notifyValueChange(half, pool, "half");
    EXPECT_GT(halves->age(pool), before) << "who reads the whole depends on its members";
    EXPECT_EQ(halves->getValueAsText({}, "half", false), "1.5");
    EXPECT_EQ(halves->getValueAsText({}, "third", false), "");
}

TEST_F(VParameterTest, TextIsThatOfTheLocalOrTheGlobalValue) {
    EXPECT_EQ(parameter->getValueAsText(pool, {}, false), "1.5");
    EXPECT_EQ(pool->numberOfValues(), 0u);
    writeInto(parameter->getLocalValue(pool, {}, true), 2.5);
    EXPECT_EQ(parameter->getValueAsText(pool, {}, false), "2.5");
    EXPECT_EQ(parameter->getValueAsText({}, {}, true), "1.5");
}

TEST_F(VParameterTest, TextIsWrittenAndNotifiedIfItIsAChange) {
    const WatcherPtr watcher = watch(parameter);
    EXPECT_TRUE(parameter->setValueFromText({}, "2.5"));
    EXPECT_EQ(watcher->changes, 1);
    EXPECT_TRUE(parameter->setValueFromText({}, "2.5"));
    EXPECT_EQ(watcher->changes, 1);
    EXPECT_FALSE(parameter->setValueFromText({}, "two"));
    EXPECT_EQ(watcher->changes, 1);
    EXPECT_EQ(numberIn(parameter->DefaultValue()), 2.5);
    parameter->Localize();
    EXPECT_TRUE(parameter->setValueFromText(pool, "3.5"));
    EXPECT_EQ(watcher->lastPool, pool);
    EXPECT_EQ(numberIn(parameter->DefaultValue()), 2.5);
}

TEST_F(VParameterTest, SideValuesAreStoredAndToldIfTheyAreOthers) {
    const WatcherPtr watcher = watch(parameter), excepted = watch(parameter);
    const VValuePtr least(new Mirk::VValue<double>(0));
    parameter->setProperty("min", least, excepted, nullptr, pool);
    EXPECT_EQ(parameter->getProperty("min"), least);
    EXPECT_EQ(watcher->changes, 1);
    EXPECT_EQ(watcher->lastPool, pool);
    EXPECT_EQ(excepted->changes, 0);
    parameter->setProperty("min", least);
    EXPECT_EQ(watcher->changes, 1);
    EXPECT_FALSE(parameter->getProperty("max"));
    EXPECT_EQ(parameter->properties().names(), std::vector<std::string>{"min"});
    parameter->setProperty("min", {});
    EXPECT_FALSE(parameter->getProperty("min"));
    EXPECT_TRUE(parameter->properties().names().empty());
}

TEST_F(VParameterTest, SideValuesMayComeWithAChange) {
    Mirk::ValueMap sides;
    const VValuePtr help(new Mirk::VValue<std::string>("a number"));
    sides.setValue("help", help);
    EXPECT_EQ(sides.getValue("help"), help);
    EXPECT_FALSE(sides.getValue("unit"));
    parameter->notifyValueChange(parameter->DefaultValue(), {}, {}, {}, nullptr, &sides);
    EXPECT_EQ(parameter->getProperty("help"), help);
}

TEST_F(VParameterTest, ShadowsOfAnotherListAreCopied) {
    const VParameterPtr copy(new Mirk::VValueParameter<double>(1.5, "copy"));
    parameter->getLocalValue(pool, {}, true);
    parameter->addShadow(otherPool);
    parameter->addShadow(otherPool);
    copy->copyShadows(parameter);
    EXPECT_THAT(copy->shadows(), testing::ElementsAre(pool, otherPool));
    copy->copyShadows({});
}

TEST_F(VParameterTest, SourceIsWhoOwnsTheOutput) {
    EXPECT_FALSE(parameter->source());
    EXPECT_FALSE(parameter->hasSource());
    Mirk::VObjectPtr object(new Mirk::VObject("owner", 0, {}));
    const Mirk::VObjectPtr other(new Mirk::VObject("other", 0, {}));
    object->registerOutput(parameter, "out");
    EXPECT_EQ(parameter->source(), object);
    EXPECT_FALSE(parameter->dropSource(*other));
    EXPECT_TRUE(parameter->hasSource());
    const WatcherPtr watcher = watch(parameter);
    object = {};
    EXPECT_FALSE(parameter->source());
    EXPECT_FALSE(parameter->hasSource());
    EXPECT_EQ(watcher->changes, 1) << "its end is told";
    EXPECT_EQ(numberIn(parameter->getValue(pool)), 1.5) << "the last value stays readable";
}

TEST_F(VParameterTest, EndOfAFormerSourceLeavesTheNewOne) {
    Mirk::VObjectPtr former(new Mirk::VObject("former", 0, {}));
    const Mirk::VObjectPtr present(new Mirk::VObject("present", 0, {}));
    former->registerOutput(parameter, "out");
    present->registerOutput(parameter, "out");
    former = {};
    EXPECT_EQ(parameter->source(), present);
}

TEST_F(VParameterTest, CreatorOfAnInputIsNoSource) {
    const Mirk::VObjectPtr object(new Mirk::VObject("owner", 0, {}));
    object->addParameter("x", 0, parameter, false);
    EXPECT_EQ(parameter->creator(), object);
    EXPECT_FALSE(parameter->source());
}

TEST_F(VParameterTest, OrderIsAFieldOf32Bits) {
    static_assert(std::is_same_v<decltype(VParameter::order)::value_type, std::int32_t>);
    EXPECT_EQ(parameter->order, 0);
}

TEST_F(VParameterTest, ReadsTextsAsTheTraitOfInputsSays) {
    const VParameterPtr distance(new Mirk::VValueParameter<Distance>(Distance(), "distance"));
    const WatcherPtr watcher = watch(distance);
    EXPECT_TRUE(distance->setValueFromText({}, "far"));
    EXPECT_EQ(distance->getValueAsText({}, {}, false), "1e+09");
    EXPECT_EQ(watcher->changes, 1);
    EXPECT_TRUE(distance->setValueFromText({}, "far"));
    EXPECT_EQ(watcher->changes, 1) << "no change";
    EXPECT_TRUE(distance->setValueFromText({}, "7"));
    EXPECT_FALSE(distance->setValueFromText({}, "near"));
    EXPECT_EQ(distance->getValueAsText({}, {}, false), "7");
    EXPECT_EQ(watcher->changes, 2);
}

TEST_F(VParameterTest, ReadsTextsAsTheValueSaysIfItKnowsNoType) {
    const VParameterPtr untyped(new VParameter(VValuePtr(new Mirk::VValue<int>(1)), "n", {}));
    EXPECT_TRUE(untyped->setValueFromText({}, "2"));
    EXPECT_EQ(untyped->getValueAsText({}, {}, false), "2");
}

} // namespace
