// Whole frames: where things are in the pictures of several eyes, of tiles and of a zoom.

#include "glRenderFixture.hpp"
#include "quad.hpp"

#include <Polypia/VSceneObjects.hpp>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <numbers>
#include <ostream>
#include <string>
#include <vector>

using namespace Mirk;
using namespace Mirk::GLTest;
using Eye = GLRenderContext::Eye;
using Point = View::point;
using Vector = View::vector;

namespace {

/// Of bytes for red, green, blue and alpha, row 0 at the bottom.
struct Picture {
    Picture(int widthPixels, int heightPixels)
        : width(widthPixels),
          height(heightPixels),
          bytes(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4) {}

    std::uint8_t* at(int x, int y) {
        return bytes.data() + 4 * (static_cast<std::ptrdiff_t>(y) * width + x);
    }
    /// A part of it, from its lower left corner.
    Picture part(int x, int y, int partWidth, int partHeight) {
        Picture result(partWidth, partHeight);
        for (int row = 0; row < partHeight; ++row) {
            std::copy_n(at(x, y + row), std::ptrdiff_t{4} * partWidth, result.at(0, row));
        }
        return result;
    }
    void put(int x, int y, Picture&& part) {
        for (int row = 0; row < part.height; ++row) {
            std::copy_n(part.at(0, row), std::ptrdiff_t{4} * part.width, at(x, y + row));
        }
    }
    bool operator==(const Picture& other) const { return bytes == other.bytes; }
    friend void PrintTo(const Picture& picture, std::ostream* stream) {
        *stream << picture.width << " x " << picture.height << " pixels";
    }

    int width;
    int height;
    std::vector<std::uint8_t> bytes;
};

int differingPixels(const Picture& a, const Picture& b) {
    int number = 0;
    for (std::size_t i = 0; i < a.bytes.size(); i += 4) {
        if (!std::equal(a.bytes.data() + i, a.bytes.data() + i + 4, b.bytes.data() + i)) ++number;
    }
    return number;
}

/// A spot around the place where a point is seen, that fades out towards a radius in pixels.
class Dot : public RenderAble {
public:
    Dot() : VObject("dot", 0, {}), RenderAble("dot", 0, {}) {}
    ~Dot() override {
        const Keel::StrongPtr<Seagrass> live(_seagrass);
        if (live) live->scheduleDeletion(std::move(_polyp));
    }

    using RenderAble::environment_render;
    bool environment_render(VRenderContext& context) const override {
        if (!_polyp || !context.isValid(*_polyp)) fill(context);
        RenderBasin::Program& program = *RenderBasin::ProgramPtr(_program);
        program["Place"] = Skua::FixedArray<float, 3>{
            static_cast<float>(place.x), static_cast<float>(place.y), static_cast<float>(place.z)};
        const auto pixels = context.getViewport(0);
        program["Reach"] =
            Skua::FixedArray<float, 2>{2.0F * radiusPixels / static_cast<float>(pixels[2]),
                                       2.0F * radiusPixels / static_cast<float>(pixels[3])};
        context.updateTranslatedViews(*_polyp, {0, 0, 0}, 0);
        return _polyp->wave(~0U) >= 0;
    }
    BoundingBallPtr getBoundingBall(const ValuePoolPtr&) const override { return {}; }

