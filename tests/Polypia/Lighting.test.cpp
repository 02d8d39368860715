// The text and the uniforms of lights. Whole texts are those of the files in the folder `composed`;
// POLYPIA_WRITE_COMPOSED=1 in the environment writes these anew, to be read before they are kept.

#include <Polypia/RenderNamespace.hpp>

#include "../keel/countedNew.hpp"
#include "RecordingBasin.hpp"
#include "renderCache.hpp"
#include "shaderFolder.hpp"
#include "toldLight.hpp"

#include <Polypia/RenderTentacles.hpp>
#include <Polypia/Seagrass.hpp>
#include <Polypia/shaderText.hpp>

#include <gmock/gmock.h>
#include <zlib.h>

#include <cstdlib>
#include <filesystem>
#include <future>
#include <stdexcept>
#include <string>
#include <vector>

using Keel::StrongPtr;
using Keel::WeakPtr;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Key;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;

namespace {

using Basin = Mirk::RenderBasin;
using Lights = Mirk::RenderNamespace::Lighting;
using Variables = Mirk::RenderNamespace::ProgramVariables;
using Program = StrongPtr<RecordingProgram, Mirk::Polyp::Tentacle>;
using Triple = Skua::FixedArray<double, 3>;

unsigned long crcOf(const std::string& text) {
    return ::crc32(0, reinterpret_cast<const Bytef*>(text.data()), static_cast<uInt>(text.size()));
}

std::size_t occurrences(const std::string& text, const std::string& part) {
    std::size_t number = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++number;
    }
    return number;
}

class Lighting : public testing::Test {
protected:
    using CreatorPtr = StrongPtr<TestCreator, Mirk::PolypCreatorBase::ReferenceRoot>;

    std::vector<ToldLightPtr> enable(int number) {
        std::vector<ToldLightPtr> lights;
        for (int i = 0; i < number; ++i) {
            lights.push_back(toldLight());
            seagrass->enable(lights.back());
        }
        return lights;
    }
    /// With a light that has expired in the middle.
    std::vector<ToldLightPtr> enableWithGap() {
        std::vector<ToldLightPtr> lights = enable(3);
        for (std::size_t i = 0; i < 3; ++i) (*lights[i])["u$$"] = static_cast<int>(i);
        lights.erase(lights.begin() + 1);
        return lights;
    }
    CreatorPtr creator() { return CreatorPtr(new TestCreator(*seagrass, {}, plan)); }
    static Program program() {
        return Program(new RecordingProgram(std::make_shared<CallLog>(), "p"));
    }

    StrongPtr<Mirk::Seagrass> seagrass{new Mirk::Seagrass(1000000, "test")};
    RecordingBasin basin{seagrass};
    TestInitializer::Plan plan;
    const Program merged = program();
};

// ---------------------------------------------------------------------------------------------
// Text

TEST_F(Lighting, PostfixIsToldByteByByte) {
    struct Text {
        unsigned number;
        std::size_t bytes;
        unsigned long crc;
    };
    for (const Text& text : {Text{0, 223, 0xf2e27005}, Text{1, 405, 0xddd09707},
                             Text{2, 649, 0x4a288b17}, Text{17, 4324, 0x1343a76f}}) {
        EXPECT_EQ(Lights::postfix(text.number).size(), text.bytes) << text.number;
        EXPECT_EQ(crcOf(Lights::postfix(text.number)), text.crc) << text.number;
    }
}

TEST_F(Lighting, TextOfSoManyLightsIsThatOfItsFile) {
    for (const int number : {0, 1, 2, 17}) {
        seagrass->clear();
        const auto lights = enable(number);
        const std::string file =
            POLYPIA_SOURCE "/tests/Polypia/composed/lights-" + std::to_string(number) + ".glsl";
        if (std::getenv("POLYPIA_WRITE_COMPOSED") != nullptr) {
            writeFile(file, basin.getLightSourceCode());
            continue;
        }
        ASSERT_TRUE(std::filesystem::exists(file)) << file;
        EXPECT_EQ(basin.getLightSourceCode(), fileContent(file)) << file;
    }
}

