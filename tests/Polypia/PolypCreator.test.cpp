#include <Polypia/PolypCreator.hpp>

#include "anyRenderContext.hpp"
#include "renderCache.hpp"
#include "virtualSlot.hpp"

#include <Polypia/PolypCreatorKeeper.hpp>
#include <Polypia/RenderException.hpp>

#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

using Keel::StrongPtr;
using Mirk::Polyp;
using Mirk::PolypPtr;
using Mirk::Seagrass;

namespace {

using DefaultCreator = Mirk::PolypCreator<Mirk::DefaultPolypInitializer>;

class PolypCreator : public testing::Test {
protected:
    StrongPtr<TestCreator> makeCreator() {
        return Keel::make<TestCreator>(*seagrass, PolypPtr(), plan);
    }
    /// Fills polyps with a tentacle of some bytes.
    void fillWith(std::size_t bytes) {
        plan.initialize = [this, bytes](Polyp& polyp, Mirk::VRenderContext&) {
            return polyp.insertTentacle(0, Polyp::TentaclePtr(new LivingTentacle(lives, bytes)));
        };
    }
    /// Makes polyps stale when `input` is younger than them.
    void followInput() {
        plan.isValid = [this](const Polyp&, Mirk::VRenderContext&,
                              const Mirk::PolypCreatorBase& creator) {
            return !input.isYoungerThan(creator);
        };
    }

