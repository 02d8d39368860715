#pragma once
// What tests of the backend's tentacles stand on: a basin with a picture to draw into.

#include "glFixture.hpp"

#include <Polypia/Polypia.hpp>
#include <PolypiaGL/GLFactory.hpp>
#include <PolypiaGL/GLFramebuffer.hpp>
#include <PolypiaGL/GLRenderException.hpp>
#include <PolypiaGL/glErrors.hpp>
#include <PolypiaGL/glHeaders.hpp>

#include <gmock/gmock.h>

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Mirk::GLTest {

using FloatPoint = Skua::Coordinates<Skua::Cartesian3D, float>::point;
using Color = std::array<int, 4>;
using PolypPtr = Keel::StrongPtr<Polyp, Keel::Cacheable>;

constexpr int size = 64; // of the picture, in pixels
constexpr Color black{0, 0, 0, 255};
constexpr Color red{255, 0, 0, 255};
constexpr Color green{0, 255, 0, 255};
constexpr Color blue{0, 0, 255, 255};
constexpr Color white{255, 255, 255, 255};

template<class T>
RenderBasin::ChunkPtr chunk(std::vector<T> elements) {
    return RenderBasin::ChunkPtr(new Keel::Chunk<T>(std::move(elements)));
}

template<class T>
std::vector<T> elements(const RenderBasin::ChunkPtr& data) {
    if (!data || data->elementType() != typeid(T)) return {};
    const T* const first = static_cast<const T*>(data->data());
    return std::vector<T>(first, first + data->numberOfElements());
}

/// The state of the context that a wave has to leave as it was.
inline std::map<std::string, int> currentState() {
    std::map<std::string, int> state;
    const auto ask = [&](const char* name, GLenum key) { glGetIntegerv(key, &state[name]); };
    ask("program", GL_CURRENT_PROGRAM);
    ask("vertex array", GL_VERTEX_ARRAY_BINDING);
    ask("array buffer", GL_ARRAY_BUFFER_BINDING);
    ask("draw framebuffer", GL_DRAW_FRAMEBUFFER_BINDING);
    ask("read framebuffer", GL_READ_FRAMEBUFFER_BINDING);
    ask("active texture", GL_ACTIVE_TEXTURE);
    ask("blend source", GL_BLEND_SRC_RGB);
    ask("blend target", GL_BLEND_DST_RGB);
    ask("blend source alpha", GL_BLEND_SRC_ALPHA);
    ask("blend target alpha", GL_BLEND_DST_ALPHA);
    state["blend"] = glIsEnabled(GL_BLEND);
    state["clip distance 0"] = glIsEnabled(GL_CLIP_DISTANCE0);
    state["clip distance 1"] = glIsEnabled(GL_CLIP_DISTANCE1);
    state["point size by program"] = glIsEnabled(GL_PROGRAM_POINT_SIZE);
    state["depth test"] = glIsEnabled(GL_DEPTH_TEST);
    state["cull face"] = glIsEnabled(GL_CULL_FACE);
    state["polygon offset"] = glIsEnabled(GL_POLYGON_OFFSET_FILL);
    state["restart"] = glIsEnabled(GL_PRIMITIVE_RESTART_FIXED_INDEX);
    for (unsigned unit = 0; unit < 8; ++unit) {
        const std::string name = "texture of unit " + std::to_string(unit);
        for (const auto& [suffix, binding] : std::array<std::pair<const char*, GLenum>, 3>{
                 {{" 1D", GL_TEXTURE_BINDING_1D},
                  {" 2D", GL_TEXTURE_BINDING_2D},
                  {" buffer", GL_TEXTURE_BINDING_BUFFER}}}) {
            glGetIntegeri_v(binding, unit, &state[name + suffix]);
        }
    }
    return state;
}

/// Empty if the state is as it was.
inline std::string changesSince(const std::map<std::string, int>& before) {
    std::string changes;
    for (const auto& [name, value] : currentState()) {
        const int old = before.at(name);
        if (value == old) continue;
        changes += name + " " + std::to_string(old) + " -> " + std::to_string(value) + "\n";
    }
    return changes;
}

/// A tentacle for the gaps between others: tells when it is passed.
class Probe : public Polyp::SpecializedTentacle<0> {
public:
    using Report = std::function<bool(const Polyp&)>;

    explicit Probe(Report onActivate, Report onDeactivate = {})
        : _activate(std::move(onActivate)), _deactivate(std::move(onDeactivate)) {}

    bool activate(const Polyp& polyp) override { return _activate(polyp); }
    bool deactivate(const Polyp& polyp) override { return !_deactivate || _deactivate(polyp); }

private:
    Report _activate;
    Report _deactivate;
};

inline Polyp::TentaclePtr probe(Probe::Report onActivate, Probe::Report onDeactivate = {}) {
    return Polyp::TentaclePtr(new Probe(std::move(onActivate), std::move(onDeactivate)));
}

// Texts of stages that many tests use.
inline const std::string passVertex = "#version 330\n"
                                      "in vec3 Coordinates;\n"
                                      "void main() {\n"
                                      "    gl_Position = vec4(Coordinates, 1.0);\n"
                                      "}\n";
inline const std::string colorFragment = "#version 330\n"
                                         "uniform vec4 color = vec4(1.0);\n"
                                         "out vec4 result;\n"
                                         "void main() { result = color; }\n";

/// A context with a basin and a black picture. At the end no object of the context may live and no
/// error wait.
class BasinTest : public testing::Test {
protected:
    virtual EglContext::Options options() const { return {}; }

    void SetUp() override {
        testing::FLAGS_gtest_death_test_style = "threadsafe";
        std::string reason;
        context = tryContext(options(), reason);
        if (!context) POLYPIA_NO_CONTEXT(reason);
        context->makeCurrent();
        basin = std::make_unique<GLRenderBasin>(*context, Keel::WeakPtr<Seagrass>());
        picture = std::make_unique<GLFramebuffer>(*context, size, size, 1);
        picture->bind();
        clear();
        polyp = PolypPtr(new Polyp({}));
    }

    void TearDown() override {
        if (!context) return;
        polyp = {};
        basin.reset();
        picture.reset();
        for (const GL::Error& error : GL::drainErrors("the test")) ADD_FAILURE() << error.text();
        EXPECT_EQ(context->ledger()->report(), "");
    }

    void clear() const { picture->clear({0.0F, 0.0F, 0.0F, 1.0F}); }

    std::vector<std::uint8_t> pixels() const {
        std::vector<std::uint8_t> bytes(std::size_t{size} * size * 4);
        picture->readColors(bytes);
        return bytes;
    }
    Color pixel(int x, int y) const {
        const std::vector<std::uint8_t> all = pixels();
        const auto first = static_cast<std::size_t>((y * size + x) * 4);
        return {all[first], all[first + 1], all[first + 2], all[first + 3]};
    }
    Color center() const { return pixel(size / 2, size / 2); }
    /// Pixels that are not black.
    int drawnPixels() const {
        const std::vector<std::uint8_t> all = pixels();
        int number = 0;
        for (std::size_t i = 0; i < all.size(); i += 4) {
            if (all[i] != 0 || all[i + 1] != 0 || all[i + 2] != 0) ++number;
        }
        return number;
    }

    RenderBasin::ProgramPtr program(const std::string& vertex, const std::string& fragment) const {
        return basin->createProgram(vertex, fragment, "test.vert", "test.frag", 1U, 1U, {}, {});
    }
    RenderBasin::ProgramPtr compute(const std::string& code) const {
        return basin->createComputeProgram({code}, "test.comp", 1, {}, {});
    }
    RenderBasin::VertexAttributePtr coordinates(const std::vector<FloatPoint>& points) const {
        return basin->createCoordinates(chunk(points), "Coordinates");
    }
    /// Two triangles of a strip that cover the picture.
    RenderBasin::VertexAttributePtr fullPicture() const {
        return coordinates({{-1, -1, 0}, {1, -1, 0}, {-1, 1, 0}, {1, 1, 0}});
    }
    /// Inserts an attribute and its painter.
    RenderBasin::PainterPtr insertDrawn(const RenderBasin::VertexAttributePtr& attribute,
                                        RenderNamespace::Primitive primitive) const {
        polyp->insert(attribute);
        return polyp->insert(attribute->createPainter(primitive));
    }
    /// A polyp that fills the picture by this program.
    RenderBasin::ProgramPtr fillPicture(const RenderBasin::ProgramPtr& painted) const {
        polyp->insert(painted);
        insertDrawn(fullPicture(), RenderNamespace::TriangleStrip);
        return painted;
    }
    int wave() const { return polyp->wave(~0U); }
    /// The wave must leave the state as it was.
    int waveKeepingState() const {
        const auto before = currentState();
        const int count = wave();
        EXPECT_EQ(changesSince(before), "");
        return count;
    }

    std::unique_ptr<EglContext> context;
    std::unique_ptr<GLRenderBasin> basin;
    std::unique_ptr<GLFramebuffer> picture;
    PolypPtr polyp;
};

inline std::string profileName(const testing::TestParamInfo<GL::Profile>& info) {
    return info.param == GL::Profile::Core ? "Core" : "Compatibility";
}

/// The same in the profile of the parameter.
class BasinTestInProfile : public BasinTest, public testing::WithParamInterface<GL::Profile> {
protected:
    EglContext::Options options() const override {
        EglContext::Options chosen;
        chosen.profile = GetParam();
        return chosen;
    }
};

#define POLYPIA_BOTH_PROFILES(fixture)                                                             \
    INSTANTIATE_TEST_SUITE_P(Profiles, fixture,                                                    \
                             testing::Values(GL::Profile::Core, GL::Profile::Compatibility),       \
                             Mirk::GLTest::profileName)

} // namespace Mirk::GLTest