TEST_F(Lighting, TextIsPrefixFunctionsAndPostfix) {
    const auto lights = enable(2);
    const std::string text = basin.getLightSourceCode();
    EXPECT_THAT(text, StartsWith("\n\n#ifndef\tZELK_LIGHTSOURCES // definition is version number\n"
                                 "#define ZELK_LIGHTSOURCES 1\n\n"));
    std::string functions;
    EXPECT_EQ(seagrass->defineLightFunctions(functions), 2U);
    EXPECT_EQ(text, Lights::prefix() + functions + Lights::postfix(2));
    EXPECT_EQ(functions, Mirk::replacedText(toldLightCode, "$$", "0") +
                             Mirk::replacedText(toldLightCode, "$$", "1"));
    EXPECT_THAT(text, EndsWith("#endif\t// ZELK_LIGHTSOURCES\n\n"));
}

TEST_F(Lighting, FunctionsAreAppended) {
    const auto lights = enable(1);
    lights[0]->code = "[$$]";
    std::string text = "before ";
    EXPECT_EQ(seagrass->defineLightFunctions(text), 1U);
    EXPECT_EQ(text, "before [0]");
}

TEST_F(Lighting, LibraryStandsInAGuardOfItsOwnWithItsMarkerAtItsHead) {
    const std::string prefix = Lights::prefix();
    const std::size_t marker = prefix.find("#ifdef ZELK_DO_LINE_DIRECTIVE\n"
                                           "#line 3 \"reef/Polypia/Lighting.glsl\"\n"
                                           "#endif /* ZELK_DO_LINE_DIRECTIVE */\n");
    const std::size_t guard = prefix.find("ZELK_PREDEFINED_LIGHTMODELS");
    ASSERT_NE(marker, std::string::npos);
    EXPECT_GT(marker, prefix.find("#define ZELK_LIGHTSOURCES 1"));
    EXPECT_LT(marker, guard);
    EXPECT_THAT(prefix, HasSubstr("#define ZELK_PREDEFINED_LIGHTMODELS 1\n"));
    EXPECT_THAT(prefix, EndsWith("#endif\t// ZELK_PREDEFINED_LIGHTMODELS\n\n"));
    EXPECT_EQ(occurrences(prefix, "definition is version number"), 2U);
}

TEST_F(Lighting, LibraryDeclaresWhatItPromisesInOrder) {
    const std::string prefix = Lights::prefix();
    std::size_t at = 0;
    for (const char* const part :
         {"Light source management", "struct LightAtVertex", "vec3 light_incidence;",
          "vec3 intensity;", "vec3 specular_intensity;",
          "vec3 LightFunction(in LightAtVertex LightSource, in vec3 Vertex);",
          "vec3 getLightAtVertex(in vec3 vertex);",
          "float SidedDotProduct(float DotProduct, float sidedness)", "Predefined Light models",
          "vec3 PhongLighting(in vec3 DiffuseColor, in LightAtVertex LightSource, "
          "in vec3 Normal, in vec3 ViewDir, float Shininess)",
          "vec3 SidedPhongLighting(in vec3 DiffuseColor, in LightAtVertex LightSource, "
          "in vec3 Normal, in vec3 ViewDir, float Shininess, float sidedness)"}) {
        const std::size_t found = prefix.find(part, at);
        ASSERT_NE(found, std::string::npos) << part;
        at = found;
    }
}

TEST_F(Lighting, WithoutLightsThereIsOneFunctionWhichCallsNone) {
    const std::string text = Lights::postfix(0);
    EXPECT_THAT(text, StartsWith("\n\nconst int NumberOfLightSourceFunctions = 0;\n\n"));
    EXPECT_THAT(text, Not(HasSubstr("getLight_")));
    EXPECT_EQ(occurrences(text, "getLightAtVertex"), 1U);
    EXPECT_THAT(text, HasSubstr("vec3\tgetLightAtVertex(vec3 Vertex)\n"));
    EXPECT_EQ(basin.getLightSourceCode(), Lights::prefix() + text);
}

TEST_F(Lighting, TwoLightsAreCalledOneAfterTheOther) {
    const std::string text = Lights::postfix(2);
    EXPECT_LT(text.find("\t getLight_0(vertex, "), text.find("\t getLight_1(vertex, "));
    EXPECT_EQ(occurrences(text, "light += LightFunction(L, vertex);"), 2U);
}