    static constexpr float radiusPixels = 50;
    Point place;

private:
    void fill(VRenderContext& context) const {
        _seagrass = context.getSeagrass();
        _polyp = PolypPtr(new Polyp(Keel::WeakPtr<Keel::Creature>()));
        const std::string views = context.defineMultiView(context.EyeViews.size(), true, 0);
        const auto program =
            context.createProgram("#version 330\n#define VERTEX_SHADER 1\n" + views + R"(
uniform vec3 Place;
uniform vec2 Reach;
out vec2 fromMiddle;
void main() {
    zelk_setViewID();
    fromMiddle = vec2(gl_VertexID & 1, gl_VertexID >> 1) * 2.0 - 1.0;
    gl_Position = multiview_transform(mkRelativeVertex(vec4(Place, 1.0)));
    gl_Position.xy += fromMiddle * Reach * gl_Position.w;
}
)",
                                  R"(#version 330
in vec2 fromMiddle;
out vec4 color;
void main() {
    float inside = max(0.0, 1.0 - dot(fromMiddle, fromMiddle));
    color = vec4(vec3(inside * inside), 1.0);
}
)",
                                  "dot.vert", "dot.frag", 1, 1, {}, {});
        completePolyp(*_polyp, context, program, context.createPainter(TriangleStrip, 4));
        _program = program;
    }

    mutable PolypPtr _polyp;
    mutable Keel::WeakPtr<RenderBasin::Program, Polyp::Tentacle> _program;
    mutable Keel::WeakPtr<Seagrass> _seagrass;
};

class FramePictures : public RenderTest {
protected:
    void TearDown() override {
        kept.clear();
        endContext();
        targets.clear();
        RenderTest::TearDown();
    }

    template<class Object>
    Keel::StrongPtr<Object, VManagedObjectBase> add(Object* made) {
        const Keel::StrongPtr<Object, VManagedObjectBase> object(made);
        objects.insert(0, object);
        kept.push_back(object);
        return object;
    }
    void addQuad(const Rectangle& rectangle, const Skua::FixedArray<float, 4>& color) {
        const auto quad = add(new Quad("quad" + std::to_string(kept.size())));
        quad->rectangle = rectangle;
        quad->color = color;
    }
    /// Rectangles that overlap, each so far above the one before. Their edges are on corners of
    /// pixels if a unit is a pixel of a picture of an even size.
    void addQuads(double step) {
        addQuad({-29, -21, 13, 7, 0}, {1, 0, 0, 1});
        addQuad({-3, -27, 22, 30, step}, {0, 1, 0.25F, 1});
        addQuad({1, 1, 11, 3, 2 * step}, {0.5F, 0.5F, 1, 1});
        addQuad({-30, 5, -12, 6, 3 * step}, {1, 1, 1, 1});
    }

    /// The pictures of the eyes, all of the same size.
    std::vector<Picture> draw(const std::vector<Eye>& eyes, int width, int height) {
        targets.clear();
        std::vector<const GLFramebuffer*> addresses;
        for (std::size_t i = 0; i < eyes.size(); ++i) {
            targets.push_back(std::make_unique<GLFramebuffer>(*glContext, width, height, 1));
            targets.back()->clear({0, 0, 0, 1});
            addresses.push_back(targets.back().get());
        }
        context->setTargets(addresses);
        context->setEyes(eyes);
        double seconds = 0;
        EXPECT_EQ(objects.render(*context, seconds, INT_MIN, INT_MAX), GLRenderContext::Drew);
        std::vector<Picture> pictures;
        for (const auto& target : targets) {
            pictures.emplace_back(width, height);
            target->finish();
            target->readColors(pictures.back().bytes);
        }
        return pictures;
    }
    Picture drawOne(const Eye& eye, int width, int height) {
        return draw({eye}, width, height).front();
    }

    std::vector<std::unique_ptr<GLFramebuffer>> targets;
    std::vector<RenderAblePtr> kept;
    VSceneObjects objects;
};

/// Sees so many units of the ground from bottom to top.
Eye eyeAbove(double unitsHigh, bool orthographic) {
    Eye eye = eyeFromAbove();
    eye.camera.fieldOfView = 2.0 * std::atan(unitsHigh / 2.0 / 100.0) * 180.0 / std::numbers::pi;
    eye.orthographic = orthographic;
    return eye;
}

// ---------------------------------------------------------------------------- Eyes

class EyesTest : public FramePictures, public testing::WithParamInterface<int> {};

