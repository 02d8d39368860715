#include <sorrel/VObject.hpp>

#include <sorrel/VActionNotifier.hpp>
#include <sorrel/VCreatorBase.hpp>

#include "../Polypia/virtualSlot.hpp"
#include "Recorder.hpp"
#include "Summing.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

using Mirk::VObject;
using Mirk::VObjectPtr;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class VObjectTest : public testing::Test {
protected:
    ~VObjectTest() override { Mirk::VActionNotifier::clear(); }

    static std::vector<std::string> parentsOf(const VObject& object, int depth) {
        std::vector<std::string> names;
        object.iterateParents(
            [&](const VObjectPtr& parent, const Mirk::VSlot& input) {
                names.push_back(parent->Name() + " by " + input.Name());
                return true;
            },
            depth);
        return names;
    }

    const Mirk::ValuePoolPtr pool{new Mirk::ValuePool};
};

TEST_F(VObjectTest, HasItsVirtualOperationsInOrder) {
    // Two destructors are ahead of them.
    EXPECT_EQ(
        (std::vector{virtualSlot(&VObject::beforeLastRelease), virtualSlot(&VObject::published),
                     virtualSlot(&VObject::request), virtualSlot(&VObject::update),
                     virtualSlot(&VObject::must_update),
                     virtualSlot(&VObject::unsychronized_update), virtualSlot(&VObject::gimp_icon),
                     virtualSlot(&VObject::xpm_icon), virtualSlot(&VObject::qt_icon),
                     virtualSlot(&VObject::help), virtualSlot(&VObject::copy),
                     virtualSlot(&VObject::type_key), virtualSlot(&VObject::CreateParameterName),
                     virtualSlot(&VObject::InputCreation)}),
        slotsFrom(2, 14));
}

/// A pointer to a virtual base can't be cast back by static_cast.
template<class Base, class Derived>
constexpr bool HasVirtualBase = std::is_base_of_v<Base, Derived> && !requires(Base * base) {
    static_cast<Derived*>(base);
};

TEST_F(VObjectTest, HasItsBases) {
    static_assert(HasVirtualBase<Mirk::VManagedObjectBase, VObject>);
    static_assert(HasVirtualBase<Mirk::VConnectable, VObject>);
    static_assert(HasVirtualBase<Mirk::VStateCreatorBase, VObject>);
    static_assert(HasVirtualBase<Mirk::VSaveable, VObject>);
    static_assert(HasVirtualBase<Mirk::VManagedObjectBase, Mirk::VSlotContainer>);
    static_assert(!HasVirtualBase<Mirk::VSlotContainer, VObject>);
    static_assert(std::is_base_of_v<Mirk::VManagedObject, Mirk::VManagedDomainObject<VObject>>);
    static_assert(
        std::is_base_of_v<Keel::ReferenceBase<Mirk::VManagedObjectBase>, Mirk::VManagedObjectBase>);
    static_assert(std::is_base_of_v<Mirk::VManagedDomainObject<VObject>, VObject>);
    static_assert(std::is_base_of_v<Mirk::VSlotContainer, VObject>);
    static_assert(std::is_base_of_v<Mirk::VConnectionValidatorList, Mirk::VSlotContainer>);
    static_assert(std::is_base_of_v<Mirk::ValueCacheable, Mirk::VSlotContainer>);
    static_assert(std::is_base_of_v<Keel::Intercube, VObject>);
    static_assert(!std::is_default_constructible_v<VObject>);
}

TEST_F(VObjectTest, KeepsNamePriorityAndPreferences) {
    const VObject::PreferencesPtr words(new Mirk::VCreationPreferences("Red"));
    const VObjectPtr object(new VObject("object", 4, words));
    EXPECT_EQ(object->name, "object");
    EXPECT_EQ(object->BaseName(), "object");
    EXPECT_EQ(object->priority, 4);
    EXPECT_EQ(object->preferences(), words);
    EXPECT_TRUE(object->active);
    EXPECT_EQ(Mirk::VManagedObject::find(typeid(VObject), "object"), object);
}

