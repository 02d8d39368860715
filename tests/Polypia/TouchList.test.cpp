#include <Polypia/TouchList.hpp>

#include "memberOrder.hpp"
#include "virtualSlot.hpp"

#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using Mirk::TouchedPixel;
using Mirk::VObjectPtr;
using testing::ElementsAre;
using testing::IsEmpty;

class Plain : public Mirk::VObject {
public:
    Plain() : VObject("plain", 0, {}) {}
};
class Silent : public Mirk::VObject, public Mirk::Touchable {
public:
    Silent() : VObject("silent", 0, {}) {}
};
class Noting : public Mirk::VObject, public Mirk::Touchable {
public:
    explicit Noting(bool accepts) : VObject("noting", 0, {}), _accepts(accepts) {}
    bool pickAction(unsigned int identification) const override {
        touches.push_back(identification);
        return _accepts;
    }
    mutable std::vector<unsigned> touches;

private:
    const bool _accepts;
};
using NotingPtr = Keel::StrongPtr<Noting, Mirk::VManagedObjectBase>;

bool isEmpty(const TouchedPixel& pixel) {
    return !pixel.first && pixel.second == 0;
}

class Touchable : public testing::Test {};

TEST_F(Touchable, HasItsOperationBehindTheThreeOfItsRoot) {
    EXPECT_EQ(virtualSlot(&Mirk::InteractionReceiver::interactionHook), 0U);
    EXPECT_EQ(virtualSlot(&Mirk::Touchable::pickAction), 3U);
    static_assert(std::has_virtual_destructor_v<Mirk::Touchable>);
}

TEST_F(Touchable, HasEmptyMembersInTheirOrder) {
    struct Opened : Mirk::Touchable {
        void check() const {
            EXPECT_FALSE(firstTouchReference);
            EXPECT_EQ(touchText, "");
            EXPECT_FALSE(secondTouchReference);
            EXPECT_TRUE(standInOrder(firstTouchReference, touchText, secondTouchReference));
        }
    };
    Opened().check();
}

TEST_F(Touchable, AcceptsByDefaultAndIsFoundFromTheObject) {
    const VObjectPtr object(new Silent);
    const auto* const found = dynamic_cast<const Mirk::Touchable*>(
        static_cast<const Mirk::VManagedObjectBase*>(object.get()));
    ASSERT_NE(found, nullptr);
    EXPECT_TRUE(found->pickAction(3));
}

class TouchList : public testing::Test {
protected:
    using ListPtr = Keel::StrongPtr<Mirk::TouchList, Keel::ChunkBase>;
    static ListPtr list(int width, int height) {
        return ListPtr(new Mirk::TouchList(width, height));
    }
};

TEST_F(TouchList, IsAChunkOfEmptyPixels) {
    static_assert(std::is_base_of_v<Keel::Chunk<TouchedPixel>, Mirk::TouchList>);
    const ListPtr touched = list(3, 2);
    EXPECT_EQ(touched->numberOfElements(), 6U);
    EXPECT_EQ(touched->Width, 3);
    EXPECT_EQ(touched->Height, 2);
    for (const TouchedPixel& pixel : touched->vector()) EXPECT_TRUE(isEmpty(pixel));
    EXPECT_EQ(list(0, 5)->numberOfElements(), 0U);
}

TEST_F(TouchList, HasRowsAsLongAsItIsHigh) {
    const ListPtr touched = list(5, 3);
    (*touched)(1, 2).second = 7;
    EXPECT_EQ(touched->vector()[7].second, 7U);
    EXPECT_EQ(&(*touched)(4, 1), &touched->vector()[7]) << "pixels of a wide list share places";
    const Mirk::TouchList& constant = *touched;
    EXPECT_EQ(constant(1, 2).second, 7U);
}

TEST_F(TouchList, WideOnesUseFewerPlacesThanTheyHave) {
    const ListPtr touched = list(5, 3);
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 5; ++x) (*touched)(x, y).second = 1;
    }
    unsigned used = 0;
    for (const TouchedPixel& pixel : touched->vector()) used += pixel.second;
    EXPECT_EQ(used, 11U);
}

TEST_F(TouchList, PixelsBehindTheEndAreEmptyAndWhatIsWrittenThereIsLost) {
    const ListPtr touched = list(3, 5);
    const Mirk::TouchList& constant = *touched;
    EXPECT_FALSE(touched->contains(2, 4)) << "place 22 of 15";
    EXPECT_TRUE(touched->contains(2, 2));
    EXPECT_TRUE(isEmpty(constant(2, 4)));
    (*touched)(2, 4) = {VObjectPtr(new Plain), 9};
    EXPECT_TRUE(isEmpty(constant(2, 4)));
    EXPECT_TRUE(isEmpty((*touched)(2, 4)));
    EXPECT_TRUE(isEmpty(constant(-1, 0)));
    EXPECT_TRUE(isEmpty(constant(2147483647, 2147483647)));
    EXPECT_TRUE(isEmpty(constant(-2147483647, -2147483647)));
    for (const TouchedPixel& pixel : touched->vector()) EXPECT_TRUE(isEmpty(pixel));
}

