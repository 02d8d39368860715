#include <Polypia/ObjectSelection.hpp>

#include "shownObject.hpp"

#include <sorrel/VActionNotifier.hpp>
#include <sorrel/VObject.hpp>

#include <gmock/gmock.h>

#include <future>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using Mirk::VObjectPtr;
using testing::ElementsAre;
using testing::IsEmpty;

class ObjectSelection : public testing::Test {
protected:
    using WeakObject = Mirk::ObjectSelection::WeakObject;

    static VObjectPtr object(const std::string& name) {
        return VObjectPtr(new Mirk::VObject(name, 0, {}));
    }
    static std::vector<std::string> names(const Mirk::ObjectSelection& selection) {
        std::vector<std::string> names;
        selection.iterate([&](int layer, const WeakObject& entry) {
            names.push_back(std::to_string(layer) + (entry ? entry->BaseName() : " dead"));
            return true;
        });
        return names;
    }

    const VObjectPtr a = object("a"), b = object("b"), c = object("c");
    Mirk::ObjectSelection selection;
};

TEST_F(ObjectSelection, StartsEmpty) {
    EXPECT_EQ(selection.NumberOfObjects(), 0U);
    EXPECT_THAT(names(selection), IsEmpty());
    EXPECT_TRUE(selection == Mirk::ObjectSelection());
}

TEST_F(ObjectSelection, OrdersByLayerAndWithinALayerByInsertion) {
    selection.insert(5, a);
    selection.insert(1, b);
    selection.insert(5, c);
    EXPECT_THAT(names(selection), ElementsAre("1b", "5a", "5c"));
    EXPECT_EQ(selection.NumberOfObjects(), 3U);
}

TEST_F(ObjectSelection, IgnoresDeadAndEmptyReferences) {
    WeakObject dead;
    {
        const VObjectPtr mortal = object("mortal");
        dead = mortal;
    }
    selection.insert(1, dead);
    selection.insert(1, WeakObject());
    EXPECT_EQ(selection.NumberOfObjects(), 0U);
}

TEST_F(ObjectSelection, KeepsNothingAlive) {
    {
        const VObjectPtr mortal = object("mortal");
        selection.insert(1, mortal);
    }
    EXPECT_EQ(selection.NumberOfObjects(), 1U);
    EXPECT_THAT(names(selection), ElementsAre("1 dead"));
}

TEST_F(ObjectSelection, CopyChangesApartFromItsSource) {
    selection.insert(1, a);
    Mirk::ObjectSelection second = selection;
    Mirk::ObjectSelection third = selection.copy();
    second.insert(0, b);
    selection.insert(2, c);
    third.clear();
    EXPECT_THAT(names(selection), ElementsAre("1a", "2c"));
    EXPECT_THAT(names(second), ElementsAre("0b", "1a"));
    EXPECT_THAT(names(third), IsEmpty());
}

TEST_F(ObjectSelection, AssignmentReplacesAndSelfAssignmentKeeps) {
    selection.insert(1, a);
    Mirk::ObjectSelection other;
    other.insert(7, b);
    selection = other;
    other.insert(8, c);
    EXPECT_THAT(names(selection), ElementsAre("7b"));
    const Mirk::ObjectSelection& same = other;
    other = same;
    EXPECT_THAT(names(other), ElementsAre("7b", "8c"));
}

TEST_F(ObjectSelection, FilteredCopyHasTheLiveOnesOfTheLayersThatTheFilterTakes) {
    {
        const VObjectPtr mortal = object("mortal");
        selection.insert(2, mortal);
    }
    selection.insert(1, a);
    selection.insert(2, a);
    selection.insert(2, b);
    selection.insert(3, c);
    const Mirk::ObjectSelection chosen(selection, 2, 3,
                                       [&](const WeakObject& entry) { return !(entry == b); });
    EXPECT_THAT(names(chosen), ElementsAre("2a", "3c"));
    const auto any = [](const WeakObject&) { return true; };
    EXPECT_EQ(Mirk::ObjectSelection(selection, 3, 2, any).NumberOfObjects(), 0U);
    EXPECT_EQ(Mirk::ObjectSelection({}, 0, 9, any).NumberOfObjects(), 0U);
}