    Lives lives;
    TestInitializer::Plan plan;
    struct : Keel::Ageable {
    } input;
    StrongPtr<Seagrass> seagrass{new Seagrass(1000000, "test")};
    Mirk::VRenderContext& context = anyRenderContext();
};

TEST_F(PolypCreator, HasItsBasesAndOperationsInTheirOrder) {
    using Base = Keel::CreatorBase<Polyp>;
    static_assert(std::is_base_of_v<Base, Mirk::PolypCreatorBase>);
    static_assert(std::is_base_of_v<Keel::NamedCreatures, Mirk::PolypCreatorBase>);
    static_assert(std::is_abstract_v<Mirk::PolypCreatorBase>);
    using Forgetter = Keel::AlzheimerCreator<Polyp, Mirk::PolypCreatorBase>;
    static_assert(std::is_base_of_v<Forgetter, Mirk::PolypBasicCreator>);
    static_assert(std::is_base_of_v<Mirk::PolypBasicCreator, TestCreator>);
    static_assert(std::is_base_of_v<TestInitializer, TestCreator>);
    static_assert(std::is_empty_v<Mirk::DefaultPolypInitializer>);
    EXPECT_EQ(virtualSlot(&Keel::Countable::beforeLastRelease), 0U);
    EXPECT_EQ((std::vector{virtualSlot(&Keel::Creature::forget), virtualSlot(&Keel::Creature::get),
                           virtualSlot(&Keel::Creature::hasData), virtualSlot(&Base::producerValue),
                           virtualSlot(&Base::discardCreation), virtualSlot(&Base::producerCost),
                           virtualSlot(&Base::producerName), virtualSlot(&Base::producerAssign),
                           virtualSlot(&Base::getDataType), virtualSlot(&Base::create),
                           virtualSlot(&Base::getPolyp), virtualSlot(&Base::releasePolyp)}),
              slotsFrom(3, 12));
}

TEST_F(PolypCreator, StartsEmptyAndOlderThanEverything) {
    const auto creator = Keel::make<DefaultCreator>(*seagrass, PolypPtr());
    EXPECT_FALSE(creator->hasData());
    EXPECT_FALSE(creator->get());
    EXPECT_FALSE(creator->getPolyp());
    EXPECT_FALSE(creator->releasePolyp());
    EXPECT_EQ(creator->age(), Keel::Ageable::Ooooold);
    EXPECT_TRUE(creator->cache() == seagrass->getCache());
    EXPECT_TRUE(creator->getSeagrass() == seagrass);
}

TEST_F(PolypCreator, MayStartWithAPolypWhichIsThenItsOwnAndNew) {
    const PolypPtr polyp = livingPolyp(lives, 10);
    const auto before = Keel::Ageable::GlobalTime.load();
    const auto creator = Keel::make<DefaultCreator>(*seagrass, polyp);
    EXPECT_TRUE(creator->getPolyp() == polyp);
    EXPECT_TRUE(polyp->creator() == creator);
    EXPECT_EQ(creator->age(), before + 1);
    EXPECT_EQ(Keel::Ageable::GlobalTime.load(), before + 1);
    EXPECT_EQ(seagrass->getCachedPolypsMemory(), 10U) << "it is enrolled";
}

TEST_F(PolypCreator, HoldsSeagrassWeakly) {
    const auto creator = makeCreator();
    EXPECT_EQ(seagrass.controlBlock()->strong(), 1);
}

TEST_F(PolypCreator, CreatesAnEmptyPolypOfItsOwnThatMayBeEvicted) {
    const auto creator = Keel::make<DefaultCreator>(*seagrass, PolypPtr());
    const PolypPtr polyp = creator->create();
    ASSERT_TRUE(polyp);
    EXPECT_TRUE(polyp->empty());
    EXPECT_TRUE(polyp->creator() == creator);
    EXPECT_TRUE(polyp->isEnrolled());
    EXPECT_TRUE(creator->getPolyp() == polyp);
    EXPECT_TRUE(creator->get() == polyp);
    EXPECT_TRUE(creator->hasData());
    EXPECT_EQ(seagrass->getCache()->purge(), 1U);
}

TEST_F(PolypCreator, GetsTheYoungestAgeWithEachPolyp) {
    const auto creator = Keel::make<DefaultCreator>(*seagrass, PolypPtr());
    creator->create();
    EXPECT_EQ(creator->age(), Keel::Ageable::GlobalTime.load());
    input.rejuvenate();
    creator->create();
    EXPECT_GT(creator->age(), input.age());
}

TEST_F(PolypCreator, ReleasesThePresentPolypWhenItCreatesAnother) {
    const PolypPtr polyp = livingPolyp(lives, 10);
    const auto creator = Keel::make<DefaultCreator>(*seagrass, polyp);
    const PolypPtr next = creator->create();
    EXPECT_TRUE(creator->getPolyp() == next);
    EXPECT_FALSE(next == polyp);
    EXPECT_FALSE(polyp->creator()) << "its eviction must not cost the creator its new one";
    EXPECT_EQ(polyp.controlBlock()->strong(), 1);
}

TEST_F(PolypCreator, ForgetsIntoTheListOfSeagrass) {
    const auto creator = makeCreator();
    fillWith(10);
    creator->acquire(context);
    // By any thread; it dies on that of the clean-up.
    std::thread([&] { EXPECT_TRUE(creator->forget()); }).join();
    EXPECT_FALSE(creator->hasData());
    EXPECT_EQ(lives.alive, 1);
    EXPECT_EQ(seagrass->cleanable(), 10U);
    seagrass->cleanup();
    EXPECT_EQ(lives.alive, 0);
    EXPECT_EQ(lives.astray, 0);
    EXPECT_FALSE(creator->forget()) << "there is nothing left";
}

TEST_F(PolypCreator, ForgetsOnTheSpotWithoutSeagrass) {
    const auto creator = makeCreator();
    seagrass = {};
    fillWith(10);
    creator->acquire(context);
    EXPECT_TRUE(creator->forget());
    EXPECT_EQ(lives.alive, 0);
}

TEST_F(PolypCreator, GivesUpThePolypAtTheWishOfItsUser) {
    const auto creator = makeCreator();
    fillWith(10);
    creator->acquire(context);
    creator->discardCreation();
    EXPECT_FALSE(creator->hasData());
    EXPECT_EQ(seagrass->getNumberOfDeletions(), 1U);
}

TEST_F(PolypCreator, ReleasesThePolypWithoutChangeOfCounts) {
    const auto creator = makeCreator();
    const Keel::WeakPtr<Polyp> polyp(creator->create());
    const int strong = polyp.controlBlock()->strong();
    const int weak = polyp.controlBlock()->weak();
    const PolypPtr released = creator->releasePolyp();
    EXPECT_TRUE(released == polyp);
    EXPECT_FALSE(creator->hasData());
    EXPECT_EQ(polyp.controlBlock()->strong(), strong);
    EXPECT_EQ(polyp.controlBlock()->weak(), weak);
    EXPECT_FALSE(released->creator());
    EXPECT_TRUE(released->isEnrolled()) << "its memory is not free yet";
}

TEST_F(PolypCreator, TellsTheTypeOfItsPolypAndWhyThereIsNone) {
    const auto creator = makeCreator();
    EXPECT_EQ(creator->getDataType(), typeid(std::nullptr_t));
    creator->create();
    EXPECT_EQ(creator->getDataType(), typeid(Polyp));

    PolypPtr mortal = livingPolyp(lives, 1);
    const Keel::WeakPtr<Polyp> weak(mortal);
    mortal = {};
    const auto deadCreator = Keel::make<DefaultCreator>(*seagrass, PolypPtr(weak));
    EXPECT_EQ(deadCreator->getDataType(), typeid(void));
    EXPECT_FALSE(deadCreator->hasData());
    EXPECT_EQ(deadCreator->age(), Keel::Ageable::Ooooold);
}

TEST_F(PolypCreator, HasEmptyProductsWithoutProducer) {
    const auto creator = makeCreator();
    EXPECT_FALSE(creator->producerValue());
    EXPECT_EQ(creator->producerCost(), 0U);
    EXPECT_EQ(creator->producerName(), "");
    EXPECT_FALSE(creator->producerAssign({}));
}

TEST_F(PolypCreator, ForwardsToItsProducer) {
    class Producer : public Keel::CreatorBase<Polyp>::Producer {
    public:
        explicit Producer(PolypPtr polyp) : product(std::move(polyp)) {}
        PolypPtr value() override { return product; }
        unsigned long long cost() const override { return 7; }
        std::string name() const override { return "other"; }
        bool assign(const PolypPtr& polyp) override { return polyp == product; }
        const PolypPtr product;
    };
    const auto creator = makeCreator();
    const PolypPtr polyp = livingPolyp(lives, 1);
    creator->addInterface(StrongPtr<Keel::InterfaceBase>(new Producer(polyp)));
    EXPECT_TRUE(creator->producerValue() == polyp);
    EXPECT_EQ(creator->producerCost(), 7U);
    EXPECT_EQ(creator->producerName(), "other");
    EXPECT_TRUE(creator->producerAssign(polyp));
}

TEST_F(PolypCreator, CarriesTheCreatorsOfParts) {
    const auto creator = makeCreator();
    const auto part = makeCreator();
    creator->namedCreatures()["part"] = part;
    EXPECT_EQ(part.controlBlock()->strong(), 2);
}

TEST_F(PolypCreator, SchedulesItsPolypWhenItDiesOnAnyThread) {
    auto creator = makeCreator();
    fillWith(10);
    creator->acquire(context);
    std::thread([&] { creator = {}; }).join();
    EXPECT_EQ(lives.alive, 1);
    EXPECT_EQ(seagrass->getNumberOfDeletions(), 1U);
    seagrass->cleanup();
    EXPECT_EQ(lives.alive, 0);
    EXPECT_EQ(lives.astray, 0);
}

TEST_F(PolypCreator, SchedulesItsPolypAlsoWithoutEverHavingHadAPointer) {
    fillWith(10);
    {
        TestCreator creator(*seagrass, {}, plan);
        creator.acquire(context);
    }
    EXPECT_EQ(seagrass->getNumberOfDeletions(), 1U);
}

TEST_F(PolypCreator, ReleasesItsPolypWhenItDiesWithoutSeagrass) {
    auto creator = makeCreator();
    seagrass = {};
    fillWith(10);
    creator->acquire(context);
    creator = {};
    EXPECT_EQ(lives.alive, 0);
}

TEST_F(PolypCreator, AcquiresThePolypOnceAndThenKeepsIt) {
    fillWith(10);
    followInput();
    input.rejuvenate();
    const auto creator = makeCreator();
    const PolypPtr polyp = creator->acquire(context);
    ASSERT_TRUE(polyp);
    EXPECT_EQ(polyp->wave(~0U), 1) << "it is filled";
    EXPECT_EQ(polyp->memsize(), 10U) << "its wave is prepared";
    EXPECT_EQ(plan.asked, 0);
    for (int frame = 0; frame < 100; ++frame) EXPECT_TRUE(creator->acquire(context) == polyp);
    EXPECT_EQ(plan.initialized, 1);
    EXPECT_EQ(plan.asked, 100);
    EXPECT_EQ(seagrass->getNumberOfDeletions(), 0U);
}

TEST_F(PolypCreator, AsksWithThePolypTheContextAndItself) {
    fillWith(10);
    const auto creator = makeCreator();
    const PolypPtr polyp = creator->acquire(context);
    plan.isValid = [&](const Polyp& present, Mirk::VRenderContext& renderContext,
                       const Mirk::PolypCreatorBase& asking) {
        EXPECT_EQ(&present, polyp.get());
        EXPECT_EQ(&renderContext, &context);
        EXPECT_EQ(&asking, creator.get());
        return true;
    };
    creator->acquire(context);
    EXPECT_EQ(plan.asked, 1);
}

TEST_F(PolypCreator, ReplacesAStalePolypAndSchedulesIt) {
    fillWith(10);
    followInput();
    const auto creator = makeCreator();
    const Keel::WeakPtr<Polyp> stale(creator->acquire(context));
    input.rejuvenate();
    const PolypPtr fresh = creator->acquire(context);
    EXPECT_TRUE(fresh);
    EXPECT_FALSE(fresh == stale);
    EXPECT_EQ(lives.alive, 2) << "the stale one waits for the clean-up";
    EXPECT_EQ(seagrass->getNumberOfDeletions(), 1U);
    seagrass->cleanup();
    EXPECT_FALSE(stale);
    EXPECT_TRUE(creator->acquire(context) == fresh);
    EXPECT_EQ(plan.initialized, 2);
}

TEST_F(PolypCreator, RebuildsOnceForAChangeThatComesWhileThePolypIsFilled) {
    followInput();
    plan.initialize = [&](Polyp&, Mirk::VRenderContext&) {
        if (plan.initialized == 1) input.rejuvenate();
        return true;
    };
    const auto creator = makeCreator();
    for (int frame = 0; frame < 10; ++frame) creator->acquire(context);
    EXPECT_EQ(plan.initialized, 2);
}

TEST_F(PolypCreator, MakesThePolypAnewWhenFillingItHasThrown) {
    plan.initialize = [&](Polyp& polyp, Mirk::VRenderContext&) -> bool {
        polyp.insertTentacle(0, Polyp::TentaclePtr(new LivingTentacle(lives, 10)));
        throw Mirk::RenderException(1, "initializePolyp", "here", 1);
    };
    const auto creator = makeCreator();
    EXPECT_THROW(creator->acquire(context), Mirk::RenderException);
    EXPECT_FALSE(creator->hasData());
    EXPECT_EQ(seagrass->getNumberOfDeletions(), 1U) << "the half-made one";
    seagrass->cleanup();
    EXPECT_EQ(lives.alive, 0);
    fillWith(10);
    const PolypPtr polyp = creator->acquire(context);
    ASSERT_TRUE(polyp);
    EXPECT_EQ(polyp->wave(~0U), 1);
}

TEST_F(PolypCreator, HasNoPolypWhenFillingItIsDeclinedAndTriesAgain) {
    plan.initialize = [](Polyp&, Mirk::VRenderContext&) { return false; };
    const auto creator = makeCreator();
    EXPECT_FALSE(creator->acquire(context));
    EXPECT_FALSE(creator->hasData());
    fillWith(10);
    EXPECT_TRUE(creator->acquire(context));
}

TEST_F(PolypCreator, TellsTheInitializerTheExpectedSize) {
    std::vector<std::size_t> expected;
    bool isAllowed = true;
    plan.isValid = [](const Polyp&, Mirk::VRenderContext&, const Mirk::PolypCreatorBase&) {
        return false;
    };
    plan.initialize = [&](Polyp& polyp, Mirk::VRenderContext&) {
        expected.push_back(polyp.memsize());
        if (isAllowed) polyp.insertTentacle(0, Polyp::TentaclePtr(new LivingTentacle(lives, 70)));
        return isAllowed;
    };
    const auto creator = makeCreator();
    creator->acquire(context);
    isAllowed = false;
    creator->acquire(context);
    EXPECT_EQ(seagrass->getCachedPolypsMemory(), 70U) << "what was declined takes nothing";
    isAllowed = true;
    creator->acquire(context);
    creator->forget();
    creator->acquire(context);
    EXPECT_THAT(expected, testing::ElementsAre(0U, 70U, 70U, 70U));
}

TEST_F(PolypCreator, TakesInitializersWithoutAnswer) {
    struct Silent {
        void initializePolyp(Polyp& polyp, Mirk::VRenderContext&) const {
            polyp.insertTentacle(0, Polyp::TentaclePtr(new LivingTentacle(lives, 1)));
        }
        bool isValidPolyp(const Polyp&, Mirk::VRenderContext&,
                          const Mirk::PolypCreatorBase&) const {
            return true;
        }
        Lives& lives;
    };
    const auto creator =
        Keel::make<Mirk::PolypCreator<Silent>>(*seagrass, PolypPtr(), Silent{lives});
    EXPECT_EQ(creator->acquire(context)->wave(~0U), 1);
}

TEST_F(PolypCreator, OfTheDefaultKindIsFilledByTheDisplayObject) {
    static_assert(!Mirk::PolypInitializer<Mirk::DefaultPolypInitializer>);
    const StrongPtr<Mirk::PolypBasicCreator> creator(
        Mirk::PolypCreatorKeeper::DefaultFactory(*seagrass));
    ASSERT_TRUE(creator);
    const PolypPtr polyp = creator->recreate([&](Polyp& empty) {
        return empty.insertTentacle(0, Polyp::TentaclePtr(new LivingTentacle(lives, 10)));
    });
    ASSERT_TRUE(polyp);
    EXPECT_EQ(polyp->memsize(), 10U);
    EXPECT_TRUE(creator->getPolyp() == polyp);
    EXPECT_FALSE(creator->recreate([](Polyp&) { return false; }));
    EXPECT_FALSE(creator->hasData());
}

TEST_F(PolypCreator, MakesAnEvictedPolypAnewAtTheNextFrame) {
    fillWith(10);
    const auto creator = makeCreator();
    const Keel::WeakPtr<Polyp> evicted(creator->acquire(context));
    seagrass->getCache()->maxCost = 5;
    seagrass->getCache()->adjust(typeid(void), typeid(void), 0);
    EXPECT_FALSE(creator->hasData());
    seagrass->cleanup();
    EXPECT_FALSE(evicted);
    const PolypPtr next = creator->acquire(context);
    ASSERT_TRUE(next);
    EXPECT_EQ(next->wave(~0U), 1);
}

TEST_F(PolypCreator, KeepsItsNewPolypWhenTheFormerOneIsEvicted) {
    fillWith(10);
    plan.isValid = [](const Polyp&, Mirk::VRenderContext&, const Mirk::PolypCreatorBase&) {
        return false;
    };
    const auto creator = makeCreator();
    creator->acquire(context);
    const PolypPtr present = creator->acquire(context);
    seagrass->getCache()->maxCost = 10;
    seagrass->getCache()->adjust(typeid(void), typeid(void), 0);
    EXPECT_TRUE(creator->getPolyp() == present);
    EXPECT_EQ(seagrass->getCachedPolypsMemory(), 10U);
}

TEST_F(PolypCreator, KeepsTheAccountWithinTheBudgetAndTheObjectBeingMade) {
    constexpr std::size_t objectBytes = 10;
    constexpr std::size_t budget = 100;
    seagrass->getCache()->maxCost = budget;
    std::vector<StrongPtr<TestCreator>> objects;
    for (std::size_t i = 0; i < 20 * budget / objectBytes; ++i) objects.push_back(makeCreator());
    std::size_t most = 0;
    const auto look = [&] { most = std::max(most, seagrass->memsize(false)); };
    plan.initialize = [&](Polyp& polyp, Mirk::VRenderContext&) {
        look();
        return polyp.insertTentacle(0, Polyp::TentaclePtr(new LivingTentacle(lives, objectBytes)));
    };
    for (int frame = 0; frame < 5; ++frame) {
        for (const auto& object : objects) {
            ASSERT_TRUE(object->acquire(context));
            look();
        }
        seagrass->cleanup();
        look();
        EXPECT_LE(lives.alive, static_cast<int>(budget / objectBytes));
    }
    EXPECT_EQ(plan.initialized, 5 * static_cast<int>(objects.size())) << "each anew";
    EXPECT_LE(most, budget + objectBytes);
    EXPECT_GT(most, budget / 2) << "the budget is made use of";
}

TEST_F(PolypCreator, IsPartOfWhatATestOfValidityLooksAt) {
    const auto creator = makeCreator();
    const Mirk::PolypCreatorContext test{context, creator};
    EXPECT_EQ(&test.context, &context);
    EXPECT_TRUE(test.creator == creator);
}

} // namespace
