#include <sorrel/VConnectable.hpp>

#include <sorrel/VActionNotifier.hpp>
#include <sorrel/VCreatorBase.hpp>

#include "Recorder.hpp"
#include "Summing.hpp"

#include <gmock/gmock.h>

#include <latch>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using Mirk::VObject;
using Mirk::VObjectPtr;
using Mirk::VSlotPtr;

namespace {

/// A type that no other test has outputs of.
struct Fuel {
    int grade = 0;
};

class Engine : public VObject {
public:
    explicit Engine(const std::string& objectName = "engine") : VObject(objectName, 0, {}) {}
    Mirk::TypedSlot<Fuel> fuel{this, "fuel", Fuel{}, 0};
};
class Tank : public VObject {
public:
    Tank(const std::string& objectName, int p, const PreferencesPtr& prefs)
        : VObject(objectName, p, prefs) {}
    Mirk::VOutput<Fuel> fuel{this, "fuel", Fuel{}};
};

class TankCreator : public Mirk::VInputCreator<Fuel> {
public:
    TankCreator() : VInputCreator("Tank", 0, {}, ApiVersion) {}
    VObjectPtr create(const std::string& objectName, const PreferencesPtr& preferences,
                      const Keel::Intercube&) override {
        return VObjectPtr(new Tank(objectName, 0, preferences));
    }
};

class VConnectableTest : public testing::Test {
protected:
    ~VConnectableTest() override { Mirk::VActionNotifier::clear(); }

    static VObjectPtr makeTank(const std::string& name, const std::string& words = {}) {
        return VObjectPtr(
            new Tank(name, 0, VObject::PreferencesPtr(new Mirk::VCreationPreferences(words))));
    }

