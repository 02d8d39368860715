#include <Polypia/VTransformable.hpp>

#include "RecordingContext.hpp"
#include "shownObject.hpp"

#include <Polypia/PolypCreator.hpp>

#include <sorrel/VActionNotifier.hpp>

#include <gmock/gmock.h>

#include <limits>
#include <string>

using Mirk::TransformOperator;
using Mirk::VTransformable;

namespace {

/// Gives the same box whatever it is asked for.
class Elsewhere : public TransformOperator::Functor {
public:
    explicit Elsewhere(const BoxPtr& there) : box(there) {}
    BoxPtr transformedBBox(const Mirk::ValuePoolPtr& pool, const BoxPtr& from) const override {
        askedPool = pool;
        askedBox = from;
        return box;
    }
    bool initializePolyp(Mirk::Polyp&, Mirk::VRenderContext&) const override { return false; }

    BoxPtr box;
    mutable Mirk::ValuePoolPtr askedPool;
    mutable BoxPtr askedBox;
};
using ElsewherePtr = Keel::StrongPtr<Elsewhere, TransformOperator::Functor>;

class Movable : public Shown, public VTransformable {
public:
    explicit Movable(const std::string& objectName)
        : VObject(objectName, 0, {}), Shown(objectName), VTransformable(this) {}
};

class VTransformableTest : public testing::Test {
protected:
    ~VTransformableTest() override { Mirk::VActionNotifier::clear(); }

    ElsewherePtr moveTo(const BoxPtr& box) {
        const ElsewherePtr functor(new Elsewhere(box));
        TransformOperator value;
        value.functor = functor;
        object->transformSlot().set({}, value);
        return functor;
    }
    std::optional<Skua::PhysicalSpace::AABB> bounds() const {
        return VTransformable::drawnBounds(*object, object.get(), context.pool);
    }

    RecordingContext context;
    const Mirk::PolypPtr polyp{new Mirk::Polyp({})};
    const Keel::StrongPtr<Movable, Mirk::VManagedObjectBase> object{new Movable("movable")};
    const BoxPtr here = cube(0, 1);
    const BoxPtr there = cube(5, 7);
};

TEST_F(VTransformableTest, AddsTheInputWithoutFunctor) {
    const Mirk::VSlotPtr input = object->findInput("transform");
    ASSERT_TRUE(input);
    EXPECT_TRUE(input == object->transformSlot());
    EXPECT_TRUE(input->valueType() == typeid(TransformOperator));
    EXPECT_FALSE(input->parameter()->holdsLocalValues());
    EXPECT_FALSE(object->transformIn(context.pool).functor);
}

TEST_F(VTransformableTest, TextIsThatOfTheOperatorWithTheViews) {
    EXPECT_EQ(object->getTransformationShaderFunctions(context),
              TransformOperator().getShaderFunctions(context, true));
    moveTo(there);
    EXPECT_EQ(object->getTransformationShaderFunctions(context),
              object->transformIn(context.pool).getShaderFunctions(context, true));
    EXPECT_THAT(object->getTransformationShaderFunctions(context),
                testing::HasSubstr("CUSTOM_TransformOperator"));
}

TEST_F(VTransformableTest, OperatorIsReadInThePoolOfTheContext) {
    object->transformSlot()->parameter()->Localize();
    TransformOperator value;
    value.functor = ElsewherePtr(new Elsewhere(there));
    object->transformSlot().set(context.pool, value);
    const Mirk::ValuePoolPtr other(new Mirk::ValuePool);
    EXPECT_TRUE(object->transformIn(context.pool).functor);
    EXPECT_FALSE(object->transformIn(other).functor);
    EXPECT_EQ(object->transformBBox(other, here).get(), here.get());
    EXPECT_EQ(object->transformBBox(context.pool, here).get(), there.get());
}

TEST_F(VTransformableTest, PolypIsInitializedByTheOperator) {
    EXPECT_TRUE(object->initializePolypTransformation(*polyp, context));
    moveTo(there);
    EXPECT_FALSE(object->initializePolypTransformation(*polyp, context));
}

TEST_F(VTransformableTest, ShadedVolumeAndTransformedBoxAgree) {
    EXPECT_EQ(object->transformBBox(context.pool, here).get(), here.get());
    EXPECT_EQ(object->shadedVolume(context.pool, here).get(), here.get());
    for (const BoxPtr& box : {there, BoxPtr(), here}) {
        const ElsewherePtr functor = moveTo(box);
        EXPECT_EQ(object->transformBBox(context.pool, here).get(), box.get());
        EXPECT_EQ(functor->askedPool.get(), context.pool.get());
        EXPECT_EQ(functor->askedBox.get(), here.get());
        EXPECT_EQ(object->shadedVolume(context.pool, here).get(), box.get());
    }
}

TEST_F(VTransformableTest, ChangedOperatorRaisesTheAgeOfTheInput) {
    const auto before = object->transformSlot()->age(context.pool);
    const ElsewherePtr functor = moveTo(there);
    const auto after = object->transformSlot()->age(context.pool);
    EXPECT_GT(after, before);
    object->transformSlot().set({}, object->transformIn({}));
    EXPECT_EQ(object->transformSlot()->age(context.pool), after);
}

TEST_F(VTransformableTest, OperatorIsSetByText) {
    EXPECT_TRUE(object->transformSlot()->parameter()->setValueFromText({}, "shift={1,2,3}"));
    EXPECT_TRUE(object->transformIn({}).functor);
    EXPECT_FALSE(object->transformSlot()->parameter()->setValueFromText({}, "turn={1,2,3}"));
}

TEST_F(VTransformableTest, DrawnBoundsAreThoseOfTheTransformedBox) {
    object->ball = here;
    ASSERT_TRUE(bounds());
    EXPECT_EQ(*bounds(), (Skua::PhysicalSpace::AABB{{0, 0, 0}, {1, 1, 1}}));
    moveTo(there);
    EXPECT_EQ(*bounds(), (Skua::PhysicalSpace::AABB{{5, 5, 5}, {7, 7, 7}}));
    EXPECT_EQ(*VTransformable::drawnBounds(*object, nullptr, context.pool),
              (Skua::PhysicalSpace::AABB{{0, 0, 0}, {1, 1, 1}}));
}

TEST_F(VTransformableTest, DrawnBoundsOfABallAreAround) {
    object->ball = Keel::make<Skua::BoundingBall>(Skua::PhysicalSpace::point{1, 2, 3}, 2.0);
    const Skua::PhysicalSpace::AABB around{{-1, 0, 1}, {3, 4, 5}};
    EXPECT_EQ(*bounds(), around);
    const ElsewherePtr functor = moveTo(there);
    EXPECT_EQ(bounds()->min.x, 5);
    EXPECT_EQ(functor->askedBox->min, around.min);
}

TEST_F(VTransformableTest, WithoutBoundsOrWithEmptyOnesThereAreNone) {
    EXPECT_FALSE(bounds());
    object->ball = BoxPtr(new Skua::BoundingBox);
    EXPECT_FALSE(bounds());
    object->ball = Keel::make<Skua::BoundingBall>();
    EXPECT_FALSE(bounds());
    object->ball = here;
    moveTo({});
    EXPECT_FALSE(bounds());
    moveTo(BoxPtr(new Skua::BoundingBox));
    EXPECT_FALSE(bounds());
}

TEST_F(VTransformableTest, FunctorIsNotAskedForTheBoxOfNothing) {
    const ElsewherePtr functor = moveTo(there);
    EXPECT_FALSE(bounds());
    EXPECT_FALSE(functor->askedPool);
}

} // namespace
