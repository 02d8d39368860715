#include <PolypiaGL/GLFactory.hpp>

#include "glBasin.hpp"

#include <cmath>
#include <limits>

using namespace Mirk;
using namespace Mirk::GLTest;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

using Variant = RenderNamespace::ProgramVariables::Variant;

class GLProgramTest : public BasinTestInProfile {
protected:
    /// A program whose uniforms of these declarations all count.
    RenderBasin::ProgramPtr withUniforms(const std::string& declarations,
                                         const std::string& use) const {
        return program(passVertex, "#version 430\n" + declarations +
                                       "\nout vec4 result;\nvoid main() { result = vec4(" + use +
                                       "); }\n");
    }

    /// What the GPU has of a uniform of floats after this value was sent.
    std::vector<float> sent(const std::string& type, const Variant& value,
                            const Skua::PhysicalSpace::vector& origin = {}) const {
        const bool isMatrix = type.starts_with("mat");
        const auto shader = withUniforms(
            "uniform " + type + " value;",
            isMatrix ? "value[0][0]"
                     : "float(value" + std::string(type.starts_with("vec") ? ".x)" : ")"));
        RenderNamespace::ProgramVariables variables;
        variables["value"] = value;
        shader->setProgramVariable("value", *variables.begin(), RenderBasin::FloatedOrigin(origin));
        std::vector<float> back(16, -99.0F);
        glGetUniformfv(static_cast<GLuint>(shader->nativeHandle()),
                       shader->uniformLocation("value"), back.data());
        while (!back.empty() && back.back() == -99.0F) back.pop_back();
        return back;
    }
    std::vector<int> sentInts(const std::string& type, const Variant& value) const {
        const auto shader =
            withUniforms("uniform " + type + " value;",
                         type.find("vec") != std::string::npos ? "float(value.x)" : "float(value)");
        RenderNamespace::ProgramVariables variables;
        variables["value"] = value;
        shader->setProgramVariable("value", *variables.begin(), RenderBasin::FloatedOrigin());
        std::vector<int> back(4, -99);
        glGetUniformiv(static_cast<GLuint>(shader->nativeHandle()),
                       shader->uniformLocation("value"), back.data());
        while (!back.empty() && back.back() == -99) back.pop_back();
        return back;
    }
    std::vector<float> uniform(const RenderBasin::ProgramPtr& shader, const char* name,
                               std::size_t number) const {
        std::vector<float> back(number);
        glGetUniformfv(static_cast<GLuint>(shader->nativeHandle()), shader->uniformLocation(name),
                       back.data());
        return back;
    }

    RenderException failure(const std::string& vertex, const std::string& fragment) const {
        try {
            program(vertex, fragment);
        } catch (const RenderException& exception) {
            GLRenderException stored(exception.glError, "", "", "", 0);
            EXPECT_NE(dynamic_cast<const GLRenderException*>(&exception), nullptr);
            return exception;
        }
        ADD_FAILURE() << "no exception";
        return {};
    }
};

TEST_P(GLProgramTest, FillsThePicture) {
    fillPicture(program(passVertex, colorFragment));
    EXPECT_EQ(waveKeepingState(), 3);
    EXPECT_EQ(drawnPixels(), size * size);
    EXPECT_EQ(center(), white);
}

TEST_P(GLProgramTest, AFaultyStageIsAnExceptionWithLogAndCode) {
    const std::string code = "#version 330\n"
                             "out vec4 result;\n"
                             "\n"
                             "void main() { result = undefinedName; }\n";
    const RenderException exception = failure(passVertex, code);
    const std::string log = exception.shaderLog.c_str();
    EXPECT_THAT(log, StartsWith("\n0(4) : error"));
    EXPECT_THAT(log, HasSubstr("undefinedName"));
    EXPECT_THAT(log, EndsWith("\n"));
    EXPECT_EQ(std::string(exception.shaderCode.c_str()), code);
    EXPECT_EQ(std::string(exception.description.c_str()), "fragment stage does not compile");
    EXPECT_EQ(std::string(exception.file.c_str()), "test.frag");
    const std::string report = exception.str();
    EXPECT_THAT(report, StartsWith("Error during rendering at test.frag:1 "
                                   "[RenderBasin::createProgram]\n"
                                   "fragment stage does not compile: \n0(4) : error"));
    EXPECT_THAT(report, HasSubstr("-------- FAULTY SHADER CODE START --------- test.frag\n" + code +
                                  "-------- FAULTY SHADER CODE END   --------- test.frag\n"));
}