TEST_P(EyesTest, EachSeesWhatItSeesAlone) {
    addQuads(10);
    std::vector<Eye> eyes;
    for (int i = 0; i < GetParam(); ++i) {
        Eye eye = eyeAbove(64, false);
        eye.camera.position = {3, -40, 90};
        eye.separation = 0.07 * (i - 0.5 * (GetParam() - 1));
        eye.toeIn = i % 2 == 1;
        eyes.push_back(eye);
    }
    const std::vector<Picture> together = draw(eyes, 64, 64);
    for (std::size_t i = 0; i < eyes.size(); ++i) {
        EXPECT_EQ(together[i], drawOne(eyes[i], 64, 64)) << "eye " << i;
        if (i > 0) {
            EXPECT_NE(together[i], together[i - 1]);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Number, EyesTest, testing::Values(1, 2, 5));

struct StereoCase {
    const char* name;
    bool toeIn;
    double separation;
};
class StereoTest : public FramePictures, public testing::WithParamInterface<StereoCase> {
protected:
    StereoTest() {
        eye.camera.position = {3, -4, 5};
        eye.camera.lookAt = {0.5, 0.25, -0.25};
        eye.camera.up = {0.125, 0.25, 1};
        eye.camera.fieldOfView = 50;
        eye.near = 0.5;
        eye.far = 50;
        eye.focus = 6;
        eye.toeIn = GetParam().toeIn;
        eye.separation = GetParam().separation;
    }

    static double dot(const Vector& a, const Vector& b) {
        return a.x * b.x + a.y * b.y + a.z * b.z;
    }
    static Vector cross(const Vector& a, const Vector& b) {
        return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
    }
    static Vector unit(const Vector& v) { return v * (1.0 / std::sqrt(dot(v, v))); }

    /// Directions of a camera: to the right, up, and where it looks.
    struct Directions {
        Directions(const Point& from, const Point& to, const Vector& up)
            : ahead(unit(to - from)), right(unit(cross(ahead, up))), upwards(cross(right, ahead)) {}
        Vector ahead, right, upwards;
    };

    /// Where a point is seen, in pixels from the lower left corner of the picture: where the line
    /// from the eye to it meets the window that the eye looks through. Eyes that look in parallel
    /// have one window, in the middle between them at the distance of the focus; an eye that is
    /// turned to the point that it looks at has its own.
    std::array<double, 2> seen(const Point& point) const {
        const VCamera& camera = eye.camera;
        const Directions middle(camera.position, camera.lookAt, camera.up);
        const Vector toLookAt = camera.lookAt - camera.position;
        const double aside = eye.separation * std::sqrt(dot(toLookAt, toLookAt));
        const Point place = camera.position + middle.right * aside;
        const Directions own = eye.toeIn ? Directions(place, camera.lookAt, camera.up) : middle;
        const Vector toPoint = point - place;
        const double atWindow = eye.focus / dot(toPoint, own.ahead);
        const double x = dot(toPoint, own.right) * atWindow + (eye.toeIn ? 0.0 : aside);
        const double y = dot(toPoint, own.upwards) * atWindow;
        const double unitsHigh =
            2.0 * eye.focus * std::tan(camera.fieldOfView / 2.0 * std::numbers::pi / 180.0);
        const double pixelsPerUnit = height / unitsHigh;
        return {width / 2.0 + x * pixelsPerUnit, height / 2.0 + y * pixelsPerUnit};
    }
    /// The middle of the light of all pixels.
    static std::array<double, 2> middleOf(Picture& picture) {
        double x = 0, y = 0, light = 0;
        for (int row = 0; row < picture.height; ++row) {
            for (int column = 0; column < picture.width; ++column) {
                const double red = *picture.at(column, row);
                x += (column + 0.5) * red;
                y += (row + 0.5) * red;
                light += red;
            }
        }
        return {x / light, y / light};
    }

    static constexpr int width = 320, height = 256;
    Eye eye;
};

TEST_P(StereoTest, PointsAreDrawnWhereTheEyeSeesThem) {
    const auto dotObject = add(new Dot);
    for (const Point& point :
         {Point{0.5, 0.25, -0.25}, Point{0, 0, 0}, Point{1, -1, 1}, Point{-2, 3, -2.5},
          Point{0.25, 1.5, -0.75}, Point{1.5, 0.5, 0.125}}) {
        dotObject->place = point;
        const std::array<double, 2> expected = seen(point);
        for (const double place :
             {expected[0], width - expected[0], expected[1], height - expected[1]}) {
            ASSERT_GT(place, Dot::radiusPixels + 1) << "the spot has to be in the picture";
        }
        // Among the two eyes of a frame, so that it is the view of this one that counts.
        Picture picture = draw({eyeFromAbove(), eye}, width, height)[1];
        const std::array<double, 2> found = middleOf(picture);
        // Rounding the light of 7854 pixels to steps of 1/255 moves their middle by 0.002 pixels,
        // and drivers place vertices in steps of 1/256 of a pixel.
        EXPECT_NEAR(found[0], expected[0], 0.01) << testing::PrintToString(point.x);
        EXPECT_NEAR(found[1], expected[1], 0.01) << testing::PrintToString(point.x);
    }
}

INSTANTIATE_TEST_SUITE_P(, StereoTest,
                         testing::Values(StereoCase{"Middle", false, 0},
                                         StereoCase{"OffAxisLeft", false, -0.03},
                                         StereoCase{"OffAxisRight", false, 0.05},
                                         StereoCase{"ToeInLeft", true, -0.03},
                                         StereoCase{"ToeInRight", true, 0.05}),
                         [](const auto& stereo) { return std::string(stereo.param.name); });

// ---------------------------------------------------------------------------- Tiles and zoom

struct TilesCase {
    const char* name;
    int columns, rows;
    bool orthographic;
};
class TilesTest : public FramePictures, public testing::WithParamInterface<TilesCase> {};

TEST_P(TilesTest, PutTogetherAreTheWholePicture) {
    constexpr int imageWidth = 66, imageHeight = 60;
    const TilesCase& param = GetParam();
    addQuads(0);
    const Eye eye = eyeAbove(imageHeight, param.orthographic);
    const Picture whole = drawOne(eye, imageWidth, imageHeight);
    EXPECT_NE(whole, Picture(imageWidth, imageHeight));
    context->imageWidth = imageWidth;
    context->imageHeight = imageHeight;
    context->tileWidth = imageWidth / param.columns;
    context->tileHeight = imageHeight / param.rows;
    Picture together(imageWidth, imageHeight);
    for (context->tileY = 0; context->tileY < param.rows; ++context->tileY) {
        for (context->tileX = 0; context->tileX < param.columns; ++context->tileX) {
            const int width = context->tileWidth, height = context->tileHeight;
            together.put(context->tileX * width, context->tileY * height,
                         drawOne(eye, width, height));
        }
    }
    EXPECT_EQ(together, whole) << differingPixels(together, whole) << " pixels differ";
}

INSTANTIATE_TEST_SUITE_P(, TilesTest,
                         testing::Values(TilesCase{"TwoByTwo", 2, 2, true},
                                         TilesCase{"TwoByTwoInPerspective", 2, 2, false},
                                         TilesCase{"ThreeByFive", 3, 5, true},
                                         TilesCase{"ThreeByFiveInPerspective", 3, 5, false}),
                         [](const auto& tiles) { return std::string(tiles.param.name); });

TEST_F(FramePictures, ZoomOfTwoIsAPartOfAPictureOfTwiceTheSize) {
    addQuads(10);
    Eye eye = eyeAbove(64, false);
    eye.camera.position = {30, -40, 90};
    Picture large = drawOne(eye, 128, 128);
    constexpr int x = 40, y = 24; // of the part, in pixels of the large picture
    context->zoom = {2, x / 128.0, y / 128.0};
    const Picture zoomed = drawOne(eye, 64, 64);
    const Picture part = large.part(x, y, 64, 64);
    EXPECT_NE(zoomed, Picture(64, 64));
    // Both have the same rays, rounded to single precision each in its own way, and drivers place
    // vertices in steps of 1/256 of a pixel: a pixel may differ if an edge passes its middle by
    // less than that, which is about one in a hundred of the 300 at edges.
    EXPECT_LE(differingPixels(zoomed, part), 6);
}

} // namespace
