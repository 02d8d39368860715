#include <keel/ConcurrentPtr.hpp>
#include <keel/StrongPtr.hpp>
#include <keel/WeakPtr.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

using Keel::ControlBlock;
using Keel::StrongPtr;
using Keel::WeakPtr;

namespace {

/// Lines that the pointers say while it exists.
class Listener {
public:
    Listener() {
        Keel::SpeakPtr::theSpeaker().setListener(
            [this](const std::string& line) { lines.push_back(line); });
    }
    ~Listener() { Keel::SpeakPtr::theSpeaker().setListener({}); }
    std::vector<std::string> lines;
};

struct Log {
    int first = 0;
    int last = 0;
    int hook = 0;
    int destroyed = 0;
    std::string order;
};

class Animal : public Keel::ReferenceBase<Animal> {
public:
    explicit Animal(Log& own) : log(own) {}
    ~Animal() override {
        ++log.destroyed;
        log.order += 'D';
    }
    void firstReference() {
        ++log.first;
        log.order += 'F';
    }
    void lastReference() {
        ++log.last;
        log.order += 'L';
        nameAtLast = name();
    }
    void beforeLastRelease() override {
        ++log.hook;
        log.order += 'H';
    }
    virtual std::string name() const { return "animal"; }
    Log& log;
    inline static std::string nameAtLast;
};

class Cat : public Animal {
public:
    using Animal::Animal;
    std::string name() const override { return "cat"; }
};

class Dog : public Animal {
public:
    using Animal::Animal;
};

class StrongPtrTest : public testing::Test {
protected:
    Log log;
};

TEST_F(StrongPtrTest, NewObjectStartsWithItsCounts) {
    Animal* const animal = new Animal(log);
    EXPECT_EQ(animal->controlBlock().strong(), 1);
    EXPECT_EQ(animal->controlBlock().weak(), 2);
    EXPECT_EQ(animal->controlBlock().firstReferenceState(), 0);
    EXPECT_EQ(animal->controlBlock().object(), animal);
    const StrongPtr<Animal> owner(animal);
}

TEST_F(StrongPtrTest, FirstPointerTakesTheInitialCountAndRunsDeferredInitialisationOnce) {
    const StrongPtr<Animal> first(new Animal(log));
    EXPECT_EQ(first->controlBlock().strong(), 1);
    EXPECT_EQ(first->controlBlock().weak(), 2);
    EXPECT_EQ(first->controlBlock().firstReferenceState(), ControlBlock::Taken);
    EXPECT_EQ(log.first, 1);
    const StrongPtr<Animal> second(first.get());
    EXPECT_EQ(log.first, 1);
    EXPECT_EQ(first->controlBlock().strong(), 2);
    EXPECT_EQ(first->controlBlock().weak(), 3);
}

TEST_F(StrongPtrTest, CopyRaisesBothCountsAndReleaseLowersThem) {
    const StrongPtr<Animal> owner(new Animal(log));
    {
        const StrongPtr<Animal> copy = owner;
        EXPECT_EQ(owner->controlBlock().strong(), 2);
        EXPECT_EQ(owner->controlBlock().weak(), 3);
    }
    EXPECT_EQ(owner->controlBlock().strong(), 1);
    EXPECT_EQ(owner->controlBlock().weak(), 2);
}

TEST_F(StrongPtrTest, MoveChangesNoCount) {
    StrongPtr<Animal> owner(new Animal(log));
    const StrongPtr<Animal> moved = std::move(owner);
    EXPECT_EQ(moved->controlBlock().strong(), 1);
    EXPECT_EQ(moved->controlBlock().weak(), 2);
    EXPECT_FALSE(owner); // NOLINT: a pointer that was moved from is empty
}

TEST_F(StrongPtrTest, LastReleaseRunsHookThenFarewellThenDestructorWhileVirtualCallsWork) {
    { const StrongPtr<Animal> owner(new Cat(log)); }
    EXPECT_EQ(log.order, "FHLD");
    EXPECT_EQ(Animal::nameAtLast, "cat");
}

TEST_F(StrongPtrTest, WeakPointerToDeadObjectTestsFalseAndItsBlockStaysValid) {
    WeakPtr<Animal> weak;
    {
        const StrongPtr<Animal> owner(new Animal(log));
        weak = owner;
        EXPECT_TRUE(weak);
    }
    EXPECT_FALSE(weak);
    EXPECT_EQ(weak.controlBlock()->object(), nullptr);
    EXPECT_EQ(weak.controlBlock()->strong(), ControlBlock::StrongGoing);
    EXPECT_EQ(weak.controlBlock()->weak(), 1);
    EXPECT_FALSE(StrongPtr<Animal>(weak));
}

TEST_F(StrongPtrTest, FailedConversionTestsFalseAndKeepsTheObjectAlive) {
    StrongPtr<Animal> owner(new Cat(log));
    const StrongPtr<Dog> dog(owner);
    EXPECT_FALSE(dog);
    EXPECT_EQ(dog.get(), nullptr);
    EXPECT_TRUE(dog == owner);
    owner = {};
    EXPECT_EQ(log.destroyed, 0);
    EXPECT_EQ(StrongPtr<Cat>(dog)->name(), "cat");
}

TEST_F(StrongPtrTest, FailedConversionIsTheLastToGoAndDestroys) {
    { const StrongPtr<Dog> dog(StrongPtr<Animal>(new Cat(log))); }
    EXPECT_EQ(log.order, "FHLD");
}

TEST_F(StrongPtrTest, FailedConversionOfAWeakPointerKeepsItsBlock) {
    const StrongPtr<Animal> owner(new Cat(log));
    const WeakPtr<Animal> weak = owner;
    EXPECT_TRUE(WeakPtr<Cat>(weak));
    const WeakPtr<Dog> dog(weak);
    EXPECT_FALSE(dog);
    EXPECT_TRUE(dog == owner);
    EXPECT_EQ(WeakPtr<Cat>(dog)->name(), "cat");
}

TEST_F(StrongPtrTest, ConvertsFromDerivedToBaseByItselfAndBackOnRequest) {
    const StrongPtr<Cat> cat(new Cat(log));
    const StrongPtr<Animal> animal = cat;
    EXPECT_EQ(animal->name(), "cat");
    EXPECT_EQ(StrongPtr<Cat>(animal).get(), cat.get());
    EXPECT_EQ(animal->controlBlock().strong(), 2);
    static_assert(std::is_convertible_v<StrongPtr<Cat>, StrongPtr<Animal>>);
    static_assert(!std::is_convertible_v<StrongPtr<Animal>, StrongPtr<Cat>>);
    static_assert(std::is_convertible_v<StrongPtr<Cat>, WeakPtr<Animal>>);
    static_assert(!std::is_convertible_v<WeakPtr<Animal>, StrongPtr<Animal>>);
    static_assert(!std::is_convertible_v<StrongPtr<Cat>, StrongPtr<Dog>>);
    static_assert(!std::is_convertible_v<Cat*, StrongPtr<Animal>>);
    static_assert(std::is_convertible_v<const Cat&, WeakPtr<Animal>>);
}

TEST_F(StrongPtrTest, EmptyAndNullPointersTestFalse) {
    EXPECT_FALSE(StrongPtr<Animal>());
    EXPECT_FALSE(WeakPtr<Animal>());
    EXPECT_FALSE(StrongPtr<Animal>(static_cast<Animal*>(nullptr)));
    EXPECT_EQ(StrongPtr<Animal>().dynamicType(), typeid(std::nullptr_t));
}

TEST_F(StrongPtrTest, DynamicTypeTellsEmptyDeadAndAlive) {
    WeakPtr<Animal> weak;
    {
        const StrongPtr<Animal> owner(new Cat(log));
        weak = owner;
        EXPECT_EQ(weak.dynamicType(), typeid(Cat));
    }
    EXPECT_EQ(weak.dynamicType(), typeid(void));
}

TEST_F(StrongPtrTest, DereferenceOfEmptyPointerStopsWithMessage) {
    const StrongPtr<Animal> empty;
    EXPECT_DEATH(static_cast<void>(empty->name()), "an empty pointer to .*Animal is dereferenced");
}

TEST_F(StrongPtrTest, DereferenceOfDeadPointerStopsWithMessage) {
    WeakPtr<Animal> weak;
    { weak = StrongPtr<Animal>(new Animal(log)); }
    EXPECT_DEATH(static_cast<void>((*weak).name()),
                 "a pointer to a dead .*Animal is dereferenced \\(strong count -111\\)");
}

TEST_F(StrongPtrTest, DereferenceOfFailedConversionStopsWithMessage) {
    const StrongPtr<Animal> owner(new Cat(log));
    const StrongPtr<Dog> dog(owner);
    EXPECT_DEATH(static_cast<void>(dog->name()), "an object that is no .*Dog");
}

class Phoenix : public Keel::ReferenceBase<Phoenix> {
public:
    explicit Phoenix(int& count) : destroyed(count) {}
    ~Phoenix() override { ++destroyed; }
    void beforeLastRelease() override {
        if (!saved) {
            saved = true;
            refuge = StrongPtr<Phoenix>(*this);
        }
    }
    int& destroyed;
    bool saved = false;
    inline static StrongPtr<Phoenix> refuge;
};

TEST_F(StrongPtrTest, ObjectThatHookHasSavedLivesAndTheChangeIsReportedOnce) {
    const Listener listener;
    int destroyed = 0;
    { const StrongPtr<Phoenix> owner(new Phoenix(destroyed)); }
    EXPECT_EQ(destroyed, 0);
    ASSERT_EQ(listener.lines.size(), 1u);
    EXPECT_THAT(listener.lines[0], testing::HasSubstr("Phoenix got new references"));
    EXPECT_EQ(Phoenix::refuge->controlBlock().strong(), 1);
    Phoenix::refuge = {};
    EXPECT_EQ(destroyed, 1);
}

class SelfAware : public Keel::ReferenceBase<SelfAware> {
public:
    explicit SelfAware(Log& own) : log(own) {
        const WeakPtr<SelfAware> weak(*this);
        { const StrongPtr<SelfAware> temporary(weak); }
        { const StrongPtr<SelfAware> temporary(*this); }
    }
    ~SelfAware() override { ++log.destroyed; }
    void firstReference() { ++log.first; }
    Log& log;
};

TEST_F(StrongPtrTest, UpgradeInConstructorNeitherDestroysNorInitialises) {
    SelfAware* const object = new SelfAware(log);
    EXPECT_EQ(log.destroyed, 0);
    EXPECT_EQ(log.first, 0);
    EXPECT_EQ(object->controlBlock().strong(), 1);
    { const StrongPtr<SelfAware> owner(object); }
    EXPECT_EQ(log.first, 1);
    EXPECT_EQ(log.destroyed, 1);
}

TEST_F(StrongPtrTest, ObjectOnTheStackSurvivesUpgradesAndLeavesDeadPointers) {
    WeakPtr<SelfAware> weak;
    StrongPtr<SelfAware> late;
    {
        const SelfAware object(log);
        weak = object;
        late = StrongPtr<SelfAware>(weak);
        EXPECT_TRUE(late);
    }
    EXPECT_EQ(log.destroyed, 1);
    EXPECT_FALSE(late);
    EXPECT_FALSE(weak);
    EXPECT_EQ(weak.controlBlock()->strong(), ControlBlock::StrongUnreleased);
    EXPECT_EQ(weak.controlBlock()->weak(), 2);
    const StrongPtr<SelfAware> copy = late;
    EXPECT_FALSE(copy);
    EXPECT_EQ(weak.controlBlock()->strong(), ControlBlock::StrongUnreleased);
    EXPECT_EQ(weak.controlBlock()->weak(), 3);
}

class Thrower : public Keel::ReferenceBase<Thrower> {
public:
    explicit Thrower(WeakPtr<Thrower>& weak) {
        weak = *this;
        throw std::runtime_error("no");
    }
};

TEST_F(StrongPtrTest, ConstructorThatThrowsLeavesItsBlockToTheWeakPointers) {
    WeakPtr<Thrower> weak;
    EXPECT_THROW(new Thrower(weak), std::runtime_error);
    EXPECT_FALSE(weak);
    EXPECT_EQ(weak.controlBlock()->weak(), 1);
}

class LateThrower : public Keel::ReferenceBase<LateThrower> {
public:
    explicit LateThrower(int& count) : destroyed(count) {}
    ~LateThrower() override { ++destroyed; }
    void firstReference() { throw std::runtime_error("no"); }
    int& destroyed;
};

TEST_F(StrongPtrTest, ObjectWhoseDeferredInitialisationThrowsIsDestroyed) {
    int destroyed = 0;
    EXPECT_THROW(StrongPtr<LateThrower>(new LateThrower(destroyed)), std::runtime_error);
    EXPECT_EQ(destroyed, 1);
}

class Leaver : public Keel::ReferenceBase<Leaver> {
public:
    ~Leaver() override { left = StrongPtr<Leaver>(*this); }
    inline static StrongPtr<Leaver> left;
};

TEST_F(StrongPtrTest, PointerMadeInDestructorIsDead) {
    { const StrongPtr<Leaver> owner(new Leaver); }
    EXPECT_FALSE(Leaver::left);
    EXPECT_EQ(Leaver::left.controlBlock()->weak(), 1);
    Leaver::left = {};
}

struct Node : Keel::ReferenceBase<Node> {
    explicit Node(int& count) : destroyed(count) {}
    ~Node() override { ++destroyed; }
    int& destroyed;
    StrongPtr<Node> next;
    WeakPtr<Node> previous;
};

TEST_F(StrongPtrTest, AssigningWhatTheOldObjectOwnsIsSafe) {
    int destroyed = 0;
    StrongPtr<Node> head(new Node(destroyed));
    head->next = StrongPtr<Node>(new Node(destroyed));
    head = head->next;
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(head->controlBlock().strong(), 1);
}

TEST_F(StrongPtrTest, SelfAssignmentChangesNothing) {
    StrongPtr<Animal> owner(new Animal(log));
    const StrongPtr<Animal>& alias = owner;
    owner = alias;
    EXPECT_TRUE(owner);
    EXPECT_EQ(owner->controlBlock().strong(), 1);
    EXPECT_EQ(owner->controlBlock().weak(), 2);
}

TEST_F(StrongPtrTest, WeakBackReferenceBreaksCycle) {
    int destroyed = 0;
    {
        const StrongPtr<Node> head(new Node(destroyed));
        head->next = StrongPtr<Node>(new Node(destroyed));
        head->next->previous = head;
    }
    EXPECT_EQ(destroyed, 2);
}

TEST_F(StrongPtrTest, PointerConstructedFromItselfIsReportedAndEmpty) {
    const Listener listener;
    alignas(StrongPtr<Animal>) unsigned char room[sizeof(StrongPtr<Animal>)] = {};
    auto* const pointer = reinterpret_cast<StrongPtr<Animal>*>(room);
    new (pointer) StrongPtr<Animal>(*pointer);
    EXPECT_FALSE(*pointer);
    ASSERT_EQ(listener.lines.size(), 1u);
    EXPECT_THAT(listener.lines[0], testing::HasSubstr("is constructed from itself"));
    pointer->~StrongPtr<Animal>();
}

TEST_F(StrongPtrTest, ComparesByBlockAcrossKindsAndTypes) {
    const StrongPtr<Cat> cat(new Cat(log));
    const StrongPtr<Animal> animal = cat;
    const WeakPtr<Animal> weak = cat;
    const StrongPtr<Animal> other(new Cat(log));
    EXPECT_TRUE(cat == animal);
    EXPECT_TRUE(weak == cat);
    EXPECT_FALSE(other == animal);
    EXPECT_TRUE((weak <=> cat) == std::strong_ordering::equal);
    EXPECT_NE(animal < other, other < animal);
    EXPECT_EQ(std::hash<StrongPtr<Animal>>{}(animal), std::hash<WeakPtr<Animal>>{}(weak));
}

TEST_F(StrongPtrTest, ServesAsKeyThatOutlivesTheObject) {
    std::map<WeakPtr<Animal>, int> ordered;
    std::unordered_map<WeakPtr<Animal>, int> hashed;
    WeakPtr<Animal> key;
    {
        const StrongPtr<Cat> cat(new Cat(log));
        const StrongPtr<Animal> other(new Dog(log));
        key = cat;
        ordered = {{cat, 1}, {other, 2}};
        hashed = {{cat, 1}, {other, 2}};
    }
    const StrongPtr<Animal> young(new Cat(log));
    EXPECT_EQ(ordered.at(key), 1);
    EXPECT_EQ(hashed.at(key), 1);
    EXPECT_FALSE(ordered.contains(young)) << "no new object takes the place of a dead one";
    EXPECT_FALSE(hashed.contains(young));
}

TEST_F(StrongPtrTest, EachPointerObjectHasItsIdentity) {
    const StrongPtr<Animal> a;
    const StrongPtr<Animal> b;
    const WeakPtr<Animal> c = a;
    EXPECT_LT(a.pointerID(), b.pointerID());
    EXPECT_LT(b.pointerID(), c.pointerID());
}

TEST_F(StrongPtrTest, SerialNumbersCountTheObjectsOfOneRoot) {
    const StrongPtr<Animal> first(new Cat(log));
    const StrongPtr<Phoenix> elsewhere(new Phoenix(log.destroyed));
    elsewhere->saved = true;
    const StrongPtr<Animal> second(new Dog(log));
    EXPECT_EQ(second->serialNumber(), first->serialNumber() + 1);
}

TEST_F(StrongPtrTest, CopiedObjectHasCountsOfItsOwn) {
    const StrongPtr<Animal> original(new Animal(log));
    const StrongPtr<Animal> shared = original;
    const StrongPtr<Animal> copy(new Animal(*original));
    EXPECT_EQ(copy->controlBlock().strong(), 1);
    EXPECT_FALSE(copy == original);
    EXPECT_NE(copy->serialNumber(), original->serialNumber());
}

struct VirtualBase : Keel::ReferenceBase<VirtualBase> {
    int value = 7;
};
struct VirtualLeft : virtual VirtualBase {};
struct VirtualRight : virtual VirtualBase {};
struct Diamond : VirtualLeft, VirtualRight {};

TEST_F(StrongPtrTest, WeakPointerConvertsThroughVirtualBaseOnlyWhileAlive) {
    WeakPtr<Diamond> weak;
    {
        const StrongPtr<Diamond> owner(new Diamond);
        weak = owner;
        const WeakPtr<VirtualBase> base = weak;
        EXPECT_EQ(base->value, 7);
        EXPECT_EQ(StrongPtr<VirtualBase>(weak)->value, 7);
        EXPECT_TRUE(StrongPtr<VirtualRight>(StrongPtr<VirtualLeft>(owner)));
    }
    const WeakPtr<VirtualBase> base = weak;
    EXPECT_FALSE(base);
    EXPECT_TRUE(base == weak);
}

TEST_F(StrongPtrTest, ThreadsConvertThroughVirtualBaseWhileOneReleases) {
    for (int round = 0; round < 100; ++round) {
        StrongPtr<Diamond> owner(new Diamond);
        const WeakPtr<Diamond> weak = owner;
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([weak] {
                for (int n = 0; n < 20; ++n) {
                    const WeakPtr<VirtualBase> base = weak;
                    EXPECT_TRUE(base == weak);
                    if (const StrongPtr<VirtualBase> held(base); held) {
                        EXPECT_EQ(held->value, 7);
                    }
                }
            });
        }
        owner = {};
        for (std::thread& thread : threads) thread.join();
        EXPECT_FALSE(weak);
        EXPECT_EQ(weak.controlBlock()->weak(), 1);
    }
}