TEST_F(Lighting, ExpiredLightHasANumberButNoFunction) {
    const auto lights = enableWithGap();
    std::string text;
    EXPECT_EQ(seagrass->defineLightFunctions(text), 3U);
    EXPECT_THAT(text, HasSubstr("void getLight_0("));
    EXPECT_THAT(text, Not(HasSubstr("void getLight_1(")));
    EXPECT_THAT(text, HasSubstr("void getLight_2("));
    EXPECT_THAT(basin.getLightSourceCode(), HasSubstr("\t getLight_1(vertex, "));
}

TEST_F(Lighting, UniformsAreNumberedByTheLiveLightsAlone) {
    const auto lights = enableWithGap();
    basin.mergeIlluminationUniforms(*merged);
    EXPECT_THAT(*merged, ElementsAre(Key("u0"), Key("u1")));
    EXPECT_EQ(std::get<int>(merged->at("u1")), 2);
}

TEST_F(Lighting, TextOfADeadSeagrassHasNoLights) {
    seagrass = {};
    EXPECT_EQ(basin.getLightSourceCode(), Lights::prefix() + Lights::postfix(0));
}

TEST_F(Lighting, EachPlaceholderOfANameIsReplaced) {
    EXPECT_EQ(Lights::placeholder, "$$");
    const std::string name = "uLight$$Pos$$";
    EXPECT_EQ(Lights::getEffectiveLightName(name, 12), "uLight12Pos12");
    EXPECT_EQ(name, "uLight$$Pos$$");
    EXPECT_EQ(Lights::getEffectiveLightName("u", 12), "u");
    EXPECT_EQ(Lights::getEffectiveLightName("", 12), "");
    EXPECT_EQ(Lights::getEffectiveLightName("$$$", 1), "1$") << "from left to right";
    EXPECT_EQ(Lights::getEffectiveLightName("$$$$", 4294967295U), "42949672954294967295");
}

TEST_F(Lighting, ReplacedTextIsNotSearchedAgain) {
    EXPECT_EQ(Mirk::replacedText("aXbX", "X", "XX"), "aXXbXX");
    EXPECT_EQ(Mirk::replacedText("aaa", "aa", "a"), "aa");
    EXPECT_EQ(Mirk::replacedText("text", "", "more"), "text");
}

// ---------------------------------------------------------------------------------------------
// Uniforms

TEST_F(Lighting, UniformsOfEveryTypeAreMergedUnderTheirNumber) {
    const auto lights = enable(2);
    int kinds = 0;
    lights[1]->forEachKind([&](auto& values) { values["k$$_" + std::to_string(kinds++)] = {}; });
    (*lights[1])["place$$"] = Skua::PhysicalSpace::point{1, 2, 3};
    basin.mergeIlluminationUniforms(*merged);
    kinds = 0;
    merged->forEachKind([&](const auto& values) {
        EXPECT_THAT(values, ElementsAre(Key("k1_" + std::to_string(kinds++))));
    });
    EXPECT_EQ(std::get<Skua::PhysicalSpace::point>(merged->at("place1")),
              (Skua::PhysicalSpace::point{1, 2, 3}));
    EXPECT_EQ(merged->IlluminationUniformNames.size(), 16U);
    EXPECT_TRUE(merged->IlluminationUniformNames.contains("place1"));
}

TEST_F(Lighting, MergingAgainLeavesTheSameVariables) {
    const auto lights = enable(2);
    (*lights[0])["u$$"] = 1;
    lights[1]->values<float>()["u$$"] = 2.5F;
    (*merged)["own"] = 7;
    basin.mergeIlluminationUniforms(*merged);
    const Variables first = *merged;
    basin.mergeIlluminationUniforms(*merged);
    EXPECT_THAT(*merged, ElementsAre(Key("own"), Key("u0")));
    EXPECT_EQ(std::get<int>(merged->at("u0")), std::get<int>(first.at("u0")));
    EXPECT_EQ(merged->values<float>(), first.values<float>());
    EXPECT_THAT(merged->IlluminationUniformNames, ElementsAre("u0", "u1"));
}

