#include <Polypia/PolypNutrition.hpp>

#include <gtest/gtest.h>

namespace {

class PolypNutrition : public testing::Test {
protected:
    static constexpr const char* Explanation =
        "<B>Error: No CPU implementation available for this algorithm!</B>";
};

/// An algorithm that is fed in two ways.
class LeftWay : public virtual Mirk::VNutrition {};
class RightWay : public virtual Mirk::PolypNutrition {};
class BothWays : public LeftWay, public RightWay {};

TEST_F(PolypNutrition, ExplainsInsteadOfDigestingAndTouchesNothing) {
    Mirk::PolypNutrition nutrition;
    std::set<std::string> foods{"a.h5", "b.h5"};
    const std::set<std::string> options{"fast"};
    EXPECT_EQ(nutrition.digest(foods, "place", {}, options, {}), Explanation);
    EXPECT_EQ(foods, (std::set<std::string>{"a.h5", "b.h5"}));
    EXPECT_EQ(options, std::set<std::string>{"fast"});
}

TEST_F(PolypNutrition, CallsNoFunction) {
    Mirk::PolypNutrition nutrition;
    std::set<std::string> foods;
    int calls = 0;
    const Mirk::VNutrition::Translate translate = [&](const std::string& name) {
        ++calls;
        return name;
    };
    nutrition.digest(foods, "", translate, {}, Keel::make<Keel::LoaderProgress>());
    EXPECT_EQ(calls, 0);
}

TEST_F(PolypNutrition, ExplainsThroughItsBase) {
    Mirk::PolypNutrition nutrition;
    Mirk::VNutrition& base = nutrition;
    std::set<std::string> foods;
    EXPECT_EQ(base.digest(foods, "", {}, {}, {}), Explanation);
    EXPECT_FALSE(base.digestible("a.h5"));
    EXPECT_EQ(base.quickinfo(foods), "");
    EXPECT_EQ(base.createScript(foods, 0), "");
}

TEST_F(PolypNutrition, ExplainsThroughADiamond) {
    BothWays both;
    Mirk::VNutrition& left = static_cast<LeftWay&>(both);
    std::set<std::string> foods;
    EXPECT_EQ(left.digest(foods, "", {}, {}, {}), Explanation);
}

} // namespace