class Incomplete;
struct Holder {
    StrongPtr<Incomplete, Animal> strong;
    WeakPtr<Incomplete, Animal> weak;
};

TEST_F(StrongPtrTest, PointersToIncompleteClassesCopyCompareAndDie) {
    const Holder a;
    const Holder b = a;
    EXPECT_TRUE(a.strong == b.strong);
    EXPECT_FALSE(a.weak);
}

TEST_F(StrongPtrTest, ThreadsUpgradeWhileOneReleasesAndExactlyOneDestroys) {
    for (int round = 0; round < 200; ++round) {
        Log own;
        StrongPtr<Animal> owner(new Animal(own));
        const WeakPtr<Animal> weak = owner;
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([weak] {
                for (int n = 0; n < 50; ++n) {
                    const StrongPtr<Animal> upgraded(weak);
                    if (upgraded) {
                        EXPECT_GT(upgraded->controlBlock().strong(), 0);
                    }
                }
            });
        }
        owner = {};
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(own.destroyed, 1);
        EXPECT_EQ(weak.controlBlock()->weak(), 1);
    }
}

TEST_F(StrongPtrTest, ReleaseFromAnotherThreadDestroysThere) {
    StrongPtr<Animal> owner(new Animal(log));
    std::thread([moved = std::move(owner)]() mutable { moved = {}; }).join();
    EXPECT_EQ(log.destroyed, 1);
}