TEST_P(GLProgramTest, MessagesNameTheFileOfALineDirective) {
    const RenderException exception = failure("#version 330\n"
                                              "#line 17 \"lights.glsl\"\n"
                                              "float broken() { return 1.0 }\n"
                                              "void main() {}\n",
                                              colorFragment);
    EXPECT_THAT(exception.shaderLog.c_str(), StartsWith("\nlights.glsl(17) : error"));
}

TEST_P(GLProgramTest, StagesThatDoNotLinkAreAnException) {
    const RenderException exception = failure("#version 330\n"
                                              "in vec3 Coordinates;\n"
                                              "out vec3 color;\n"
                                              "void main() { color = Coordinates;\n"
                                              "gl_Position = vec4(1.0); }\n",
                                              "#version 330\n"
                                              "in vec4 color; out vec4 result;\n"
                                              "void main() { result = color; }\n");
    EXPECT_THAT(exception.shaderLog.c_str(), StartsWith("\nvertex and fragment stage : error"));
    EXPECT_THAT(exception.shaderLog.c_str(), EndsWith("\n"));
    EXPECT_THAT(exception.description.c_str(), HasSubstr("vertex and fragment stage do not link"));
    EXPECT_THAT(exception.shaderCode.c_str(), HasSubstr("out vec3 color"));
    EXPECT_THAT(exception.shaderCode.c_str(), HasSubstr("in vec4 color"));
}

TEST_P(GLProgramTest, AFaultyComputeProgramIsAnException) {
    EXPECT_THROW(compute("#version 430\nlayout(local_size_x = 1) in;\nvoid main() { wrong(); }\n"),
                 RenderException);
}

TEST_P(GLProgramTest, PiecesOfTextAreOneStage) {
    const auto shader = basin->createProgram(
        {passVertex}, "v", 1, RenderNamespace::NoGeometryInput, {""},
        RenderNamespace::NoGeometryOutput, "", 0,
        {"#version 330\nout vec4 result;\n", "void main() { result = vec4(1.0); }\n"}, "f", 1, {},
        {});
    fillPicture(shader);
    wave();
    EXPECT_EQ(center(), white);
}

TEST_P(GLProgramTest, AGeometryStageDrawsItsShape) {
    ProgramParameters seen;
    // A square of 16 pixels around each point.
    const auto shader = basin->createGeometryProgram(
        passVertex, RenderNamespace::PointsInput,
        "#version 330\n"
        "void corner(float x, float y) {\n"
        "    gl_Position = gl_in[0].gl_Position + vec4(x, y, 0.0, 0.0); EmitVertex();\n"
        "}\n"
        "void main() { corner(-0.25, -0.25); corner(0.25, -0.25); corner(-0.25, 0.25);\n"
        "    corner(0.25, 0.25); EndPrimitive(); }\n",
        RenderNamespace::TriangleStripOutput, colorFragment, "v", "g", "f",
        [&](const ProgramParameters& defaults) {
            seen = defaults;
            ProgramParameters chosen = defaults;
            chosen["GeometryMaxVertices"] = 4;
            return chosen;
        },
        {});
    EXPECT_EQ(std::get<int>(seen["GeometryMaxVertices"]), 64);
    polyp->insert(shader);
    insertDrawn(coordinates({{0, 0, 0}}), RenderNamespace::Points);
    waveKeepingState();
    EXPECT_EQ(drawnPixels(), 16 * 16);
}

TEST_P(GLProgramTest, OneOfTheGeometryTypesMissingMeansNoGeometryStage) {
    EXPECT_TRUE(basin->createGeometryProgram(passVertex, RenderNamespace::PointsInput, "",
                                             RenderNamespace::NoGeometryOutput, colorFragment, "v",
                                             "g", "f", {}, {}));
}