TEST_F(TouchList, GivesAnEmptyPixelForAnyNumberThatIsNoPair) {
    const ListPtr touched = list(2, 2);
    for (TouchedPixel& pixel : touched->vector()) pixel.second = 4;
    EXPECT_TRUE(isEmpty((*touched)(0.0)));
    EXPECT_TRUE(isEmpty((*touched)(1.5)));
}

TEST_F(TouchList, ThrowsALengthErrorIfItIsTooLarge) {
    for (const auto& [width, height] : {std::pair(2147483647, 2147483647), std::pair(-1, 2)}) {
        try {
            list(width, height);
            ADD_FAILURE() << width << " x " << height;
        } catch (const std::length_error& error) {
            EXPECT_STREQ(error.what(), "cannot create std::vector larger than max_size()");
        }
    }
}

TEST_F(TouchList, IsClonedWithItsSize) {
    const ListPtr touched = list(3, 2);
    const VObjectPtr object(new Plain);
    (*touched)(0, 0) = {object, 5};
    const ListPtr copy(touched->clone());
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->Width, 3);
    EXPECT_EQ(copy->Height, 2);
    EXPECT_EQ((*copy)(0, 0).first, object);
    EXPECT_EQ((*copy)(0, 0).second, 5U);
}

TEST_F(TouchList, AsksNobodyIfItIsEmpty) {
    EXPECT_EQ(list(4, 4)->pickAction(0), 0);
    EXPECT_EQ(list(0, 0)->pickAction(7), 0);
}

TEST_F(TouchList, CountsObjectsThatAcceptOncePerPixelInTheOrderOfStorage) {
    const NotingPtr accepting(new Noting(true)), refusing(new Noting(false));
    const ListPtr touched = list(2, 2);
    (*touched)(1, 1) = {accepting, 11};
    (*touched)(0, 0) = {accepting, 10};
    (*touched)(1, 0) = {refusing, 20};
    EXPECT_EQ(touched->pickAction(0), 2);
    EXPECT_THAT(accepting->touches, ElementsAre(10U, 11U));
    EXPECT_THAT(refusing->touches, ElementsAre(20U));
}

TEST_F(TouchList, TellsAnObjectTheGreatestNumberAsItIs) {
    const NotingPtr object(new Noting(true));
    const ListPtr touched = list(1, 1);
    (*touched)(0, 0) = {object, 0xFFFFFFFFU};
    EXPECT_EQ(touched->pickAction(0), 1);
    EXPECT_THAT(object->touches, ElementsAre(0xFFFFFFFFU));
}

TEST_F(TouchList, CountsTouchableObjectsWithoutAnAnswerOfTheirOwn) {
    const ListPtr touched = list(2, 2);
    for (TouchedPixel& pixel : touched->vector()) pixel = {VObjectPtr(new Silent), 1};
    EXPECT_EQ(touched->pickAction(0), 4);
}

TEST_F(TouchList, PassesOverObjectsThatAreNotTouchable) {
    const ListPtr touched = list(2, 2);
    const VObjectPtr plain(new Plain);
    for (TouchedPixel& pixel : touched->vector()) pixel = {plain, 1};
    EXPECT_EQ(touched->pickAction(0), 0);
}

TEST_F(TouchList, KeepsItsObjectsAlive) {
    const ListPtr touched = list(1, 1);
    Keel::WeakPtr<Mirk::VObject, Mirk::VManagedObjectBase> seen;
    {
        const VObjectPtr object(new Silent);
        seen = object;
        (*touched)(0, 0) = {object, 1};
    }
    EXPECT_TRUE(seen);
    EXPECT_EQ(touched->pickAction(0), 1);
}

TEST_F(TouchList, PassesOnWhatAnObjectThrows) {
    class Throwing : public Mirk::VObject, public Mirk::Touchable {
    public:
        Throwing() : VObject("throwing", 0, {}) {}
        bool pickAction(unsigned) const override { throw std::runtime_error("touched"); }
    };
    const ListPtr touched = list(1, 1);
    (*touched)(0, 0) = {VObjectPtr(new Throwing), 1};
    EXPECT_THROW(touched->pickAction(0), std::runtime_error);
}

} // namespace