using Shared = Keel::ConcurrentPtr<StrongPtr<Animal>, false>;

TEST(ConcurrentPtrTest, WriteTellsWhetherTheObjectIsAnother) {
    Log log;
    Shared shared;
    const StrongPtr<Animal> animal(new Animal(log));
    EXPECT_TRUE(shared.write(animal));
    EXPECT_FALSE(shared.write(animal));
    EXPECT_TRUE(shared.read() == animal);
    EXPECT_TRUE((Keel::ConcurrentPtr<StrongPtr<Animal>, true>(animal).write(animal)));
    EXPECT_TRUE(Shared(shared) == shared);
}

TEST(ConcurrentPtrTest, OldObjectMayReadThePointerWhileItDies) {
    static Shared* global = nullptr;
    static bool readEmpty = false;
    struct Reader : Animal {
        using Animal::Animal;
        ~Reader() override { readEmpty = !global->read(); }
    };
    Log log;
    Shared shared;
    global = &shared;
    shared.write(StrongPtr<Animal>(new Reader(log)));
    shared.write({});
    EXPECT_TRUE(readEmpty);
}

/// Keeps no log, which threads would write at once.
class Silent : public Keel::ReferenceBase<Silent> {};

TEST(ConcurrentPtrTest, ThreadsReadAndReplaceAtOnce) {
    Keel::ConcurrentPtr<StrongPtr<Silent>, false> shared{StrongPtr<Silent>(new Silent)};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&shared] {
            for (int n = 0; n < 200; ++n) {
                EXPECT_TRUE(shared.read());
                shared.write(StrongPtr<Silent>(new Silent));
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(shared.read());
}

} // namespace