TEST_F(ObjectSelection, FilterThatThrowsLeavesNoLock) {
    selection.insert(1, a);
    const auto broken = [](const WeakObject&) -> bool { throw std::out_of_range("no"); };
    EXPECT_THROW(Mirk::ObjectSelection(selection, 0, 9, broken), std::out_of_range);
    selection.insert(1, b);
    EXPECT_EQ(selection.NumberOfObjects(), 2U);
}

TEST_F(ObjectSelection, ClearRemovesAll) {
    selection.insert(1, a);
    selection.clear();
    EXPECT_EQ(selection.NumberOfObjects(), 0U);
    selection.insert(1, b);
    EXPECT_THAT(names(selection), ElementsAre("1b"));
}

TEST_F(ObjectSelection, IsEqualByLayersAndObjectsInOrder) {
    Mirk::ObjectSelection same, otherLayer, otherOrder, shorter;
    selection.insert(1, a);
    selection.insert(1, b);
    same.insert(1, a);
    same.insert(1, b);
    otherLayer.insert(1, a);
    otherLayer.insert(2, b);
    otherOrder.insert(1, b);
    otherOrder.insert(1, a);
    shorter.insert(1, a);
    EXPECT_TRUE(selection == selection);
    EXPECT_TRUE(selection == same);
    EXPECT_FALSE(selection == otherLayer);
    EXPECT_FALSE(selection == otherOrder);
    EXPECT_FALSE(selection == shorter);
    EXPECT_FALSE(Mirk::ObjectSelection() == shorter);
}

TEST_F(ObjectSelection, IteratesTheLayersOfARange) {
    selection.insert(4, a);
    selection.insert(5, b);
    selection.insert(6, c);
    std::vector<std::string> seen;
    const auto note = [&](int, const WeakObject& entry) {
        seen.push_back(entry->BaseName());
        return true;
    };
    selection.iterate(5, 5, note);
    EXPECT_THAT(seen, ElementsAre("b"));
    selection.iterate(7, 3, note);
    EXPECT_THAT(seen, ElementsAre("b"));
    Mirk::ObjectSelection().iterate(5, 5, note);
    EXPECT_THAT(seen, ElementsAre("b"));
}

TEST_F(ObjectSelection, VisitorEndsTheWalkByFalse) {
    selection.insert(1, a);
    selection.insert(2, b);
    int visits = 0;
    selection.iterate([&](int, const WeakObject&) { return ++visits < 1; });
    EXPECT_EQ(visits, 1);
}

TEST_F(ObjectSelection, VisitorEndsTheWalkThroughARangeByFalse) {
    selection.insert(1, a);
    selection.insert(1, b);
    selection.insert(2, c);
    int visited = 0;
    selection.iterate(1, 2, [&](int, const WeakObject&) { return ++visited < 2; });
    EXPECT_EQ(visited, 2);
}

TEST_F(ObjectSelection, CopiesKeepTheOrderWithinALayer) {
    selection.insert(2, c);
    selection.insert(2, a);
    selection.insert(1, a);
    selection.insert(2, b);
    const auto ordered = ElementsAre("2c", "2a", "2b");
    const auto any = [](const WeakObject&) { return true; };
    const Mirk::ObjectSelection filtered(selection, 2, 2, any);
    EXPECT_THAT(names(filtered), ordered);
    Mirk::ObjectSelection assigned;
    assigned = filtered;
    EXPECT_THAT(names(assigned), ordered);
    const VObjectPtr d = object("d");
    assigned.insert(2, d);
    EXPECT_THAT(names(assigned), ElementsAre("2c", "2a", "2b", "2d"));
}

