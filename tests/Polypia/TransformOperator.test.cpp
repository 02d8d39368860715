#include <Polypia/TransformOperator.hpp>

#include "RecordingContext.hpp"
#include "virtualSlot.hpp"

#include <Polypia/PolypCreator.hpp>

#include <gmock/gmock.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

using Mirk::TransformOperator;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

using Functor = TransformOperator::Functor;
using FunctorPtr = TransformOperator::FunctorPtr;
using BoxPtr = TransformOperator::BoundingBoxPtr;
using Trait = Mirk::VValueTrait<TransformOperator>;
using Compare = Mirk::VValueCompareTrait<TransformOperator>;

/// Writes down what is asked of it.
class Bend : public Functor {
public:
    bool begin(Mirk::VRenderContext&) const override {
        calls.push_back("begin");
        return begins;
    }
    void end(Mirk::VRenderContext&) const override {
        calls.push_back("end");
        if (throwsAtEnd) throw std::logic_error("end");
    }
    BoxPtr transformedBBox(const Mirk::ValuePoolPtr&, const BoxPtr&) const override { return box; }
    bool initializePolyp(Mirk::Polyp&, Mirk::VRenderContext&) const override { return initializes; }
    std::string myShaderFunctions(Mirk::VRenderContext&) const override { return text; }

    mutable std::vector<std::string> calls;
    bool begins = true;
    bool throwsAtEnd = false;
    bool initializes = true;
    BoxPtr box{new Skua::BoundingBox};
    std::string text = "// bend\n";
};
using BendPtr = Keel::StrongPtr<Bend, Functor>;

class TransformOperatorTest : public testing::Test {
protected:
    TransformOperatorTest() { custom.functor = bend; }

    RecordingContext context;
    const Mirk::PolypPtr polyp{new Mirk::Polyp({})};
    const BoxPtr box{new Skua::BoundingBox({0, 0, 0}, {1, 1, 1})};
    const TransformOperator plain;
    const BendPtr bend{new Bend};
    TransformOperator custom;
};

/// The places of parts of a text, which must all be there.
std::vector<std::size_t> placesOf(const std::vector<std::string>& parts, const std::string& text) {
    std::vector<std::size_t> places;
    for (const std::string& part : parts) {
        EXPECT_THAT(text, HasSubstr(part));
        places.push_back(text.find(part));
    }
    return places;
}

TEST(TransformOperatorLayout, OperationsOfAFunctorStandInTheirOrder) {
    EXPECT_EQ(
        (std::vector{virtualSlot(&Functor::begin), virtualSlot(&Functor::end),
                     virtualSlot(&Functor::transformedBBox), virtualSlot(&Functor::initializePolyp),
                     virtualSlot(&Functor::myShaderFunctions)}),
        slotsFrom(virtualSlot(&Functor::begin), 5));
}

TEST_F(TransformOperatorTest, FunctorDoesNothingByDefault) {
    const FunctorPtr functor(new Functor);
    EXPECT_TRUE(functor->begin(context));
    functor->end(context);
    EXPECT_EQ(functor->transformedBBox(context.pool, box).get(), box.get());
    EXPECT_TRUE(functor->initializePolyp(*polyp, context));
    EXPECT_TRUE(polyp->empty());
    EXPECT_EQ(functor->myShaderFunctions(context),
              TransformOperator::getDefaultShaderFunctionsCall(context.pool));
}

TEST_F(TransformOperatorTest, IsCopiedBySharingTheFunctor) {
    const TransformOperator copy = custom;
    EXPECT_EQ(copy.functor.get(), bend.get());
    EXPECT_FALSE(Compare::isDifferent(copy, custom));
    EXPECT_TRUE(Compare::isDifferent(plain, custom));
    EXPECT_FALSE(Compare::isDifferent(plain, TransformOperator()));
}

TEST_F(TransformOperatorTest, DefaultShaderFunctionsAreAMarkerOnly) {
    EXPECT_EQ(TransformOperator::getDefaultShaderFunctions(context.pool),
              "//getDefaultShaderFunctions()\n");
}

