#include <Polypia/RenderNamespace.hpp>

#include "memberOrder.hpp"
#include "virtualSlot.hpp"

#include <keel/StrongPtr.hpp>

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using Keel::StrongPtr;
using Skua::FixedArray;
using Skua::Quadratic;
using FloatPoint = Skua::Coordinates<Skua::Cartesian3D, float>::point;
using Names = Mirk::RenderNamespace;
using Variant = Names::ProgramVariables::Variant;

class Light : public Names::LightSource {
public:
    std::string getLightFunction() override { return "light"; }
};

TEST(RenderNamespace, NumbersOfVertexAttributes) {
    EXPECT_EQ(Names::Coordinates, 0);
    EXPECT_EQ(Names::Normals, 1);
    EXPECT_EQ(Names::Colors, 2);
    EXPECT_EQ(Names::SecondaryColors, 3);
    EXPECT_EQ(Names::FirstTextureCoordinates, 4);
    EXPECT_EQ(Names::SecondTextureCoordinates, 5);
    EXPECT_EQ(Names::ThirdTextureCoordinates, 6);
    EXPECT_EQ(Names::FourthTextureCoordinates, 7);
}

TEST(RenderNamespace, NumbersOfPrimitivesInUse) {
    EXPECT_EQ(Names::Lines, 1);
    EXPECT_EQ(Names::LineLoop, 2);
    EXPECT_EQ(Names::LineStrip, 3);
    EXPECT_EQ(Names::Polygon, 9);
    EXPECT_EQ(Names::ConnectedLines, 12);
}

TEST(RenderNamespace, EnumerationsPassEveryNumberOn) {
    static_assert(std::is_same_v<std::underlying_type_t<Names::Primitive>, int>);
    static_assert(std::is_same_v<std::underlying_type_t<Names::GeometryInputType>, int>);
    static_assert(std::is_same_v<std::underlying_type_t<Names::GeometryOutputType>, int>);
    EXPECT_EQ(static_cast<int>(Names::Primitive(12345)), 12345);
    EXPECT_EQ(Names::NoGeometryInput, 0);
    EXPECT_EQ(Names::NoGeometryOutput, 0);
}

template<std::size_t Index, class T>
constexpr bool isAlternative = std::is_same_v<std::variant_alternative_t<Index, Variant>, T>;

TEST(RenderNamespace, VariantHasItsTwentyAlternativesInOrder) {
    static_assert(std::variant_size_v<Variant> == 20);
    static_assert(isAlternative<0, int>);
    static_assert(isAlternative<1, float>);
    static_assert(isAlternative<2, double>);
    static_assert(isAlternative<3, unsigned int>);
    static_assert(isAlternative<4, FixedArray<int, 2>>);
    static_assert(isAlternative<5, FixedArray<float, 2>>);
    static_assert(isAlternative<6, FixedArray<double, 2>>);
    static_assert(isAlternative<7, FixedArray<int, 3>>);
    static_assert(isAlternative<8, FloatPoint>);
    static_assert(isAlternative<9, FixedArray<float, 3>>);
    static_assert(isAlternative<10, Skua::PhysicalSpace::point>);
    static_assert(isAlternative<11, FixedArray<double, 3>>);
    static_assert(isAlternative<12, FixedArray<int, 4>>);
    static_assert(isAlternative<13, FixedArray<float, 4>>);
    static_assert(isAlternative<14, FixedArray<double, 4>>);
    static_assert(isAlternative<15, Quadratic<2, float>>);
    static_assert(isAlternative<16, Quadratic<3, float>>);
    static_assert(isAlternative<17, Quadratic<4, float>>);
    static_assert(isAlternative<18, std::vector<FixedArray<float, 3>>>);
    static_assert(isAlternative<19, std::vector<FloatPoint>>);
    static_assert(std::is_base_of_v<std::map<std::string, Variant>, Names::ProgramVariables>);
}

TEST(RenderNamespace, VariantKeepsTheTypeOfWhatItIsGiven) {
    Names::ProgramVariables variables;
    variables["point"] = FloatPoint{1, 2, 3};
    variables["triple"] = FixedArray<float, 3>{1, 2, 3};
    variables["world"] = Skua::PhysicalSpace::point{1, 2, 3};
    variables["doubles"] = FixedArray<double, 3>{1, 2, 3};
    variables["int"] = 1;
    variables["float"] = 1.0F;
    EXPECT_EQ(variables.at("point").index(), 8U);
    EXPECT_EQ(variables.at("triple").index(), 9U);
    EXPECT_EQ(variables.at("world").index(), 10U);
    EXPECT_EQ(variables.at("doubles").index(), 11U);
    EXPECT_EQ(variables.at("int").index(), 0U);
    EXPECT_EQ(variables.at("float").index(), 1U);
}