TEST_F(VObjectTest, PlainObjectHasDefaults) {
    const VObjectPtr object(new VObject("object", 0, {}));
    Mirk::VRequest request(pool);
    EXPECT_TRUE(object->update(request, 1.0));
    EXPECT_TRUE(object->unsychronized_update(request, 1.0));
    EXPECT_EQ(object->gimp_icon(), nullptr);
    EXPECT_EQ(object->xpm_icon(), nullptr);
    EXPECT_EQ(object->qt_icon(), "");
    EXPECT_EQ(object->help(VObject::HelpType::Full), "");
    EXPECT_FALSE(object->copy());
    EXPECT_THAT(object->type_key(), testing::HasSubstr("VObject"));
    object->setCreatorName("Maker");
    EXPECT_EQ(object->type_key(), "Maker");
    EXPECT_EQ(object->CreateParameterName("x"), "object.x");
}

TEST_F(VObjectTest, UnconnectedInputHasNoParent) {
    const SummingPtr lonely = makeSumming("lonely");
    EXPECT_THAT(parentsOf(*lonely, 0), IsEmpty());
    EXPECT_THAT(parentsOf(*lonely, 9), IsEmpty());
}

TEST_F(VObjectTest, ParentsAreVisitedInTheOrderOfTheInputsEachOnce) {
    const SummingPtr child = makeSumming("child"), a = makeSumming("a"), b = makeSumming("b"),
                     top = makeSumming("top");
    child->addParameter("first", 0, b->sum, true);
    child->addParameter("second", 0, a->sum, true);
    child->attachParameter(b->sum, child->own, {});
    a->addParameter("up", 0, top->sum, true);
    b->addParameter("up", 0, top->sum, true);
    top->addParameter("back", 0, child->sum, true);
    EXPECT_THAT(parentsOf(*child, 0), ElementsAre("b by own", "a by second"));
    EXPECT_THAT(parentsOf(*child, 1), ElementsAre("b by own", "a by second", "top by up"));
    EXPECT_THAT(parentsOf(*child, 5), ElementsAre("b by own", "a by second", "top by up"))
        << "a cycle ends at the object itself";
}

class FirstParent : public Mirk::VObjectIterator {
public:
    bool apply(const VObjectPtr& object) override {
        name += object->Name();
        return false;
    }
    std::string name;
};

TEST_F(VObjectTest, VisitEndsTheWalk) {
    const SummingPtr child = makeSumming("child"), a = makeSumming("a"), b = makeSumming("b");
    child->addSource(*a);
    child->addSource(*b);
    FirstParent first;
    EXPECT_EQ(child->iterateParents(first, 3), 1u);
    EXPECT_EQ(first.name, "a");
}

TEST_F(VObjectTest, ParentsMayChangeDuringTheWalk) {
    const SummingPtr child = makeSumming("child");
    SummingPtr a = makeSumming("a"), b = makeSumming("b");
    child->addSource(*a);
    child->addSource(*b);
    std::string names;
    child->iterateParents(
        [&](const VObjectPtr& parent, const Mirk::VSlot&) {
            names += parent->Name();
            b = {};
            child->detachAll();
            return true;
        },
        0);
    EXPECT_EQ(names, "a");
}

TEST_F(VObjectTest, IsUpdatedOnlyIfRequestsAreProcessed) {
    class Passive : public VObject {
    public:
        Passive() : VObject("passive", 0, {}) {}
        bool update(Mirk::VRequest&, double) override {
            ++updates;
            return true;
        }
        int updates = 0;
    };
    const Keel::StrongPtr<Passive, Mirk::VManagedObjectBase> passive(new Passive);
    EXPECT_FALSE(passive->processesRequests());
    Mirk::VRequest request(pool);
    EXPECT_TRUE(request.process(*passive, 1.0));
    EXPECT_EQ(passive->updates, 0);
    passive->enableRequestProcessing();
    EXPECT_TRUE(Mirk::VRequest(pool).process(*passive, 1.0));
    EXPECT_EQ(passive->updates, 1);
}

