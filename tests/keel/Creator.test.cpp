#include <keel/Cache.hpp>
#include <keel/Creator.hpp>

#include "../Polypia/virtualSlot.hpp"

#include <gtest/gtest.h>

using Keel::Cache;
using Keel::Cacheable;
using Keel::StrongPtr;
using Keel::WeakPtr;

namespace {

class Toy : public Cacheable {
public:
    using Cacheable::Cacheable;
    std::size_t memsize() const override { return 10; }
};

template<class Base>
class ToyMaker : public Base {
public:
    using Base::Base;
    StrongPtr<Toy, Cacheable> create() override {
        const StrongPtr<Toy, Cacheable> toy(new Toy(*this));
        this->store(toy);
        this->enableCaching(false);
        return toy;
    }
};
using Keeper = ToyMaker<Keel::Creator<Toy, Keel::CreatorBase<Toy>>>;
using Forgetter = ToyMaker<Keel::AlzheimerCreator<Toy, Keel::CreatorBase<Toy>>>;

static_assert(std::is_same_v<Keel::RootOf_t<Keel::CreatorBase<Toy>>, Forgetter::ReferenceRoot>);

class CreatorTest : public testing::Test {
protected:
    StrongPtr<Cache> cache = Keel::make<Cache>(1000u, "test");
};

TEST_F(CreatorTest, HasItsVirtualOperationsInOrder) {
    using Base = Keel::CreatorBase<Toy>;
    // The hook and two destructors are ahead of them.
    EXPECT_EQ((std::vector{virtualSlot(&Keel::Creature::forget), virtualSlot(&Keel::Creature::get),
                           virtualSlot(&Keel::Creature::hasData), virtualSlot(&Base::producerValue),
                           virtualSlot(&Base::discardCreation), virtualSlot(&Base::producerCost),
                           virtualSlot(&Base::producerName), virtualSlot(&Base::producerAssign),
                           virtualSlot(&Base::getDataType), virtualSlot(&Base::create),
                           virtualSlot(&Base::getPolyp), virtualSlot(&Base::releasePolyp)}),
              slotsFrom(3, 12));
}

TEST_F(CreatorTest, EnrolsWhatItStartsWithWhenItIsMadeItself) {
    const StrongPtr<Toy, Cacheable> toy(new Toy);
    class Maker : public Forgetter {
    public:
        Maker(const StrongPtr<Cache>& owner, const StrongPtr<Toy, Cacheable>& object)
            : Forgetter(owner, object) {
            EXPECT_EQ(object->creator(), WeakPtr<Keel::Creature>(*this));
            EXPECT_FALSE(object->isEnrolled()) << "which kind of creator has it is not known yet";
        }
    };
    const auto maker = Keel::make<Maker>(cache, toy);
    EXPECT_TRUE(toy->isEnrolled());
    cache->adjust(typeid(Toy), typeid(Forgetter), 1000);
    EXPECT_TRUE(maker->hasData());
    cache->adjust(typeid(Toy), typeid(Maker), 1000);
    EXPECT_FALSE(maker->hasData());
}

TEST_F(CreatorTest, StartsEmptyAndOlderThanEverything) {
    const auto maker = Keel::make<Forgetter>(cache);
    EXPECT_FALSE(maker->hasData());
    EXPECT_FALSE(maker->get());
    EXPECT_FALSE(maker->getPolyp());
    EXPECT_EQ(maker->getDataType(), typeid(std::nullptr_t));
    EXPECT_EQ(maker->age(), Keel::Ageable::Ooooold);
}

TEST_F(CreatorTest, CreatedObjectIsHeldAndEnrolled) {
    const auto maker = Keel::make<Forgetter>(cache);
    const auto toy = maker->create();
    EXPECT_TRUE(maker->hasData());
    EXPECT_TRUE(maker->getPolyp() == toy);
    EXPECT_TRUE(maker->get() == toy);
    EXPECT_EQ(maker->getDataType(), typeid(Toy));
    EXPECT_TRUE(toy->isEnrolled());
    EXPECT_TRUE(toy->creator() == maker);
    EXPECT_EQ(cache->memsize(false), 10u);
    EXPECT_EQ(cache->memsize(true), 10u);
}

TEST_F(CreatorTest, ReleaseMovesTheObjectOutWithoutChangeOfCounts) {
    const auto maker = Keel::make<Forgetter>(cache);
    WeakPtr<Toy, Cacheable> weak(maker->create());
    const int strong = weak.controlBlock()->strong();
    const int weakCount = weak.controlBlock()->weak();
    const StrongPtr<Toy, Cacheable> toy = maker->releasePolyp();
    EXPECT_EQ(weak.controlBlock()->strong(), strong);
    EXPECT_EQ(weak.controlBlock()->weak(), weakCount);
    EXPECT_FALSE(maker->hasData());
    EXPECT_TRUE(toy->isEnrolled());
    EXPECT_FALSE(toy->creator());
}

TEST_F(CreatorTest, OnlyTheForgetfulGivesUp) {
    const auto keeper = Keel::make<Keeper>(cache);
    const auto forgetter = Keel::make<Forgetter>(cache);
    EXPECT_FALSE(forgetter->forget());
    keeper->create();
    forgetter->create();
    EXPECT_FALSE(keeper->forget());
    EXPECT_TRUE(forgetter->forget());
    EXPECT_TRUE(keeper->hasData());
    EXPECT_FALSE(forgetter->hasData());
    EXPECT_EQ(cache->size(), 1u);
    forgetter->create();
    EXPECT_TRUE(forgetter->hasData());
    forgetter->discardCreation();
    EXPECT_FALSE(forgetter->hasData());
}

TEST_F(CreatorTest, ReplacedObjectIsNobodysAnyMore) {
    const auto maker = Keel::make<Forgetter>(cache);
    const auto first = maker->create();
    const auto second = maker->create();
    EXPECT_FALSE(first->creator());
    EXPECT_TRUE(maker->getPolyp() == second);
}

TEST_F(CreatorTest, ObjectThatIsStoredBelongsToTheCreator) {
    class Adopter : public Keel::AlzheimerCreator<Toy> {
    public:
        using AlzheimerCreator::AlzheimerCreator;
        using AlzheimerCreator::store;
        StrongPtr<Toy, Cacheable> create() override { return {}; }
    };
    const auto adopter = Keel::make<Adopter>(cache);
    const auto toy = Keel::make<Toy>();
    EXPECT_FALSE(toy->isEnrolled());
    adopter->store(toy);
    EXPECT_TRUE(toy->creator() == adopter);
    EXPECT_TRUE(toy->isEnrolled());
    adopter->store(toy);
    EXPECT_TRUE(toy->creator() == adopter) << "the same object once more";
    EXPECT_TRUE(adopter->getPolyp() == toy);
    adopter->store({});
    EXPECT_FALSE(toy->creator());
    EXPECT_FALSE(adopter->hasData());
}

TEST_F(CreatorTest, ObjectGivenAtConstructionBelongsToTheCreator) {
    const auto toy = Keel::make<Toy>();
    const auto maker = Keel::make<Forgetter>(cache, toy);
    EXPECT_TRUE(maker->getPolyp() == toy);
    EXPECT_TRUE(toy->creator() == maker);
    EXPECT_TRUE(toy->isEnrolled());
}

TEST_F(CreatorTest, FirstStrongPointerToACreatorUnpinsItsObject) {
    const auto toy = Keel::make<Toy>();
    auto* const raw = new Forgetter(cache, toy);
    toy->pin(true);
    EXPECT_EQ(cache->purge(), 0u);
    const StrongPtr<Forgetter> maker(raw);
    const StrongPtr<Forgetter> second = maker;
    EXPECT_EQ(cache->purge(), 1u);
}

TEST_F(CreatorTest, DyingCreatorLeavesTheObjectToItsHolders) {
    StrongPtr<Toy, Cacheable> toy;
    {
        const auto maker = Keel::make<Forgetter>(cache);
        toy = maker->create();
    }
    EXPECT_FALSE(toy->creator());
    EXPECT_EQ(cache->memsize(false), 10u);
    toy = {};
    EXPECT_EQ(cache->memsize(false), 0u);
}

TEST_F(CreatorTest, WorksWithoutCacheAndWithADeadOne) {
    const auto alone = Keel::make<Forgetter>(WeakPtr<Cache>());
    EXPECT_FALSE(alone->create()->isEnrolled());
    const auto orphan = Keel::make<Forgetter>(cache);
    cache = {};
    EXPECT_FALSE(orphan->create()->isEnrolled());
}

class Substitute : public Keel::CreatorBase<Toy>::Producer {
public:
    StrongPtr<Toy, Cacheable> value() override { return Keel::make<Toy>(); }
    unsigned long long cost() const override { return 7; }
    std::string name() const override { return "substitute"; }
    bool assign(const StrongPtr<Toy, Cacheable>&) override { return true; }
};

TEST_F(CreatorTest, ForwardsProductionToTheInterfaceThatStandsIn) {
    const auto maker = Keel::make<Forgetter>(cache);
    EXPECT_FALSE(maker->producerValue());
    EXPECT_EQ(maker->producerCost(), 0u);
    EXPECT_EQ(maker->producerName(), "");
    EXPECT_FALSE(maker->producerAssign({}));
    maker->addInterface(Keel::make<Substitute>());
    EXPECT_TRUE(maker->producerValue());
    EXPECT_EQ(maker->producerCost(), 7u);
    EXPECT_EQ(maker->producerName(), "substitute");
    EXPECT_TRUE(maker->producerAssign({}));
}

TEST(NamedCreaturesTest, StartsWithOneBucketAndALoadFactorOfOne) {
    const Keel::NamedCreatures creatures;
    EXPECT_EQ(creatures.namedCreatures().bucket_count(), 1u);
    EXPECT_EQ(creatures.namedCreatures().max_load_factor(), 1.0F);
}

} // namespace