TEST_F(TransformOperatorTest, TextWithoutFunctorAndViewsStartsWithTheDefaultBlock) {
    const std::string text = plain.getShaderFunctions(context, false);
    const std::string head = "#ifdef ZELK_DO_LINE_DIRECTIVE\n"
                             "#line 3 \"reef/Polypia/TransformOperatorDefault.glsl\"\n"
                             "#endif /* ZELK_DO_LINE_DIRECTIVE */\n"
                             "// BEGIN TransformOperator::getDefaultShaderFunctions\n";
    EXPECT_THAT(text, StartsWith(head));
    EXPECT_THAT(text, HasSubstr("// END TransformOperator::getDefaultShaderFunctions\n"
                                "\n#define DEFAULT_TransformOperator 1\n" +
                                TransformOperator::getDefaultShaderFunctionsCall({}) +
                                TransformOperator::GlobalFunctions));
    EXPECT_THAT(text, Not(HasSubstr("CUSTOM_TransformOperator")));
}

TEST_F(TransformOperatorTest, PartsOfTheTextStandInTheirOrder) {
    context.setNumberOfEyes(3);
    for (const bool isCustom : {false, true}) {
        const TransformOperator& value = isCustom ? custom : plain;
        const std::string text = value.getShaderFunctions(context, true);
        EXPECT_THAT(text, StartsWith(context.defineMultiView(3, true, 0)));
        const auto places =
            placesOf({"/* LayeredMultiViews::defineMultiView() END */",
                      "// BEGIN TransformOperator::getDefaultShaderFunctions",
                      "// END TransformOperator::getDefaultShaderFunctions",
                      isCustom ? "\n#define CUSTOM_TransformOperator 1\n"
                               : "\n#define DEFAULT_TransformOperator 1\n",
                      isCustom ? "// bend\n" : TransformOperator::getDefaultShaderFunctionsCall({}),
                      TransformOperator::GlobalFunctions},
                     text);
        EXPECT_TRUE(std::is_sorted(places.begin(), places.end()));
        EXPECT_TRUE(text.ends_with(TransformOperator::GlobalFunctions));
    }
    EXPECT_THAT(custom.getShaderFunctions(context, true),
                Not(HasSubstr("DEFAULT_TransformOperator")));
}

TEST_F(TransformOperatorTest, FunctorsTextHasALineMarkerOfItsClassAheadOfIt) {
    const FunctorPtr functor(new Functor);
    EXPECT_EQ(functor->getShaderFunctions(context), "#ifdef ZELK_DO_LINE_DIRECTIVE\n"
                                                    "#line 0 \"Mirk::TransformOperator::Functor\"\n"
                                                    "#endif /* ZELK_DO_LINE_DIRECTIVE */\n" +
                                                        functor->myShaderFunctions(context));
}

TEST_F(TransformOperatorTest, TextOfAFunctorWithoutLineEndIsEndedByOne) {
    bend->text = "// the end";
    EXPECT_THAT(custom.getShaderFunctions(context, false),
                HasSubstr("// the end\n" + TransformOperator::GlobalFunctions));
}

TEST_F(TransformOperatorTest, PolypIsInitializedByTheFunctor) {
    EXPECT_TRUE(plain.initializePolyp(*polyp, context));
    EXPECT_TRUE(custom.initializePolyp(*polyp, context));
    bend->initializes = false;
    EXPECT_FALSE(custom.initializePolyp(*polyp, context));
}

TEST_F(TransformOperatorTest, BoxWithoutFunctorIsTheVeryBox) {
    EXPECT_EQ(plain.transformedBBox(context.pool, box).get(), box.get());
    EXPECT_FALSE(plain.transformedBBox({}, {}));
    EXPECT_EQ(custom.transformedBBox(context.pool, box).get(), bend->box.get());
}