TEST_F(VObjectTest, MustUpdateIsTrueUntilTheFirstUpdateAndAfterAChange) {
    const SummingPtr object = makeSumming("object"), source = makeSumming("source");
    const auto isDue = [&] { return object->must_update(Mirk::VRequest(pool), 1.0); };
    const auto update = [&] { Mirk::VRequest(pool).process(*object, 1.0); };
    EXPECT_TRUE(isDue());
    update();
    EXPECT_FALSE(isDue());
    object->own.set({}, 1.0);
    EXPECT_TRUE(isDue());
    update();
    const Mirk::VSlotPtr input = object->addSource(*source);
    EXPECT_TRUE(isDue());
    update();
    EXPECT_FALSE(isDue());
    object->detach(input);
    EXPECT_TRUE(isDue());
    update();
    const Mirk::ValuePoolPtr other(new Mirk::ValuePool);
    EXPECT_TRUE(object->must_update(Mirk::VRequest(other), 1.0)) << "each pool by itself";
    EXPECT_FALSE(isDue());
}

TEST_F(VObjectTest, InputCreationTellsOfAConnection) {
    class Told : public Summing {
    public:
        using Summing::Summing;
        void InputCreation(const Mirk::VParameterPtr& input, const VObjectPtr& from,
                           const Mirk::VParameterPtr& output) override {
            told += input->Name() + ' ' + from->Name() + ' ' + output->Name() + ';';
        }
        std::string told;
    };
    const Keel::StrongPtr<Told, Mirk::VManagedObjectBase> object(new Told("object"));
    const SummingPtr source = makeSumming("source");
    object->attachParameter(source->sum, object->own, {});
    object->attachParameter(source->sum, object->own, {});
    EXPECT_EQ(object->told, "own source sum;");
}

class SummingCreator : public Mirk::VCreatorBase {
public:
    SummingCreator() : VCreatorBase("Summing", "Test", {}) {}
    VObjectPtr create(const std::string& objectName, const PreferencesPtr&,
                      const Keel::Intercube&) override {
        if (objectName == "nothing") return {};
        return makeSumming(objectName);
    }
};

TEST_F(VObjectTest, NewObjectIsAttachedByTheNameOfItsCreator) {
    const Keel::StrongPtr<Mirk::VCreatorBase> creator(new SummingCreator);
    ASSERT_TRUE(Mirk::VCreatorBase::registerCreator(creator));
    const Keel::Intercube none;
    const SummingPtr object = makeSumming("object");
    const ShellRecorderPtr shell = listenToShell();
    EXPECT_EQ(object->attachNewObject(object->own, "Summing", none, {}), 0);
    EXPECT_EQ(VObjectPtr(object->own->parameter()->source())->Name(), "Summing");
    EXPECT_EQ(object->attachNewObject(object->own,
                                      "Summing\x1e"
                                      "total",
                                      none, {}),
              0);
    const VObjectPtr total(object->own->parameter()->source());
    EXPECT_EQ(total->Name(), "total");
    EXPECT_EQ(total->creatorName(), "Summing");
    EXPECT_THAT(shell->events(), ElementsAre("created Summing", "created total"));
    EXPECT_EQ(object->attachNewObject(object->own, "Unknown", none, {}), Mirk::NoCreator);
    EXPECT_EQ(object->attachNewObject(object->own,
                                      "Summing\x1e"
                                      "nothing",
                                      none, {}),
              Mirk::CreationFailed);
    EXPECT_EQ(object->attachNewObject({}, "Summing", none, {}), Mirk::NoSlot);
    const Mirk::TypedSlot<bool> flag(object.get(), "flag", false, 0);
    EXPECT_EQ(object->attachNewObject(flag, "Summing", none, {}), Mirk::NoSuchOutput);
    EXPECT_EQ(shell->events().size(), 2u) << "what can't be connected is given up";
    EXPECT_FALSE(Mirk::VManagedObject::find(typeid(VObject), "Summing#2"));
}

TEST_F(VObjectTest, EndOfAnObjectLeavesItsLastValueReadable) {
    SummingPtr source = makeSumming("source");
    const SummingPtr consumer = makeSumming("consumer");
    consumer->attachParameter(source->sum, consumer->own, {});
    source->sum.set(pool, 6.0);
    Mirk::VRequest(pool).process(*consumer, 1.0);
    const Keel::WeakPtr<VObject, Mirk::VManagedObjectBase> weak(source);
    source = {};
    EXPECT_FALSE(weak) << "an input keeps the parameter, not the object";
    EXPECT_TRUE(consumer->must_update(Mirk::VRequest(pool), 1.0));
    EXPECT_THAT(parentsOf(*consumer, 0), IsEmpty());
    EXPECT_TRUE(Mirk::VRequest(pool).process(*consumer, 1.0));
}

} // namespace
