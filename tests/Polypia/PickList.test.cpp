#include <Polypia/PickList.hpp>

#include "memberOrder.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using Mirk::TouchedPixel;
using Mirk::VObjectPtr;
using testing::ElementsAre;

struct AlignmentCase {
    const char* name;
    int x, y, width, height, shift;
    std::vector<int> aligned;
};

class PickListAlignment : public testing::TestWithParam<AlignmentCase> {};

TEST_P(PickListAlignment, GivesTheRectangleToRead) {
    const AlignmentCase& param = GetParam();
    const Mirk::PickList list(param.x, param.y, param.width, param.height, param.shift);
    EXPECT_THAT((std::vector{list.X, list.Y, list.Width, list.Height}),
                ElementsAre(param.x, param.y, param.width, param.height));
    EXPECT_EQ((std::vector{list.AlignedX, list.AlignedY, list.AlignedWidth, list.AlignedHeight}),
              param.aligned);
}

constexpr int least = -2147483647 - 1;

INSTANTIATE_TEST_SUITE_P(
    , PickListAlignment,
    testing::Values(AlignmentCase{"StepsOfFour", 5, 9, 3, 3, 2, {4, 8, 4, 4}},
                    AlignmentCase{"GrowsByAStepAlsoFromAMultiple", 0, 0, 4, 4, 2, {0, 0, 8, 8}},
                    AlignmentCase{"StepsOfOne", 7, 6, 3, 2, 0, {7, 6, 4, 3}},
                    AlignmentCase{"NeedNotCoverWhatIsAskedFor", 7, 7, 7, 7, 2, {4, 4, 8, 8}},
                    AlignmentCase{"NegativePlacesAreRoundedDown", -1, -5, 1, 1, 2, {-4, -8, 4, 4}},
                    AlignmentCase{"ShiftsAreModulo32", 5, 9, 3, 3, 34, {4, 8, 4, 4}},
                    AlignmentCase{"NegativeShiftsTo", 5, 9, 3, 3, -30, {4, 8, 4, 4}},
                    AlignmentCase{
                        "GreatestStepIsTheSignBit", 5, -9, 3, 3, 31, {0, least, least, least}}),
    [](const auto& alignment) { return std::string(alignment.param.name); });

class PickList : public testing::Test {
protected:
    using Numbers = std::vector<std::uint32_t>;

    static VObjectPtr object(const std::string& name) {
        return VObjectPtr(new Mirk::VObject(name, 0, {}));
    }
    static void fill(Mirk::PickList& list, const Numbers& numbers) {
        list.Buffer = Keel::StrongPtr<Keel::TypedChunk<std::uint32_t>, Keel::ChunkBase>(
            new Keel::Chunk<std::uint32_t>(numbers));
    }
    static Numbers identifications(const Mirk::TouchList& list) {
        Numbers numbers;
        for (const TouchedPixel& pixel : list.vector()) numbers.push_back(pixel.second);
        return numbers;
    }

    const VObjectPtr a = object("a"), b = object("b");
};

TEST_F(PickList, HasItsFieldsInTheirOrder) {
    static_assert(std::is_base_of_v<Keel::ReferenceBase<Mirk::PickList>, Mirk::PickList>);
    const Mirk::PickList list(1, 2, 3, 4, 0);
    EXPECT_TRUE(list.Ids.empty());
    EXPECT_FALSE(list.Buffer);
    EXPECT_TRUE(standInOrder(list.Ids, list.Buffer, list.X, list.Y, list.Width, list.Height,
                             list.AlignedX, list.AlignedY, list.AlignedWidth, list.AlignedHeight));
}

TEST_F(PickList, GivesNoTouchListWithoutBuffer) {
    Mirk::PickList list(0, 0, 2, 2, 1);
    EXPECT_FALSE(list.computeTouchList());
    fill(list, {});
    EXPECT_FALSE(list.computeTouchList()) << "a buffer without data";
}

TEST_F(PickList, ReadsRowsOfTheAlignedWidthFromTheStartOfTheBuffer) {
    Mirk::PickList list(1, 1, 2, 2, 1);
    ASSERT_EQ(list.AlignedWidth, 4);
    list.Ids = {{3, a}, {0xFFFFFFFF, b}};
    fill(list, {3, 0xFFFFFFFF, 9, 9, 0, 3, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9});
    const auto touched = list.computeTouchList();
    ASSERT_TRUE(touched);
    EXPECT_EQ(touched->Width, 2);
    EXPECT_EQ(touched->Height, 2);
    EXPECT_THAT(identifications(*touched), ElementsAre(3U, 0xFFFFFFFFU, 0U, 3U));
    EXPECT_EQ((*touched)(0, 0).first, a);
    EXPECT_EQ((*touched)(1, 0).first, b);
    EXPECT_FALSE((*touched)(0, 1).first);
    EXPECT_EQ((*touched)(1, 1).first, a);
}

