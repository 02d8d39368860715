#include <sorrel/VManagedObject.hpp>

#include "Summing.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

using Mirk::VManagedObject;
using Mirk::VManagedObjectPtr;
using Mirk::VObject;
using Mirk::VObjectPtr;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// A root type of its own, so that objects of other tests are out of sight.
class Fish : public Mirk::VManagedDomainObject<Fish> {
public:
    explicit Fish(const std::string& objectName, int p = 0)
        : Mirk::VManagedDomainObject<Fish>(objectName, p) {}
};
VManagedObjectPtr makeFish(const std::string& name, int priority = 0) {
    return VManagedObjectPtr(new Fish(name, priority));
}

class Names : public Mirk::VManagedObjectIterator {
public:
    bool apply(const VManagedObjectPtr& object) override {
        names.push_back(dynamic_cast<VManagedObject&>(*object).Name());
        return names.size() < most;
    }
    std::vector<std::string> names;
    std::size_t most = 100;
};

TEST(VManagedObjectTest, UnknownNameIsNotFound) {
    EXPECT_FALSE(VManagedObject::find(typeid(Fish), "cod"));
    const VManagedObjectPtr cod = makeFish("cod");
    EXPECT_FALSE(VManagedObject::find(typeid(Fish), "eel"));
    EXPECT_FALSE(VManagedObject::find(typeid(VObject), "cod")) << "another root type";
}

TEST(VManagedObjectTest, IsFoundByRootTypeAndNameAsLongAsItLives) {
    VManagedObjectPtr cod = makeFish("cod");
    EXPECT_EQ(VManagedObject::find(typeid(Fish), "cod"), cod);
    cod = {};
    EXPECT_FALSE(VManagedObject::find(typeid(Fish), "cod"));
}

TEST(VManagedObjectTest, NamesAreMadeUnique) {
    VManagedObjectPtr first = makeFish("cod");
    const VManagedObjectPtr second = makeFish("cod"), third = makeFish("cod");
    EXPECT_EQ(VManagedObject::find(typeid(Fish), "cod"), first);
    EXPECT_EQ(VManagedObject::find(typeid(Fish), "cod#2"), second);
    EXPECT_EQ(VManagedObject::find(typeid(Fish), "cod#3"), third);
    const auto& named = dynamic_cast<VManagedObject&>(*third);
    EXPECT_EQ(named.BaseName(), "cod");
    EXPECT_EQ(named.name, "cod");
    EXPECT_EQ(named.Name(), "cod#3");
    first = {};
    EXPECT_FALSE(VManagedObject::find(typeid(Fish), "cod"));
    EXPECT_EQ(VManagedObject::find(typeid(Fish), "cod#2"), second) << "names don't move up";
    const VManagedObjectPtr fourth = makeFish("cod"), fifth = makeFish("cod");
    EXPECT_EQ(VManagedObject::find(typeid(Fish), "cod"), fourth);
    EXPECT_EQ(VManagedObject::find(typeid(Fish), "cod#4"), fifth);
}

TEST(VManagedObjectTest, NumberedNameMayBeTakenAlready) {
    const VManagedObjectPtr numbered = makeFish("cod#2"), first = makeFish("cod"),
                            second = makeFish("cod");
    EXPECT_EQ(VManagedObject::find(typeid(Fish), "cod#3"), second);
}

TEST(VManagedObjectTest, WalkGoesByPriorityThenByConstruction) {
    const VManagedObjectPtr late = makeFish("late", 5), early = makeFish("early", -3),
                            middle = makeFish("middle", 1), second = makeFish("second", 1);
    Names all, some, one;
    EXPECT_EQ(VManagedObject::traverse(typeid(Fish), all), 4u);
    EXPECT_THAT(all.names, ElementsAre("early", "middle", "second", "late"));
    EXPECT_EQ(VManagedObject::traverse(typeid(Fish), some, 1, 5), 3u);
    EXPECT_THAT(some.names, ElementsAre("middle", "second", "late")) << "both ends included";
    one.most = 1;
    EXPECT_EQ(VManagedObject::traverse(typeid(Fish), one), 1u);
    EXPECT_THAT(one.names, ElementsAre("early"));
    Names none;
    EXPECT_EQ(VManagedObject::traverse(typeid(Fish), none, 5, 1), 0u);
    EXPECT_EQ(VManagedObject::traverse(typeid(Fish), none, 6, 9), 0u);
    EXPECT_EQ(VManagedObject::traverse(typeid(Names), none), 0u);
    EXPECT_THAT(none.names, IsEmpty());
}

/// Looks for itself while it is being constructed.
class Narcissus : public Mirk::VManagedDomainObject<Narcissus> {
public:
    Narcissus() : Mirk::VManagedDomainObject<Narcissus>("narcissus", 0) {
        foundHimself = bool(VManagedObject::find(typeid(Narcissus), "narcissus"));
        Names walk;
        VManagedObject::traverse(typeid(Narcissus), walk);
        foundHimself = foundHimself || !walk.names.empty();
    }
    bool foundHimself;
};

TEST(VManagedObjectTest, ObjectUnderConstructionIsPassedOver) {
    const Keel::StrongPtr<Narcissus, Mirk::VManagedObjectBase> narcissus(new Narcissus);
    EXPECT_FALSE(narcissus->foundHimself);
    EXPECT_TRUE(narcissus->isPublished());
    EXPECT_EQ(VManagedObject::find(typeid(Narcissus), "narcissus"), narcissus);
}

class Stillborn : public Fish {
public:
    Stillborn() : Fish("stillborn") { throw std::runtime_error("never"); }
};

TEST(VManagedObjectTest, ObjectWhoseConstructorThrowsIsNotKnown) {
    EXPECT_THROW(Stillborn(), std::runtime_error);
    EXPECT_FALSE(VManagedObject::find(typeid(Fish), "stillborn"));
    const VManagedObjectPtr next = makeFish("stillborn");
    EXPECT_EQ(VManagedObject::find(typeid(Fish), "stillborn"), next);
}

/// Makes and drops objects during the walk.
class Meddler : public Mirk::VManagedObjectIterator {
public:
    bool apply(const VManagedObjectPtr&) override {
        ++visits;
        victim = {};
        made.push_back(makeFish("made"));
        return true;
    }
    int visits = 0;
    VManagedObjectPtr victim;
    std::vector<VManagedObjectPtr> made;
};

TEST(VManagedObjectTest, NoLockIsHeldDuringTheWalk) {
    const VManagedObjectPtr first = makeFish("first", 1);
    Meddler meddler;
    meddler.victim = makeFish("victim", 2);
    VManagedObject::traverse(typeid(Fish), meddler);
    EXPECT_EQ(meddler.visits, 1);
}

TEST(VManagedObjectTest, PublishingTouchesTheOutputs) {
    class Early : public Summing {
    public:
        Early() : Summing("early") { before = sum->age({}); }
        Keel::Ageable::Age before;
    };
    const Keel::StrongPtr<Early, Mirk::VManagedObjectBase> early(new Early);
    EXPECT_GT(early->sum->age({}), early->before);
}

} // namespace