TEST_F(Lighting, MergingAgainAllocatesNothing) {
    const auto lights = enable(3);
    for (const auto& light : lights) {
        (*light)["aPlaceOfALongName$$"] = Skua::PhysicalSpace::point{1, 2, 3};
        light->values<float>()["theIntensityOfALight$$"] = 2.5F;
        light->values<int>()["aNameThatAllOfThemHave"] = 7;
    }
    basin.mergeIlluminationUniforms(*merged);
    lights[1]->values<float>()["theIntensityOfALight$$"] = 4.0F;
    const long long before = allocationsOfThisThread();
    basin.mergeIlluminationUniforms(*merged);
    EXPECT_EQ(allocationsOfThisThread(), before);
    EXPECT_EQ(merged->values<float>().at("theIntensityOfALight1"), 4.0F);
}

TEST_F(Lighting, NameThatChangesItsTypeIsInOneMap) {
    const auto lights = enable(1);
    (*lights[0])["u$$"] = 1;
    basin.mergeIlluminationUniforms(*merged);
    lights[0]->erase("u$$");
    lights[0]->values<float>()["u$$"] = 2.5F;
    basin.mergeIlluminationUniforms(*merged);
    EXPECT_FALSE(merged->contains("u0"));
    EXPECT_EQ(merged->values<float>().at("u0"), 2.5F);
    lights[0]->values<float>().clear();
    lights[0]->values<int>()["u$$"] = 3;
    basin.mergeIlluminationUniforms(*merged);
    EXPECT_TRUE(merged->values<float>().empty());
    EXPECT_EQ(merged->values<int>().at("u0"), 3);
}

TEST_F(Lighting, LightThatWentAwayLosesItsUniforms) {
    auto lights = enable(2);
    for (const auto& light : lights) {
        (*light)["u$$"] = 1;
        light->forEachKind([](auto& values) { values["k$$"] = {}; });
    }
    basin.mergeIlluminationUniforms(*merged);
    seagrass->erase(lights[1]);
    basin.mergeIlluminationUniforms(*merged);
    EXPECT_THAT(*merged, ElementsAre(Key("u0")));
    int others = 0;
    merged->forEachKind([&](const auto& values) { others += values.contains("k1") ? 1 : 0; });
    EXPECT_EQ(others, 0);
    EXPECT_THAT(merged->IlluminationUniformNames, ElementsAre("k0", "k1", "u0", "u1"))
        << "the names only grow";
}

TEST_F(Lighting, ExpiredLightLosesItsUniforms) {
    auto lights = enable(2);
    for (const auto& light : lights) (*light)["u$$"] = 1;
    basin.mergeIlluminationUniforms(*merged);
    lights.pop_back();
    basin.mergeIlluminationUniforms(*merged);
    EXPECT_THAT(*merged, ElementsAre(Key("u0")));
}

TEST_F(Lighting, OfANameWithoutPlaceholderTheLastLightHasTheValue) {
    const auto lights = enable(3);
    (*lights[0])["u"] = 1;
    (*lights[1])["u"] = 2;
    basin.mergeIlluminationUniforms(*merged);
    EXPECT_EQ(std::get<int>(merged->at("u")), 2);
    lights[2]->values<float>()["u"] = 3.5F;
    basin.mergeIlluminationUniforms(*merged);
    EXPECT_FALSE(merged->contains("u")) << "what has another type would win when all are sent";
    EXPECT_EQ(merged->values<float>().at("u"), 3.5F);
}

TEST_F(Lighting, OwnVariableWhoseNameALightHasUsedGoesWithTheLights) {
    auto lights = enable(1);
    (*lights[0])["shared"] = 1;
    (*merged)["shared"] = 5;
    (*merged)["own"] = 6;
    basin.mergeIlluminationUniforms(*merged);
    EXPECT_EQ(std::get<int>(merged->at("shared")), 1);
    lights.clear();
    basin.mergeIlluminationUniforms(*merged);
    EXPECT_THAT(*merged, ElementsAre(Key("own")));
    (*merged)["shared"] = 5;
    basin.mergeIlluminationUniforms(*merged);
    EXPECT_THAT(*merged, ElementsAre(Key("own"))) << "at every later merge";
}

TEST_F(Lighting, NamesThatAreNotThereAreSkipped) {
    merged->IlluminationUniformNames = {"gone"};
    (*merged)["own"] = 1;
    basin.mergeIlluminationUniforms(*merged);
    EXPECT_THAT(*merged, ElementsAre(Key("own")));
}