TEST_F(PickList, GreatestNumberIsOneLikeAnyOther) {
    constexpr std::uint32_t greatest = 0xFFFFFFFF;
    Mirk::PickList list(0, 0, 1, 1, 0);
    list.Ids = {{greatest, a}, {greatest - 1, b}};
    fill(list, {greatest});
    const auto touched = list.computeTouchList();
    EXPECT_EQ((*touched)(0, 0), TouchedPixel(a, greatest));
}

TEST_F(PickList, LeavesPixelsOfUnknownNumbersEmpty) {
    Mirk::PickList list(0, 0, 2, 2, 0);
    list.Ids = {{2, a}, {4, b}};
    fill(list, {0, 1, 9, 3, 5, 9});
    EXPECT_THAT(identifications(*list.computeTouchList()), ElementsAre(0U, 0U, 0U, 0U));
}

TEST_F(PickList, LeavesPixelsEmptyThatTheBufferDoesNotHave) {
    Mirk::PickList list(0, 0, 2, 2, 0);
    list.Ids = {{2, a}};
    fill(list, {2});
    EXPECT_THAT(identifications(*list.computeTouchList()), ElementsAre(2U, 0U, 0U, 0U));
}

TEST_F(PickList, LeavesOutPixelsThatHaveNoPlaceInAHighList) {
    Mirk::PickList list(0, 0, 3, 5, 0);
    list.Ids = {{1, a}};
    fill(list, Numbers(4 * 6, 1));
    const auto touched = list.computeTouchList();
    // Row 0 takes places 0 to 2, row 1 5 to 7, row 2 10 to 12; rows 3 and 4 begin at 15 and 20.
    EXPECT_THAT(identifications(*touched),
                ElementsAre(1U, 1U, 1U, 0U, 0U, 1U, 1U, 1U, 0U, 0U, 1U, 1U, 1U, 0U, 0U));
}

TEST_F(PickList, LaterPixelsReplaceEarlierOnesInAWideListUnlessTheyAreBackground) {
    Mirk::PickList list(0, 0, 3, 2, 0);
    list.Ids = {{1, a}, {2, b}};
    fill(list, {1, 1, 1, 9, 2, 0, 0, 9});
    // Pixel (2, 0) and pixel (0, 1) share place 2.
    EXPECT_THAT(identifications(*list.computeTouchList()), ElementsAre(1U, 1U, 2U, 0U, 0U, 0U));
    fill(list, {1, 1, 1, 9, 0, 0, 0, 9});
    EXPECT_THAT(identifications(*list.computeTouchList()), ElementsAre(1U, 1U, 1U, 0U, 0U, 0U));
}

TEST_F(PickList, IsEmptyForAnEmptyRectangleAndThrowsForOneOfNegativeSize) {
    Mirk::PickList none(0, 0, 0, 0, 0);
    fill(none, {1});
    EXPECT_EQ(none.computeTouchList()->numberOfElements(), 0U);
    Mirk::PickList negative(0, 0, -2, 3, 0);
    fill(negative, {1});
    EXPECT_THROW(negative.computeTouchList(), std::length_error);
}

TEST_F(PickList, TouchListKeepsTheObjectsWhenThePickListHasGone) {
    VObjectPtr object(new Mirk::VObject("picked", 0, {}));
    const Keel::WeakPtr<Mirk::VObject, Mirk::VManagedObjectBase> seen(object);
    Keel::StrongPtr<Mirk::PickList> list(new Mirk::PickList(0, 0, 1, 1, 0));
    list->Ids[1] = object;
    fill(*list, {1, 0, 0, 0});
    object = {};
    const auto touched = list->computeTouchList();
    list = {};
    EXPECT_TRUE(seen);
    EXPECT_EQ((*touched)(0, 0).first, seen);
}

TEST_F(PickList, SquareListsHaveTheNumberOfEachPixel) {
    std::minstd_rand random(4);
    for (int scene = 0; scene < 100; ++scene) {
        const int size = static_cast<int>(random() % 8) + 1;
        Mirk::PickList list(static_cast<int>(random() % 100), static_cast<int>(random() % 100),
                            size, size, static_cast<int>(random() % 4));
        for (std::uint32_t id = 1; id <= 5; ++id) list.Ids[id] = a;
        Numbers numbers(static_cast<std::size_t>(list.AlignedWidth) *
                        static_cast<std::size_t>(list.AlignedHeight));
        std::generate(numbers.begin(), numbers.end(),
                      [&] { return static_cast<std::uint32_t>(random() % 8); });
        fill(list, numbers);
        const auto touched = list.computeTouchList();
        for (int y = 0; y < size; ++y) {
            for (int x = 0; x < size; ++x) {
                const std::uint32_t drawn =
                    numbers[static_cast<std::size_t>(list.AlignedWidth * y + x)];
                const bool isObject = drawn >= 1 && drawn <= 5;
                EXPECT_EQ((*touched)(x, y).second, isObject ? drawn : 0U);
                EXPECT_EQ(bool((*touched)(x, y).first), isObject);
            }
        }
    }
}

} // namespace
