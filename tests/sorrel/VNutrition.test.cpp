#include <sorrel/VNutrition.hpp>

#include "../Polypia/virtualSlot.hpp"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

using Mirk::VNutrition;

namespace {

class Picky : public VNutrition {
public:
    bool digestible(const std::string& food) const override { return food == "plankton"; }
    std::string quickinfo(std::set<std::string>& foods) const override {
        return std::to_string(foods.size()) + " foods";
    }
    using VNutrition::quickinfo;
};

TEST(VNutritionTest, HasItsVirtualOperationsInOrder) {
    using Foods = std::set<std::string>;
    EXPECT_EQ(
        (std::vector{
            virtualSlot(&VNutrition::digestible),
            virtualSlot(
                static_cast<std::string (VNutrition::*)(Foods&) const>(&VNutrition::quickinfo)),
            virtualSlot(static_cast<std::string (VNutrition::*)(
                            Foods&, const VNutrition::ProgressPtr&) const>(&VNutrition::quickinfo)),
            virtualSlot(&VNutrition::digest), virtualSlot(&VNutrition::createScript)}),
        slotsFrom(2, 5));
}

TEST(VNutritionTest, NothingIsDigestibleByDefault) {
    VNutrition nutrition;
    std::set<std::string> foods{"a", "b"};
    const std::set<std::string> untouched = foods;
    EXPECT_FALSE(nutrition.digestible("a"));
    EXPECT_EQ(nutrition.quickinfo(foods), "");
    EXPECT_EQ(nutrition.quickinfo(foods, {}), "");
    EXPECT_EQ(nutrition.digest(foods, "", VNutrition::Translate(), foods, {}), "");
    EXPECT_EQ(nutrition.createScript(foods, 0), "");
    EXPECT_EQ(foods, untouched);
}

TEST(VNutritionTest, ProgressIsOptional) {
    const Picky picky;
    const VNutrition& nutrition = picky;
    std::set<std::string> foods{"plankton"};
    EXPECT_TRUE(nutrition.digestible("plankton"));
    EXPECT_EQ(nutrition.quickinfo(foods, {}), "1 foods");
}

} // namespace