TEST_F(ObjectSelection, EmptyVisitorThrowsAsSoonAsThereIsAnEntry) {
    EXPECT_NO_THROW(selection.iterate(Mirk::ObjectSelection::Visitor()));
    selection.insert(1, a);
    EXPECT_THROW(selection.iterate(Mirk::ObjectSelection::Visitor()), std::bad_function_call);
    EXPECT_THROW(selection.iterate(0, 3, Mirk::ObjectSelection::Visitor()), std::bad_function_call);
    selection.clear();
    EXPECT_EQ(selection.NumberOfObjects(), 0U);
}

TEST_F(ObjectSelection, IsCopiedByAnotherThreadDuringAWalk) {
    selection.insert(1, a);
    std::size_t copied = 0;
    selection.iterate([&](int, const WeakObject&) {
        copied = std::async(std::launch::async, [&] {
                     return selection.copy().NumberOfObjects();
                 }).get();
        return true;
    });
    EXPECT_EQ(copied, 1U);
}

TEST_F(ObjectSelection, TellsWhatCanBeDrawnInOrderAndOnceUntilItIsChanged) {
    EXPECT_TRUE(selection.drawables()->empty());
    ShownPtr first = shown("first"), second = shown("second");
    selection.insert(5, second);
    selection.insert(1, a);
    selection.insert(1, first);
    const auto drawables = selection.drawables();
    ASSERT_EQ(drawables->size(), 2U);
    EXPECT_EQ((*drawables)[0].layer, 1);
    EXPECT_EQ((*drawables)[0].object, first);
    EXPECT_EQ((*drawables)[0].object.get(), first.get());
    EXPECT_EQ((*drawables)[1].layer, 5);
    EXPECT_EQ((*drawables)[1].object, second);
    EXPECT_EQ(selection.drawables(), drawables);
    EXPECT_EQ(selection.copy().drawables(), drawables);
    const ShownPtr third = shown("third");
    selection.insert(3, third);
    EXPECT_EQ(selection.drawables()->size(), 3U);
    EXPECT_EQ(drawables->size(), 2U);
    selection.clear();
    EXPECT_TRUE(selection.drawables()->empty());
    Mirk::VActionNotifier::clear();
}

TEST_F(ObjectSelection, AsksAgainWhatAnIncompleteObjectIs) {
    Shown* const incomplete = new Shown("incomplete");
    selection.insert(1, WeakObject(incomplete));
    const auto before = selection.drawables();
    EXPECT_NE(selection.drawables(), before);
    const ShownPtr complete(incomplete);
    const auto after = selection.drawables();
    EXPECT_EQ(after->size(), 1U);
    EXPECT_EQ(selection.drawables(), after);
    Mirk::VActionNotifier::clear();
}

TEST_F(ObjectSelection, TwoAreAssignedToEachOtherAndComparedFromTwoThreads) {
    Mirk::ObjectSelection other;
    selection.insert(1, a);
    other.insert(1, a);
    const auto assign = [](Mirk::ObjectSelection& to, const Mirk::ObjectSelection& from) {
        for (int i = 0; i < 1000; ++i) {
            to = from;
            EXPECT_TRUE(to == from);
        }
    };
    std::thread thread([&] { assign(selection, other); });
    assign(other, selection);
    thread.join();
    EXPECT_EQ(selection.NumberOfObjects(), 1U);
}

TEST_F(ObjectSelection, IsChangedAndReadByManyThreads) {
    std::thread writer([&] {
        for (int i = 0; i < 500; ++i) {
            if (i % 50 == 49) selection.clear();
            selection.insert(i % 7, i % 2 == 0 ? a : b);
        }
    });
    for (int i = 0; i < 500; ++i) {
        int previous = 0;
        selection.copy().iterate([&](int layer, const WeakObject& entry) {
            EXPECT_TRUE(bool(entry));
            EXPECT_GE(layer, previous);
            previous = layer;
            return true;
        });
    }
    writer.join();
    EXPECT_EQ(selection.NumberOfObjects(), 1U);
}

} // namespace
