#include <keel/Interface.hpp>

#include "../Polypia/virtualSlot.hpp"

#include <gtest/gtest.h>

#include <string>
#include <thread>

using Keel::Intercube;
using Keel::InterfaceBase;
using Keel::StrongPtr;

namespace {

struct Caption : Keel::Interface<Caption> {
    explicit Caption(std::string words, int* count = nullptr)
        : text(std::move(words)), destroyed(count) {}
    ~Caption() override {
        if (destroyed != nullptr) ++*destroyed;
    }
    std::string text;
    int* destroyed;
};

static_assert(std::is_same_v<Keel::RootOf_t<Keel::Interface<Caption>>, Caption::ReferenceRoot>);

struct Visits : Keel::InterfaceIterationParameter {
    std::string order;
};

struct First : Keel::Interface<First> {
    bool apply_const(const Intercube&,
                     const StrongPtr<Keel::InterfaceIterationParameter>& parameter) override {
        StrongPtr<Visits, Keel::InterfaceIterationParameter>(parameter)->order += '1';
        return true;
    }
};
struct Second : Keel::Interface<Second> {
    bool apply_const(const Intercube&,
                     const StrongPtr<Keel::InterfaceIterationParameter>& parameter) override {
        StrongPtr<Visits, Keel::InterfaceIterationParameter>(parameter)->order += '2';
        return false;
    }
};

class IntercubeTest : public testing::Test {
protected:
    Intercube cube;
};

TEST(InterfaceTest, HasItsVirtualOperationsInOrder) {
    // The hook and two destructors are ahead of them.
    EXPECT_EQ(virtualSlot(&Keel::Countable::beforeLastRelease), 0u);
    EXPECT_EQ(
        (std::vector{virtualSlot(&InterfaceBase::type), virtualSlot(&InterfaceBase::apply_const),
                     virtualSlot(&InterfaceBase::apply)}),
        slotsFrom(3, 3));
}

TEST_F(IntercubeTest, UnknownTypeGivesEmptyPointer) {
    EXPECT_FALSE(cube.findInterface(typeid(Caption)));
    EXPECT_FALSE(cube.findInterface<Caption>());
}

TEST_F(IntercubeTest, FindsByExactTypeOfTheInterface) {
    const Intercube& constCube = cube;
    constCube.addInterface(StrongPtr<InterfaceBase>(new Caption("a")));
    EXPECT_EQ(cube.findInterface<Caption>()->text, "a");
    EXPECT_EQ(cube.findInterface(typeid(Caption))->type(), typeid(Caption));
    EXPECT_FALSE(cube.findInterface(typeid(InterfaceBase)));
}

TEST_F(IntercubeTest, SecondInterfaceOfTypeReplacesTheFirst) {
    int destroyed = 0;
    cube.addInterface(Keel::make<Caption>("a", &destroyed));
    cube.addInterface(Keel::make<Caption>("b"));
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(cube.findInterface<Caption>()->text, "b");
}

TEST_F(IntercubeTest, ReplacedInterfaceMayAskTheCubeWhileItDies) {
    struct Curious : Keel::Interface<Curious> {
        Curious(const Intercube& owner, bool& flag) : holder(owner), successorSeen(flag) {}
        ~Curious() override {
            const auto successor = holder.findInterface<Curious>();
            successorSeen = successor && successor.get() != this;
        }
        const Intercube& holder;
        bool& successorSeen;
    };
    bool seen = false;
    bool ignored = false; // outlives the cube, with which its interface dies
    const Intercube asked;
    asked.addInterface(Keel::make<Curious>(asked, seen));
    asked.addInterface(Keel::make<Curious>(asked, ignored));
    EXPECT_TRUE(seen);
}

TEST_F(IntercubeTest, EmptyInterfaceIsIgnored) {
    cube.addInterface({});
    cube.addInterface(StrongPtr<InterfaceBase>());
    EXPECT_FALSE(cube.findInterface(typeid(Caption)));
}

TEST_F(IntercubeTest, InterfacesDieWithTheCube) {
    int destroyed = 0;
    {
        const Intercube dying;
        dying.addInterface(Keel::make<Caption>("a", &destroyed));
        EXPECT_EQ(destroyed, 0);
    }
    EXPECT_EQ(destroyed, 1);
}

TEST_F(IntercubeTest, InterfaceHeldElsewhereOutlivesTheCube) {
    const StrongPtr<Caption, InterfaceBase> held = Keel::make<Caption>("a");
    {
        const Intercube dying;
        dying.addInterface(held);
    }
    EXPECT_EQ(held->text, "a");
}

TEST_F(IntercubeTest, DyingInterfaceFindsTheTableEmpty) {
    static const Intercube* holder = nullptr;
    static bool found = true;
    struct Curious : Keel::Interface<Curious> {
        ~Curious() override { found = bool(holder->findInterface(typeid(Curious))); }
    };
    {
        const Intercube dying;
        holder = &dying;
        dying.addInterface(Keel::make<Curious>());
    }
    EXPECT_FALSE(found);
}

TEST_F(IntercubeTest, DyingCubeTakesNoMoreInterfaces) {
    struct Stubborn : Keel::Interface<Stubborn> {
        Stubborn(const Intercube& owner, int& count) : holder(owner), made(count) { ++made; }
        ~Stubborn() override {
            EXPECT_FALSE(holder.findInterface<Stubborn>());
            if (made < 3) holder.addInterface(Keel::make<Stubborn>(holder, made));
        }
        const Intercube& holder;
        int& made;
    };
    int made = 0;
    {
        const Intercube dying;
        dying.addInterface(Keel::make<Stubborn>(dying, made));
    }
    EXPECT_EQ(made, 3);
}

TEST_F(IntercubeTest, CopyStartsEmptyAndAssignmentKeepsTheTable) {
    cube.addInterface(Keel::make<Caption>("a"));
    Intercube copy = cube;
    EXPECT_FALSE(copy.findInterface<Caption>());
    copy.addInterface(Keel::make<Caption>("b"));
    copy = cube;
    EXPECT_EQ(copy.findInterface<Caption>()->text, "b");
}

TEST_F(IntercubeTest, WalkVisitsInOrderAndEndsAtFalse) {
    cube.addInterface(Keel::make<First>());
    cube.addInterface(Keel::make<Second>());
    cube.addInterface(Keel::make<Caption>("never reached"));
    const auto visits = Keel::make<Visits>();
    const Intercube& constCube = cube;
    EXPECT_FALSE(constCube.iterateInterfaces(visits));
    EXPECT_EQ(visits->order, "12");
    EXPECT_TRUE(cube.iterateInterfaces(visits));
    EXPECT_EQ(visits->order, "12");
}

TEST_F(IntercubeTest, WalkOverAnObjectThatMayChangeCallsApply) {
    struct Changer : Keel::Interface<Changer> {
        bool apply(Intercube& holder,
                   const StrongPtr<Keel::InterfaceIterationParameter>&) override {
            holder.addInterface(Keel::make<Caption>("added on the way"));
            return true;
        }
    };
    cube.addInterface(Keel::make<Changer>());
    EXPECT_TRUE(static_cast<const Intercube&>(cube).iterateInterfaces({}));
    EXPECT_FALSE(cube.findInterface<Caption>());
    EXPECT_TRUE(cube.iterateInterfaces({}));
    EXPECT_TRUE(cube.findInterface<Caption>());
}

TEST_F(IntercubeTest, ProvidedInterfaceIsMadeOnceForAllThreads) {
    std::vector<StrongPtr<Caption, InterfaceBase>> got(4);
    std::vector<std::thread> threads;
    for (auto& mine : got) {
        threads.emplace_back([this, &mine] {
            mine = cube.provideInterface<Caption>([] { return Keel::make<Caption>("a"); });
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (const auto& mine : got) EXPECT_TRUE(mine == got[0]);
}

} // namespace