TEST_F(Lighting, NothingIsMergedFromADeadSeagrass) {
    const auto lights = enable(1);
    (*lights[0])["u$$"] = 1;
    basin.mergeIlluminationUniforms(*merged);
    seagrass = {};
    (*merged)["u0"] = 9;
    basin.mergeIlluminationUniforms(*merged);
    EXPECT_EQ(std::get<int>(merged->at("u0")), 9);
}

TEST_F(Lighting, MergeAndReplacementOfVariablesExcludeEachOther) {
    const auto lights = enable(1);
    Variables pair;
    constexpr int rounds = 2000;
    auto writer = std::async(std::launch::async, [&] {
        for (int i = 0; i < rounds; ++i) {
            Variables next = lights[0]->copyVariables();
            next["a$$"] = i;
            next["b$$"] = i;
            lights[0]->replaceVariables(next);
        }
    });
    int torn = 0;
    for (int i = 0; i < rounds; ++i) {
        basin.mergeIlluminationUniforms(*merged);
        if (!merged->contains("a0")) continue;
        torn += std::get<int>(merged->at("a0")) == std::get<int>(merged->at("b0")) ? 0 : 1;
    }
    writer.get();
    EXPECT_EQ(torn, 0);
}

TEST_F(Lighting, ReplacementTellsOtherNamesAndTypesFromOtherValues) {
    const ToldLightPtr light = toldLight();
    const auto isOther = [&](const std::function<void(Variables&)>& change) {
        Variables next = light->copyVariables();
        change(next);
        return light->replaceVariables(next);
    };
    EXPECT_FALSE(isOther([](Variables&) {}));
    EXPECT_TRUE(isOther([](Variables& next) { next["u"] = 1; }));
    EXPECT_FALSE(isOther([](Variables& next) { next["u"] = 2; }));
    EXPECT_EQ(std::get<int>(light->at("u")), 2);
    EXPECT_TRUE(isOther([](Variables& next) { next["u"] = 2.0F; }));
    EXPECT_TRUE(isOther([](Variables& next) { next["v"] = next.extract("u").mapped(); }));
    light->forEachKind([&](auto& values) {
        using Value = typename std::remove_reference_t<decltype(values)>::mapped_type;
        EXPECT_TRUE(isOther([](Variables& next) { next.values<Value>()["k"] = {}; }));
        EXPECT_FALSE(isOther([](Variables&) {}));
    });
    EXPECT_TRUE(isOther([](Variables& next) { next = {}; }));
}

// ---------------------------------------------------------------------------------------------
// Ages

TEST_F(Lighting, ChangedLightIsYoungerThanWhatWasMadeBefore) {
    const auto lights = enable(2);
    const CreatorPtr made = creator();
    made->rejuvenate();
    EXPECT_FALSE(seagrass->isYoungerThan(*made));
    EXPECT_FALSE(basin.lightingHasChanged(*made));
    lights[1]->rejuvenate();
    EXPECT_TRUE(seagrass->isYoungerThan(*made));
    EXPECT_TRUE(basin.lightingHasChanged(*made));
    EXPECT_TRUE(Basin::lightingHasChanged(*seagrass, *made));
    EXPECT_FALSE(basin.hasValidLighting(*made));
    made->rejuvenate();
    EXPECT_FALSE(basin.lightingHasChanged(*made));
    EXPECT_TRUE(basin.hasValidLighting(*made));
}

TEST_F(Lighting, OfTheSameAgeIsNotYounger) {
    const auto lights = enable(1);
    const CreatorPtr made = creator();
    made->setAge(lights[0]->rejuvenate());
    EXPECT_FALSE(basin.lightingHasChanged(*made));
}

TEST_F(Lighting, ExpiredLightsAreNotAskedForTheirAge) {
    auto lights = enable(1);
    const CreatorPtr made = creator();
    made->rejuvenate();
    lights[0]->rejuvenate();
    lights.clear();
    EXPECT_EQ(seagrass->size(), 1U);
    EXPECT_FALSE(basin.lightingHasChanged(*made));
}

TEST_F(Lighting, WithoutSeagrassNothingHasChanged) {
    const auto lights = enable(1);
    const CreatorPtr made = creator();
    made->setAge(Keel::Ageable::Ooooold);
    lights[0]->rejuvenate();
    EXPECT_TRUE(basin.lightingHasChanged(*made));
    seagrass = {};
    EXPECT_FALSE(basin.lightingHasChanged(*made));
    EXPECT_TRUE(basin.hasValidLighting(*made));
}