TEST(RenderNamespace, VariablesHaveFifteenMapsMore) {
    Names::ProgramVariables variables;
    EXPECT_TRUE(variables.hasNoKinds());
    int maps = 0;
    variables.forEachKind([&](auto& values) {
        using Value = typename std::remove_reference_t<decltype(values)>::mapped_type;
        EXPECT_EQ(&values, &variables.values<Value>());
        ++maps;
    });
    EXPECT_EQ(maps, 15);
    variables.values<FixedArray<double, 4>>()["u"] = {1, 2, 3, 4};
    EXPECT_FALSE(variables.hasNoKinds());
    EXPECT_TRUE(variables.empty()) << "they are apart from the map of variants";
    std::size_t entries = 0;
    std::as_const(variables).forEachKind([&](const auto& values) { entries += values.size(); });
    EXPECT_EQ(entries, 1U);
}

TEST(RenderNamespace, VariablesOfEachKindMakeThemHaveKinds) {
    Names::ProgramVariables all;
    int found = 0;
    all.forEachKind([&](auto& values) {
        values["u"] = {};
        found += all.hasNoKinds() ? 0 : 1;
        values.clear();
    });
    EXPECT_EQ(found, 15);
}

TEST(RenderNamespace, LightHasItsBasesInOrder) {
    static_assert(std::is_base_of_v<Keel::ReferenceBase<Names::LightSource>, Names::LightSource>);
    static_assert(std::is_abstract_v<Names::LightSource>);
    StrongPtr<Light, Names::LightSource> light(new Light);
    const Names::LightSource& source = *light;
    EXPECT_TRUE(standInOrder(static_cast<const Keel::ReferenceBase<Names::LightSource>&>(source),
                             static_cast<const Names::ProgramVariables&>(source),
                             static_cast<const Keel::Ageable&>(source)));
    EXPECT_EQ(virtualSlot(&Names::LightSource::getLightFunction), 3U);
    EXPECT_EQ(light->age(), Keel::Ageable::Ooooold);
}

TEST(RenderNamespace, LightsAreASetByTheTimeOfTheirMaking) {
    std::vector<StrongPtr<Light, Names::LightSource>> lights;
    for (int i = 0; i < 20; ++i) lights.emplace_back(new Light);
    Names::Lighting lighting;
    EXPECT_EQ(lighting.LightingStamp, Keel::Ageable::Ooooold);
    for (auto light = lights.rbegin(); light != lights.rend(); ++light) lighting.insert(*light);
    lighting.insert(lights[7]);
    EXPECT_EQ(lighting.size(), 20U);
    EXPECT_TRUE(std::equal(lighting.begin(), lighting.end(), lights.begin(),
                           [](const auto& a, const auto& b) { return a == b; }));
    static_assert(std::has_virtual_destructor_v<Names::Lighting>);
    static_assert(std::is_same_v<decltype(Names::Lighting::LightingStamp), std::uint64_t>);
}

TEST(RenderNamespace, LightThatHasExpiredKeepsItsPlace) {
    std::vector<StrongPtr<Light, Names::LightSource>> lights;
    for (int i = 0; i < 3; ++i) lights.emplace_back(new Light);
    Names::Lighting lighting;
    for (const auto& light : lights) lighting.insert(light);
    const Keel::WeakPtr<Names::LightSource> middle(lights[1]);
    lights[1] = {};
    EXPECT_EQ(lighting.size(), 3U) << "the set does not keep it alive, but its entry stays";
    EXPECT_FALSE(*std::next(lighting.begin()));
    EXPECT_TRUE(lighting.contains(middle));
    EXPECT_TRUE(lighting.contains(lights[2]));
    EXPECT_EQ(lighting.erase(middle), 1U);
}

TEST(RenderNamespace, EmptyLightComesFirst) {
    const StrongPtr<Light, Names::LightSource> light(new Light);
    Names::Lighting lighting;
    lighting.insert(light);
    lighting.insert(Mirk::LightsByCreation::Light());
    EXPECT_EQ(lighting.begin()->controlBlock(), nullptr);
    EXPECT_EQ(lighting.size(), 2U);
}

} // namespace