TEST_P(GLProgramTest, EveryVariantReachesTheUniformOfItsType) {
    using Skua::FixedArray;
    EXPECT_THAT(sentInts("int", -7), ElementsAre(-7));
    EXPECT_THAT(sent("float", 1.5F), ElementsAre(1.5F));
    EXPECT_THAT(sent("double", 1.5), ElementsAre(1.5F));
    EXPECT_THAT(sentInts("uint", 7U), ElementsAre(7));
    EXPECT_THAT(sentInts("ivec2", FixedArray<int, 2>{1, -2}), ElementsAre(1, -2));
    EXPECT_THAT(sent("vec2", FixedArray<float, 2>{1, 2}), ElementsAre(1, 2));
    EXPECT_THAT(sent("vec2", FixedArray<double, 2>{1, 2}), ElementsAre(1, 2));
    EXPECT_THAT(sentInts("ivec3", FixedArray<int, 3>{1, 2, 3}), ElementsAre(1, 2, 3));
    EXPECT_THAT(sent("vec3", FloatPoint{1, 2, 3}), ElementsAre(1, 2, 3));
    EXPECT_THAT(sent("vec3", FixedArray<float, 3>{1, 2, 3}), ElementsAre(1, 2, 3));
    EXPECT_THAT(sent("vec3", Skua::PhysicalSpace::point{1, 2, 3}), ElementsAre(1, 2, 3));
    EXPECT_THAT(sent("vec3", FixedArray<double, 3>{1, 2, 3}), ElementsAre(1, 2, 3));
    EXPECT_THAT(sentInts("ivec4", FixedArray<int, 4>{1, 2, 3, 4}), ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(sent("vec4", FixedArray<float, 4>{1, 2, 3, 4}), ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(sent("vec4", FixedArray<double, 4>{1, 2, 3, 4}), ElementsAre(1, 2, 3, 4));
    // Column by column.
    EXPECT_THAT(sent("mat2", Skua::Quadratic<2, float>{1, 2, 3, 4}), ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(sent("mat3", Skua::Quadratic<3, float>{1, 2, 3, 4, 5, 6, 7, 8, 9}),
                ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9));
    EXPECT_EQ(sent("mat4", Skua::Quadratic<4, float>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14,
                                                     15, 16}),
              (std::vector<float>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}));
}

TEST_P(GLProgramTest, ElementsOfArraysAreReachedByTheirNumber) {
    const auto shader = withUniforms("uniform vec3 values[3];", "values[2].x + values[1].y");
    using Triple = Skua::FixedArray<float, 3>;
    (*shader)["values[2]"] = Triple{7, 8, 9};
    (*shader)["values[1]"] = std::vector<Triple>{{4, 5, 6}};
    shader->prepare(*polyp);
    EXPECT_THAT(uniform(shader, "values[2]", 3), ElementsAre(7, 8, 9));
    EXPECT_THAT(uniform(shader, "values[1]", 3), ElementsAre(4, 5, 6));
    EXPECT_THAT(uniform(shader, "values", 3), ElementsAre(0, 0, 0));
    EXPECT_EQ(shader->uniformLocation("values[2]"), shader->uniformLocation("values") + 2);
    EXPECT_FALSE(shader->hasUniform("values[3]"));
    EXPECT_FALSE(shader->hasUniform("values[-1]"));
}