    const Mirk::ValueTypeRegistration<Fuel> type{"Fuel"};
    const Keel::StrongPtr<Engine, Mirk::VManagedObjectBase> engine{new Engine};
};

TEST_F(VConnectableTest, ConnectionsAreAdjusted) {
    const VObjectPtr tank = makeTank("tank");
    const Mirk::VParameterPtr fuel = tank->getImplementation(typeid(Fuel), {}, {});
    EXPECT_FALSE(engine->CreatedFilteredConnection(fuel));
    EXPECT_EQ(engine->adjustConnections(engine->fuel, fuel), Mirk::Attached);
    EXPECT_EQ(engine->CreatedFilteredConnection(fuel), engine->fuel);
    EXPECT_FALSE(engine->CreatedFilteredConnection({}));
    EXPECT_EQ(engine->adjustConnections(engine->fuel, {}), Mirk::Attached);
    EXPECT_FALSE(engine->fuel->isConnected());
    EXPECT_EQ(engine->adjustConnections(engine->fuel, {}), Mirk::NoSlot);
}

TEST_F(VConnectableTest, NoObjectIsMinusOne) {
    EXPECT_EQ(engine->attachUniqueObject(engine->fuel, {}, false), -1);
    EXPECT_EQ(engine->attachUniqueObject(engine->fuel, {}, true), -1) << "nobody can make one";
    EXPECT_EQ(engine->attachUniqueObject({}, {}, false), Mirk::NoSlot);
}

TEST_F(VConnectableTest, OnlyObjectIsAttached) {
    const VObjectPtr tank = makeTank("tank");
    EXPECT_EQ(engine->attachUniqueObject(engine->fuel, {}, false), 0);
    EXPECT_EQ(engine->fuel->parameter()->source(), tank);
    EXPECT_GE(engine->attachUniqueObject(engine->fuel, {}, false), 0);
}

TEST_F(VConnectableTest, SeveralObjectsAreMinusTwo) {
    const VObjectPtr first = makeTank("first"), second = makeTank("second");
    EXPECT_EQ(engine->attachUniqueObject(engine->fuel, {}, true), -2);
    EXPECT_FALSE(engine->fuel->isConnected());
    EXPECT_FALSE(Mirk::VObject::findUniqueOutputObject(typeid(Fuel), {}, true, nullptr));
    EXPECT_EQ(Mirk::VObject::findUniqueOutputObject(typeid(Fuel), {}, true, first.get()), second);
}

TEST_F(VConnectableTest, PreferencesTellAmongSeveral) {
    const VObjectPtr small = makeTank("small", "Red Small"), large = makeTank("large", "Red Large");
    const VObject::PreferencesPtr wanted(new Mirk::VCreationPreferences("Large Red"));
    EXPECT_EQ(engine->attachUniqueObject(engine->fuel, wanted, false), 0);
    EXPECT_EQ(engine->fuel->parameter()->source(), large);
    EXPECT_EQ(Mirk::VObject::findUniqueOutputObject(typeid(Fuel), wanted, false, nullptr), large);
    const VObject::PreferencesPtr red(new Mirk::VCreationPreferences("Red"));
    EXPECT_EQ(engine->attachUniqueObject(engine->fuel, red, false), -2);
}

TEST_F(VConnectableTest, MissingObjectIsMadeOnDemand) {
    const Keel::StrongPtr<TankCreator, Mirk::VCreatorBase> creator(new TankCreator);
    ASSERT_TRUE(Mirk::registerVInput(typeid(Fuel), creator));
    EXPECT_EQ(engine->attachUniqueObject(engine->fuel, {}, false), -1);
    EXPECT_EQ(engine->attachUniqueObject(engine->fuel, {}, true), 0);
    const VObjectPtr made(engine->fuel->parameter()->source());
    ASSERT_TRUE(made);
    EXPECT_EQ(made->creatorName(), "Tank");
    EXPECT_EQ(Mirk::VActionNotifier::objects(), std::vector{made}) << "it was announced";
    EXPECT_EQ(Mirk::VObject::findUniqueOutputObject(typeid(Fuel), {}, true, nullptr), made);
    EXPECT_TRUE(Mirk::unregisterVInput(typeid(Fuel), creator));
}

TEST_F(VConnectableTest, MissingObjectIsMadeForWhoeverSearches) {
    const Keel::StrongPtr<TankCreator, Mirk::VCreatorBase> creator(new TankCreator);
    ASSERT_TRUE(Mirk::registerVInput(typeid(Fuel), creator));
    EXPECT_FALSE(VObject::findUniqueOutputObject(typeid(Fuel), {}, false, nullptr));
    const VObjectPtr made = VObject::findUniqueOutputObject(typeid(Fuel), {}, true, nullptr);
    ASSERT_TRUE(made);
    EXPECT_EQ(Mirk::VActionNotifier::objects(), std::vector{made});
    EXPECT_TRUE(Mirk::unregisterVInput(typeid(Fuel), creator));
}

TEST_F(VConnectableTest, MissingObjectIsMadeOnceForThreadsThatSearchAtOnce) {
    const Keel::StrongPtr<TankCreator, Mirk::VCreatorBase> creator(new TankCreator);
    ASSERT_TRUE(Mirk::registerVInput(typeid(Fuel), creator));
    for (int round = 0; round < 50; ++round) {
        std::latch start(4);
        std::vector<VObjectPtr> found(4);
        std::vector<std::thread> threads;
        for (VObjectPtr& mine : found) {
            threads.emplace_back([&] {
                start.arrive_and_wait();
                mine = VObject::findUniqueOutputObject(typeid(Fuel), {}, true, nullptr);
            });
        }
        for (std::thread& thread : threads) thread.join();
        ASSERT_TRUE(found[0]);
        EXPECT_EQ(found, std::vector(4, found[0]));
        EXPECT_EQ(Mirk::VActionNotifier::objects().size(), 1U);
        Mirk::VActionNotifier::clear();
    }
    EXPECT_TRUE(Mirk::unregisterVInput(typeid(Fuel), creator));
}

TEST_F(VConnectableTest, SetupThatThrowsBecomesAWarningAndTheObjectServes) {
    class Leaking : public TankCreator {
    public:
        VObjectPtr create(const std::string& objectName, const PreferencesPtr& preferences,
                          const Keel::Intercube& context) override {
            const VObjectPtr tank = TankCreator::create(objectName, preferences, context);
            tank->addSetup([](const Mirk::VSlotSet&) { throw std::runtime_error("no valve"); });
            tank->addSetup([](const Mirk::VSlotSet&) { throw 1; });
            return tank;
        }
    };
    const Keel::StrongPtr<Leaking, Mirk::VCreatorBase> creator(new Leaking);
    ASSERT_TRUE(Mirk::registerVInput(typeid(Fuel), creator));
    ASSERT_TRUE(Mirk::VCreatorBase::registerCreator(creator));
    const ShellRecorderPtr shell = listenToShell();
    EXPECT_EQ(engine->attachUniqueObject(engine->fuel, {}, true), 0);
    const Keel::Intercube none;
    EXPECT_EQ(engine->attachNewObject(engine->fuel, "Tank\x1espare", none, {}), 0);
    EXPECT_THAT(shell->events(),
                testing::ElementsAre("created Tank", "warning Could not set up \"Tank\": no valve",
                                     "created spare",
                                     "warning Could not set up \"spare\": no valve"));
    EXPECT_TRUE(Mirk::unregisterVInput(typeid(Fuel), creator));
}

} // namespace