TEST_F(TransformOperatorTest, DrawingStandsBetweenBeginAndEnd) {
    const auto draw = [&] {
        bend->calls.push_back("draw");
        return true;
    };
    EXPECT_TRUE(custom.draw(context, draw));
    EXPECT_THAT(bend->calls, ElementsAre("begin", "draw", "end"));
    bend->calls.clear();
    EXPECT_FALSE(custom.draw(context, [] { return false; }));
    EXPECT_THAT(bend->calls, ElementsAre("begin", "end"));
    bend->calls.clear();
    EXPECT_TRUE(plain.draw(context, draw));
    EXPECT_THAT(bend->calls, ElementsAre("draw"));
}

TEST_F(TransformOperatorTest, DrawingIsLeftOutIfItCanNotBegin) {
    bend->begins = false;
    EXPECT_FALSE(custom.draw(context, []() -> bool { throw "drawn"; }));
    EXPECT_THAT(bend->calls, ElementsAre("begin"));
}

TEST_F(TransformOperatorTest, DrawingThatThrowsIsEndedAndItsExceptionPassesOn) {
    for (const bool throws : {false, true}) {
        bend->calls.clear();
        bend->throwsAtEnd = throws;
        EXPECT_THROW(custom.draw(context, []() -> bool { throw std::runtime_error("draw"); }),
                     std::runtime_error);
        EXPECT_THAT(bend->calls, ElementsAre("begin", "end"));
    }
    EXPECT_THROW(custom.draw(context, [] { return true; }), std::logic_error);
}

TEST_F(TransformOperatorTest, TextOfAValueIsAlwaysTheSame) {
    const std::string fixed = "shift={0.0,0.0,0.0}";
    EXPECT_EQ(Trait::Text(plain), fixed);
    EXPECT_EQ(Trait::Text(custom), fixed);
    TransformOperator shifted;
    ASSERT_TRUE(Trait::setValueFromText(shifted, "shift={1,2,3}"));
    EXPECT_EQ(Trait::Text(shifted), fixed);
}

TEST_F(TransformOperatorTest, TextMakesAShiftWithItsVector) {
    TransformOperator value;
    ASSERT_TRUE(Trait::setValueFromText(value, "shift={1,2,3}"));
    const Keel::StrongPtr<TransformOperator::Shift, Functor> shift(value.functor);
    ASSERT_TRUE(shift);
    EXPECT_EQ(shift->shift, (Skua::PhysicalSpace::vector{1, 2, 3}));
    EXPECT_THAT(value.getShaderFunctions(context, false), HasSubstr("CUSTOM_TransformOperator"));
    const TransformOperator before = value;
    ASSERT_TRUE(Trait::setValueFromText(value, "shift={1,2,3}"));
    EXPECT_TRUE(Compare::isDifferent(before, value));
    EXPECT_TRUE(Trait::setValueFromText(value, "shifted by= 1 2 3"));
    EXPECT_TRUE(Trait::setValueFromText(value, Trait::Text(plain)));
}

TEST_F(TransformOperatorTest, ShiftDoesWhatEachFunctorDoes) {
    const FunctorPtr shift(new TransformOperator::Shift({1, 2, 3}));
    EXPECT_EQ(shift->transformedBBox(context.pool, box).get(), box.get());
    const std::string text = shift->myShaderFunctions(context);
    EXPECT_THAT(text, HasSubstr("requires RelativeVertex definition from "
                                "LayeredMultiViews::defineTranslatedViews()"));
    EXPECT_TRUE(text.ends_with(TransformOperator::getDefaultShaderFunctionsCall({})));
}

TEST_F(TransformOperatorTest, OtherTextLeavesTheValueAsItIs) {
    for (const char* const text : {"", "shift", "=", "Shift={1,2,3}", "{1,2,3}", "={1,2,3}",
                                   "rotate={1,2,3}", "a shift={1,2,3}", "shift={1,2}",
                                   "shift=", "shift={1,2,3", "shift=1,2,3}", "shift={1,2,3}=4"}) {
        TransformOperator value = custom;
        EXPECT_FALSE(Trait::setValueFromText(value, text)) << text;
        EXPECT_EQ(value.functor.get(), bend.get()) << text;
    }
}

} // namespace