TEST_P(GLProgramTest, ArraysReachArrays) {
    const auto shader = withUniforms("uniform vec3 values[3]; uniform float weights[2];",
                                     "values[2].x + weights[1]");
    using Triple = Skua::FixedArray<float, 3>;
    (*shader)["values"] = std::vector<Triple>{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    shader->prepare(*polyp);
    EXPECT_TRUE(shader->hasUniform("values"));
    EXPECT_TRUE(shader->hasUniform("values[0]"));
    EXPECT_EQ(shader->uniformLocation("values[0]"), shader->uniformLocation("values"));
    const int location = shader->uniformLocation("values");
    std::array<float, 3> back{};
    const auto handle = static_cast<GLuint>(shader->nativeHandle());
    glGetUniformfv(handle, location + 2, back.data());
    EXPECT_THAT(back, ElementsAre(7, 8, 9));
    // More than the array has, and fewer.
    (*shader)["values"] =
        std::vector<FloatPoint>{{9, 8, 7}, {6, 5, 4}, {3, 2, 1}, {0, 0, 0}, {0, 0, 0}};
    shader->prepare(*polyp);
    glGetUniformfv(handle, location + 2, back.data());
    EXPECT_THAT(back, ElementsAre(3, 2, 1));
    (*shader)["values"] = std::vector<FloatPoint>{{5, 5, 5}};
    shader->prepare(*polyp);
    EXPECT_THAT(uniform(shader, "values", 3), ElementsAre(5, 5, 5));
    glGetUniformfv(handle, location + 2, back.data());
    EXPECT_THAT(back, ElementsAre(3, 2, 1));
    (*shader)["values"] = std::vector<FloatPoint>{};
    EXPECT_NO_THROW(shader->prepare(*polyp));
    glUseProgram(0);
}

TEST_P(GLProgramTest, ValuesAreConvertedToTheTypeOfTheUniform) {
    using Skua::FixedArray;
    EXPECT_THAT(sent("float", 3), ElementsAre(3));
    EXPECT_THAT(sent("double", 0.5F), ElementsAre(0.5F));
    EXPECT_THAT(sentInts("int", 3.9), ElementsAre(3));
    EXPECT_THAT(sentInts("int", 1e30), ElementsAre(std::numeric_limits<int>::max()));
    EXPECT_THAT(sentInts("int", std::nan("")), ElementsAre(std::numeric_limits<int>::lowest()));
    EXPECT_THAT(sentInts("uint", -5), ElementsAre(0));
    EXPECT_THAT(sentInts("bool", 5), ElementsAre(1));
    EXPECT_THAT(sentInts("bool", 0.0F), ElementsAre(0));
    EXPECT_THAT(sent("vec4", FixedArray<float, 3>{1, 2, 3}), ElementsAre(1, 2, 3, 1));
    EXPECT_THAT(sent("vec4", Skua::PhysicalSpace::point{1, 2, 3}), ElementsAre(1, 2, 3, 1));
    EXPECT_THAT(sent("vec3", FixedArray<double, 4>{1, 2, 3, 4}), ElementsAre(1, 2, 3));
    EXPECT_THAT(sent("vec2", FixedArray<int, 4>{1, 2, 3, 4}), ElementsAre(1, 2));
    EXPECT_THAT(sent("vec3", 4.0F), ElementsAre(4, 0, 0));
    EXPECT_THAT(sentInts("ivec3", FixedArray<double, 3>{1.9, -2.9, 3}), ElementsAre(1, -2, 3));
    EXPECT_THAT(sentInts("uvec2", FixedArray<float, 2>{1, 2}), ElementsAre(1, 2));
    EXPECT_THAT(sentInts("bvec2", FixedArray<int, 2>{0, 9}), ElementsAre(0, 1));
    // A smaller matrix is the upper left part of a greater one, which is else the unit matrix.
    EXPECT_THAT(sent("mat3", Skua::Quadratic<2, float>{1, 2, 3, 4}),
                ElementsAre(1, 2, 0, 3, 4, 0, 0, 0, 1));
    EXPECT_THAT(sent("mat2", Skua::Quadratic<3, float>{1, 2, 3, 4, 5, 6, 7, 8, 9}),
                ElementsAre(1, 2, 4, 5));
}

TEST_P(GLProgramTest, EveryVariantIsHarmlessToEveryUniform) {
    using Skua::FixedArray;
    const std::vector<Variant> variants{1,
                                        1.0F,
                                        1.0,
                                        1U,
                                        FixedArray<int, 2>{},
                                        FixedArray<float, 2>{},
                                        FixedArray<double, 2>{},
                                        FixedArray<int, 3>{},
                                        FloatPoint{},
                                        FixedArray<float, 3>{},
                                        Skua::PhysicalSpace::point{},
                                        FixedArray<double, 3>{},
                                        FixedArray<int, 4>{},
                                        FixedArray<float, 4>{},
                                        FixedArray<double, 4>{},
                                        Skua::Quadratic<2, float>(),
                                        Skua::Quadratic<3, float>(),
                                        Skua::Quadratic<4, float>(),
                                        std::vector<FixedArray<float, 3>>(3),
                                        std::vector<FloatPoint>(2)};
    ASSERT_EQ(variants.size(), std::variant_size_v<Variant>);
    std::string declarations = "uniform Block { vec4 inBlock; };\nuniform sampler2D sampled;\n";
    std::string use = "inBlock.x + texture(sampled, vec2(0.5)).x";
    const std::vector<std::string> scalars{"float", "int", "uint", "bool", "double"};
    const std::vector<std::string> vectors{"vec2",  "vec3",  "vec4",  "ivec2", "ivec3",
                                           "ivec4", "uvec2", "uvec3", "uvec4", "bvec2",
                                           "bvec3", "bvec4", "dvec2", "dvec3", "dvec4"};
    const std::vector<std::string> matrices{"mat2",   "mat3",   "mat4",   "mat2x3", "mat2x4",
                                            "mat3x2", "mat3x4", "mat4x2", "mat4x3", "dmat2",
                                            "dmat3",  "dmat4",  "dmat2x3"};
    std::vector<std::string> names{"inBlock", "sampled", "array", "absent", "gl_FragCoord"};
    const auto declare = [&](const std::vector<std::string>& types, const std::string& suffix) {
        for (const std::string& type : types) {
            declarations += "uniform " + type + " u_" + type + ";\n";
            use += " + float(u_" + type + suffix + ")";
            names.push_back("u_" + type);
        }
    };
    declare(scalars, "");
    declare(vectors, ".x");
    declare(matrices, "[0][0]");
    declarations += "uniform vec4 array[3];\n";
    use += " + array[2].x";
    const auto shader = withUniforms(declarations, use);
    for (const std::string& name : names) {
        for (const Variant& value : variants) {
            (*shader)[name] = value;
            EXPECT_NO_THROW(shader->prepare(*polyp)) << name << " from " << value.index();
        }
    }
    glUseProgram(0);
}

TEST_P(GLProgramTest, TheOriginIsSubtractedFromSinglePointsOnly) {
    const Skua::PhysicalSpace::vector origin{1e9, 2, 3};
    const auto relative = [&](const Variant& value) { return sent("vec3", value, origin); };
    EXPECT_THAT(relative(Skua::PhysicalSpace::point{1e9 + 1, 4, 6}), ElementsAre(1, 2, 3));
    // 1e9 is a float, the difference is taken in double precision.
    EXPECT_THAT(relative(FloatPoint{1e9F, 4, 6}), ElementsAre(0, 2, 3));
    EXPECT_THAT(relative(Skua::FixedArray<float, 3>{1, 2, 3}), ElementsAre(1, 2, 3));
    EXPECT_THAT(relative(Skua::FixedArray<double, 3>{1, 2, 3}), ElementsAre(1, 2, 3));
    EXPECT_THAT(relative(std::vector<FloatPoint>{{1, 2, 3}}), ElementsAre(1, 2, 3));
    EXPECT_THAT(relative(std::vector<Skua::FixedArray<float, 3>>{{1, 2, 3}}), ElementsAre(1, 2, 3));
    EXPECT_THAT(sent("vec4", Skua::FixedArray<double, 4>{1, 2, 3, 4}, origin),
                ElementsAre(1, 2, 3, 4));
}

TEST_P(GLProgramTest, PrepareSendsWithTheLastOrigin) {
    const auto shader = withUniforms("uniform vec3 place;", "place.x");
    (*shader)["place"] = Skua::PhysicalSpace::point{5, 0, 0};
    shader->prepare(*polyp);
    EXPECT_THAT(uniform(shader, "place", 3), ElementsAre(5, 0, 0));
    shader->setAllProgramVariables(RenderBasin::FloatedOrigin({2, 0, 0}));
    EXPECT_THAT(uniform(shader, "place", 3), ElementsAre(3, 0, 0));
    (*shader)["place"] = Skua::PhysicalSpace::point{7, 0, 0};
    shader->prepare(*polyp);
    EXPECT_THAT(uniform(shader, "place", 3), ElementsAre(5, 0, 0));
    glUseProgram(0);
}

TEST_P(GLProgramTest, PrepareKnowsAnOriginThatCameAheadOfTheFirstVariable) {
    const auto shader = withUniforms("uniform vec3 place;", "place.x");
    shader->setAllProgramVariables(RenderBasin::FloatedOrigin({2, 0, 0}));
    (*shader)["place"] = Skua::PhysicalSpace::point{7, 0, 0};
    shader->prepare(*polyp);
    EXPECT_THAT(uniform(shader, "place", 3), ElementsAre(5, 0, 0));
    glUseProgram(0);
}

TEST_P(GLProgramTest, PrepareLeavesTheOriginOfASingleVariableAlone) {
    const auto shader =
        withUniforms("uniform vec3 place; uniform vec3 other;", "place.x + other.x");
    (*shader)["place"] = Skua::PhysicalSpace::point{5, 0, 0};
    shader->setAllProgramVariables(RenderBasin::FloatedOrigin({2, 0, 0}));
    RenderNamespace::ProgramVariables variables;
    variables["other"] = Skua::PhysicalSpace::point{5, 0, 0};
    shader->setProgramVariable("other", *variables.begin(), RenderBasin::FloatedOrigin({1, 0, 0}));
    EXPECT_THAT(uniform(shader, "other", 3), ElementsAre(4, 0, 0));
    (*shader)["place"] = Skua::PhysicalSpace::point{7, 0, 0};
    shader->prepare(*polyp);
    EXPECT_THAT(uniform(shader, "place", 3), ElementsAre(5, 0, 0));
    EXPECT_THAT(uniform(shader, "other", 3), ElementsAre(4, 0, 0));
    glUseProgram(0);
}

TEST_P(GLProgramTest, OnlyWhatHasChangedIsSentAgain) {
    const auto shader = withUniforms("uniform float one; uniform float two;", "one + two");
    (*shader)["one"] = 1.0F;
    (*shader)["two"] = 2.0F;
    shader->prepare(*polyp);
    const auto handle = static_cast<GLuint>(shader->nativeHandle());
    glProgramUniform1f(handle, shader->uniformLocation("one"), 77.0F);
    (*shader)["two"] = 3.0F;
    shader->prepare(*polyp);
    EXPECT_THAT(uniform(shader, "one", 1), ElementsAre(77));
    EXPECT_THAT(uniform(shader, "two", 1), ElementsAre(3));
    shader->setAllProgramVariables(RenderBasin::FloatedOrigin());
    EXPECT_THAT(uniform(shader, "one", 1), ElementsAre(1));
    glUseProgram(0);
}

TEST_P(GLProgramTest, TheFifteenMapsOfLightsAreSentToo) {
    using namespace Skua;
    const auto shader = withUniforms(
        "uniform int a1; uniform float b1; uniform double c1; uniform ivec2 a2; uniform vec2 b2;\n"
        "uniform dvec2 c2; uniform ivec3 a3; uniform vec3 b3; uniform dvec3 c3; uniform ivec4 a4;\n"
        "uniform vec4 b4; uniform dvec4 c4; uniform mat2 m2; uniform mat3 m3; uniform mat4 m4;",
        "float(a1) + b1 + float(c1) + float(a2.y) + b2.y + float(c2.y) + float(a3.z) + b3.z +\n"
        "float(c3.z) + float(a4.w) + b4.w + float(c4.w) + m2[1][1] + m3[2][2] + m4[3][3]");
    shader->values<int>()["a1"] = 1;
    shader->values<float>()["b1"] = 2;
    shader->values<double>()["c1"] = 3;
    shader->values<FixedArray<int, 2>>()["a2"] = {0, 4};
    shader->values<FixedArray<float, 2>>()["b2"] = {0, 5};
    shader->values<FixedArray<double, 2>>()["c2"] = {0, 6};
    shader->values<FixedArray<int, 3>>()["a3"] = {0, 0, 7};
    shader->values<FixedArray<float, 3>>()["b3"] = {0, 0, 8};
    shader->values<FixedArray<double, 3>>()["c3"] = {0, 0, 9};
    shader->values<FixedArray<int, 4>>()["a4"] = {0, 0, 0, 10};
    shader->values<FixedArray<float, 4>>()["b4"] = {0, 0, 0, 11};
    shader->values<FixedArray<double, 4>>()["c4"] = {0, 0, 0, 12};
    shader->values<Quadratic<2, float>>()["m2"] = Quadratic<2, float>::identity();
    shader->values<Quadratic<3, float>>()["m3"] = Quadratic<3, float>::identity();
    shader->values<Quadratic<4, float>>()["m4"] = Quadratic<4, float>::identity();
    for (const bool throughAll : {false, true}) {
        if (throughAll) {
            shader->setAllProgramVariables(RenderBasin::FloatedOrigin());
        } else {
            shader->prepare(*polyp);
        }
        for (const char* name : {"a1", "b1", "c1"}) EXPECT_GT(uniform(shader, name, 1)[0], 0);
        EXPECT_EQ(uniform(shader, "a2", 2)[1], 4);
        EXPECT_EQ(uniform(shader, "b2", 2)[1], 5);
        EXPECT_EQ(uniform(shader, "c2", 2)[1], 6);
        EXPECT_EQ(uniform(shader, "a3", 3)[2], 7);
        EXPECT_EQ(uniform(shader, "b3", 3)[2], 8);
        EXPECT_EQ(uniform(shader, "c3", 3)[2], 9);
        EXPECT_EQ(uniform(shader, "a4", 4)[3], 10);
        EXPECT_EQ(uniform(shader, "b4", 4)[3], 11);
        EXPECT_EQ(uniform(shader, "c4", 4)[3], 12);
        EXPECT_THAT(uniform(shader, "m2", 4), ElementsAre(1, 0, 0, 1));
        EXPECT_EQ(uniform(shader, "m3", 9)[8], 1);
        EXPECT_EQ(uniform(shader, "m4", 16)[15], 1);
    }
    // The first map wins.
    (*shader)["b1"] = 99.0F;
    shader->prepare(*polyp);
    EXPECT_THAT(uniform(shader, "b1", 1), ElementsAre(99));
    glUseProgram(0);
}

TEST_P(GLProgramTest, TellsItsUniforms) {
    const auto shader = withUniforms("uniform float used; uniform float unused;\n"
                                     "uniform Block { vec4 inBlock; };",
                                     "used + inBlock.x");
    EXPECT_TRUE(shader->hasUniform("used"));
    EXPECT_TRUE(shader->hasUniform("inBlock"));
    EXPECT_FALSE(shader->hasUniform("unused"));
    EXPECT_FALSE(shader->hasUniform(""));
    EXPECT_GE(shader->uniformLocation("used"), 0);
    EXPECT_EQ(shader->uniformLocation("inBlock"), -1);
    EXPECT_EQ(shader->uniformLocation("unused"), -1);
    EXPECT_NE(shader->nativeHandle(), 0U);
}

TEST_P(GLProgramTest, TellsTheCurrentView) {
    fillPicture(
        withUniforms("uniform int zelk_CurrentViewID;", "vec4(float(zelk_CurrentViewID) / 255.0)"));
    wave();
    EXPECT_EQ(center()[0], 0);
    basin->factory().setCurrentView(3);
    wave();
    EXPECT_EQ(center()[0], 3);
}

/// A triangle of half the picture where the matrices of the fixed-function pipeline put it.
constexpr const char* fixedVertex = "#version 130\n"
                                    "void main() {\n"
                                    "    gl_Position = gl_ModelViewProjectionMatrix * gl_Vertex;\n"
                                    "}\n";

TEST_P(GLProgramTest, FixedFunctionNamesHaveTheMatricesOfTheFactory) {
    // x doubled by one, moved by 0.5 by the other: the square of -1 to 0 goes to -1 to 1.
    const GLFactory::Matrix projection{2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const GLFactory::Matrix modelView{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0.5, 0, 0, 1};
    const auto shader = program(fixedVertex, "#version 130\n"
                                             "void main() { gl_FragColor = vec4(1.0); }\n");
    polyp->insert(shader);
    insertDrawn(coordinates({{-1, -1, 0}, {0, -1, 0}, {-1, 1, 0}, {0, 1, 0}}),
                RenderNamespace::TriangleStrip);
    wave();
    EXPECT_EQ(drawnPixels(), size * size / 2);
    clear();
    basin->factory().setMatrices(projection, modelView);
    waveKeepingState();
    EXPECT_EQ(drawnPixels(), size * size);
    clear();
    basin->factory().setMatrices(modelView, projection);
    wave();
    // -1 to 0 goes to -2 to 0 and then to -1.5 to 0.5.
    EXPECT_EQ(drawnPixels(), size * size * 3 / 4);
}

TEST_P(GLProgramTest, TwoBasinsOfAContextDoNotDisturbEachOthersMatrices) {
    GLRenderBasin other(*context, Keel::WeakPtr<Seagrass>());
    const GLFactory::Matrix nothing{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    other.factory().setMatrices(nothing, nothing);
    const std::string fragment = "#version 130\nvoid main() { gl_FragColor = vec4(1.0); }\n";
    fillPicture(program(fixedVertex, fragment));
    wave();
    const auto foreign = other.createProgram(fixedVertex, fragment, "v", "f", 1U, 1U, {}, {});
    foreign->activate(*polyp);
    foreign->prepare(*polyp);
    foreign->deactivate(*polyp);
    clear();
    waveKeepingState();
    EXPECT_EQ(drawnPixels(), size * size);
}

TEST_P(GLProgramTest, TheNormalMatrixFitsTheModelView) {
    const GLFactory::Matrix identity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const GLFactory::Matrix stretched{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 4, 0, 9, 9, 9, 1};
    basin->factory().setMatrices(identity, stretched);
    fillPicture(program("#version 130\n"
                        "out vec3 normal;\n"
                        "void main() {\n"
                        "    normal = gl_NormalMatrix * vec3(1.0, 0.0, 1.0);\n"
                        "    gl_Position = gl_Vertex;\n"
                        "}\n",
                        "#version 130\n"
                        "in vec3 normal;\n"
                        "void main() { gl_FragColor = vec4(normal, 1.0); }\n"));
    wave();
    EXPECT_EQ(center(), (Color{255, 0, 64, 255}));
}

TEST_P(GLProgramTest, ClipDistancesOfTextThatIsLeftOutAreNotEnabled) {
    const auto enablesClipping = [&](const std::string& body) {
        polyp = PolypPtr(new Polyp({}));
        polyp->insert(program("#version 330\nin vec3 Coordinates;\n" + body +
                                  "void main() { cut(); gl_Position = vec4(Coordinates, 1.0); }\n",
                              colorFragment),
                      0);
        bool isEnabled = false;
        polyp->insertTentacle(30000, probe([&](const Polyp&) {
                                  isEnabled = glIsEnabled(GL_CLIP_DISTANCE0);
                                  return true;
                              }));
        polyp->wave(~Mirk::Activity_t{0});
        return isEnabled;
    };
    const std::string writes = "void cut() { gl_ClipDistance[0] = gl_ClipDistance[1] = 1.0; }\n";
    const std::string doesNot = "void cut() {}\n";
    EXPECT_TRUE(enablesClipping(writes));
    EXPECT_FALSE(enablesClipping("#ifdef CLIPPED\n" + writes + "#else\n" + doesNot + "#endif\n"));
    EXPECT_TRUE(enablesClipping("#define CLIPPED\n#ifdef CLIPPED\n" + writes + "#else\n" + doesNot +
                                "#endif\n"));
}

TEST_P(GLProgramTest, ClipDistancesAreEnabledForProgramsThatWriteThem) {
    const std::string clipped = "#version 330\n"
                                "in vec3 Coordinates;\n"
                                "void main() {\n"
                                "    gl_Position = vec4(Coordinates, 1.0);\n"
                                "    gl_ClipDistance[0] = Coordinates.x;\n"
                                "    gl_ClipDistance[1] = 1.0;\n"
                                "}\n";
    polyp->insert(program(clipped, colorFragment), 0);
    insertDrawn(fullPicture(), RenderNamespace::TriangleStrip);
    waveKeepingState();
    EXPECT_EQ(pixel(16, 32), black);
    EXPECT_EQ(pixel(48, 32), white);
    // The next program does not write them.
    const std::string commented = "#version 330\n"
                                  "in vec3 Coordinates;\n"
                                  "// gl_ClipDistance is left alone\n"
                                  "void main() { gl_Position = vec4(Coordinates, 1.0); }\n";
    const auto second = polyp->insert(program(commented, colorFragment), 1);
    (*second)["color"] = Skua::FixedArray<float, 4>{0, 1, 0, 1};
    bool isEnabled = true;
    polyp->insertTentacle(30000, probe([&](const Polyp&) {
                              isEnabled = glIsEnabled(GL_CLIP_DISTANCE0);
                              return true;
                          }));
    waveKeepingState();
    EXPECT_FALSE(isEnabled);
    EXPECT_EQ(pixel(16, 32), green);
    EXPECT_EQ(pixel(48, 32), green);
}

TEST_P(GLProgramTest, PointsHaveTheSizeThatTheProgramWrites) {
    const std::string sized = "#version 330\n"
                              "in vec3 Coordinates;\n"
                              "void main() {\n"
                              "    gl_Position = vec4(Coordinates, 1.0);\n"
                              "    gl_PointSize = 8.0;\n"
                              "}\n";
    // Left half of the point red, right half blue.
    const std::string halves = "#version 330\n"
                               "out vec4 result;\n"
                               "void main() {\n"
                               "    result = gl_PointCoord.x < 0.5 ? vec4(1.0, 0.0, 0.0, 1.0)\n"
                               "                                   : vec4(0.0, 0.0, 1.0, 1.0);\n"
                               "}\n";
    polyp->insert(program(sized, halves), 0);
    insertDrawn(coordinates({{0, 0, 0}}), RenderNamespace::Points);
    waveKeepingState();
    EXPECT_EQ(drawnPixels(), 8 * 8);
    EXPECT_EQ(pixel(30, 32), red);
    EXPECT_EQ(pixel(33, 32), blue);
    // Whatever the caller has set, a program that writes no size draws points of one pixel.
    polyp->clear();
    polyp->insert(program(passVertex, colorFragment));
    insertDrawn(coordinates({{0, 0, 0}}), RenderNamespace::Points);
    glEnable(GL_PROGRAM_POINT_SIZE);
    clear();
    waveKeepingState();
    glDisable(GL_PROGRAM_POINT_SIZE);
    EXPECT_EQ(drawnPixels(), 1);
}

TEST_P(GLProgramTest, TwoProgramsDrawTheSameVertices) {
    const auto one = polyp->insert(program(passVertex, colorFragment), 0);
    const auto two = polyp->insert(program(passVertex, colorFragment), 1);
    (*one)["color"] = Skua::FixedArray<float, 4>{1, 0, 0, 0};
    (*two)["color"] = Skua::FixedArray<float, 4>{0, 0, 1, 0};
    insertDrawn(fullPicture(), RenderNamespace::TriangleStrip);
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE);
    waveKeepingState();
    glDisable(GL_BLEND);
    EXPECT_EQ(center(), (Color{255, 0, 255, 255}));
}

TEST_P(GLProgramTest, TheSameProgramTwiceLeavesNothingBehind) {
    const auto shader = fillPicture(program(passVertex, colorFragment));
    polyp->insert(shader, 1);
    EXPECT_EQ(waveKeepingState(), 4);
}

TEST_P(GLProgramTest, PlatformDefinesTellVendorAndVersion) {
    const std::string defines = basin->getShaderPlatformDefines();
    EXPECT_THAT(defines, HasSubstr("#define ZELK_GL_VENDOR_"));
    EXPECT_THAT(defines, HasSubstr("#define ZELK_GL_VERSION 4"));
    EXPECT_THAT(defines, Not(HasSubstr(",")));
    fillPicture(program(passVertex, "#version 330\n"
                                    "out vec4 result;\n"
                                    "void main() {\n"
                                    "#if ZELK_GL_VERSION >= 450\n"
                                    "    result = vec4(1.0);\n"
                                    "#endif\n"
                                    "}\n"));
    wave();
    EXPECT_EQ(center(), white);
}

POLYPIA_BOTH_PROFILES(GLProgramTest);

} // namespace