TEST_F(Lighting, RemovalIsToldByTheCompositionAlone) {
    const auto lights = enable(2);
    const CreatorPtr made = creator();
    made->rejuvenate();
    seagrass->refill([&] { seagrass->enable(lights[0]); });
    EXPECT_FALSE(basin.lightingHasChanged(*made));
    EXPECT_TRUE(seagrass->compositionIsYoungerThan(*made));
    EXPECT_FALSE(basin.hasValidLighting(*made));
}

TEST_F(Lighting, RefillingWithTheSameLightsIsNoOtherComposition) {
    const auto lights = enable(2);
    const CreatorPtr made = creator();
    made->rejuvenate();
    const auto refill = [&] {
        seagrass->refill([&] {
            EXPECT_THAT(*seagrass, IsEmpty());
            for (const auto& light : lights) seagrass->enable(light);
        });
    };
    const auto stamp = seagrass->LightingStamp;
    refill();
    EXPECT_GT(seagrass->LightingStamp, stamp);
    EXPECT_TRUE(basin.hasValidLighting(*made));
    EXPECT_EQ(seagrass->size(), 2U);
}

TEST_F(Lighting, SwapOfALightForAnOlderOneIsAnotherComposition) {
    const ToldLightPtr older = toldLight();
    const auto lights = enable(1);
    const CreatorPtr made = creator();
    made->rejuvenate();
    seagrass->refill([&] { seagrass->enable(older); });
    EXPECT_FALSE(basin.lightingHasChanged(*made));
    EXPECT_FALSE(basin.hasValidLighting(*made));
    made->rejuvenate();
    seagrass->refill([&] { seagrass->enable(older); });
    EXPECT_TRUE(basin.hasValidLighting(*made)) << "once";
}

TEST_F(Lighting, EntryOutsideOfARefillIsAnotherCompositionIfItIsNew) {
    const auto lights = enable(1);
    const CreatorPtr made = creator();
    made->rejuvenate();
    const auto stamp = seagrass->LightingStamp;
    seagrass->enable(lights[0]);
    EXPECT_GT(seagrass->LightingStamp, stamp);
    EXPECT_EQ(seagrass->size(), 1U) << "in it once";
    EXPECT_TRUE(basin.hasValidLighting(*made));
    const ToldLightPtr more = toldLight();
    seagrass->enable(more);
    EXPECT_FALSE(basin.hasValidLighting(*made));
}

TEST_F(Lighting, EmptyLightIsNotEntered) {
    seagrass->enable({});
    EXPECT_TRUE(seagrass->empty());
    EXPECT_EQ(seagrass->LightingStamp, Keel::Ageable::Ooooold);
}

TEST_F(Lighting, RefillThatThrowsLeavesWhatWasEntered) {
    const auto lights = enable(2);
    const CreatorPtr made = creator();
    made->rejuvenate();
    EXPECT_THROW(seagrass->refill([&] {
        seagrass->enable(lights[1]);
        throw std::runtime_error("planted");
    }),
                 std::runtime_error);
    EXPECT_EQ(seagrass->size(), 1U);
    EXPECT_FALSE(basin.hasValidLighting(*made));
    made->rejuvenate();
    seagrass->enable(lights[0]);
    EXPECT_FALSE(basin.hasValidLighting(*made)) << "no longer refilling";
}

TEST_F(Lighting, HeldLightsLiveAndThoseThatExpiredLeave) {
    auto lights = enable(3);
    lights.erase(lights.begin());
    const CreatorPtr made = creator();
    made->rejuvenate();
    auto held = seagrass->hold();
    ASSERT_EQ(held.size(), 2U);
    EXPECT_EQ(held[0], lights[0]);
    EXPECT_EQ(held[1], lights[1]);
    EXPECT_EQ(seagrass->size(), 2U);
    EXPECT_FALSE(basin.hasValidLighting(*made));
    lights.clear();
    EXPECT_EQ(occurrences(basin.getLightSourceCode(), "void getLight_1("), 2U)
        << "declared and defined";
    made->rejuvenate();
    held = seagrass->hold();
    EXPECT_TRUE(basin.hasValidLighting(*made)) << "none has left";
    held.clear();
    EXPECT_THAT(seagrass->hold(), IsEmpty());
}

} // namespace
