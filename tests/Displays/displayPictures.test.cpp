// Display objects on the driver: questions to their pictures.

#include "displayPictures.hpp"

#include "../keel/countedNew.hpp"

#include <Displays/ElementBoxes.hpp>
#include <Displays/horizon.hpp>
#include <sorrel/Vprintf.hpp>

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <random>
#include <string>
#include <utility>
#include <vector>

using namespace Pictures;

namespace {

SharedBoundingBox sharedBox(const point& low, const point& high) {
    return SharedBoundingBox(
        Keel::StrongPtr<Skua::BoundingBox, Keel::InterfaceBase>(new Skua::BoundingBox(low, high)));
}

TEST_F(DisplayPictures, TriangleIsWhereItIsInTheColourOfItsLight) {
    add<TriangleSurface>(triangle({0, 0, 0}, 1.0, {255, 128, 0, 255}));
    const Image image = draw(eyeAt({0, 0, 2}, 1, 10));
    // The light comes from above the left shoulder, and the plane faces the eye.
    const double lightZ = 1.0 / std::sqrt(0.5 * 0.5 + 0.6 * 0.6 + 1.0);
    const double lit = 0.25 + 0.65 * lightZ + 0.15;
    const double shine = 0.18 * std::pow(lightZ, 32);
    const Pixel middle = image.at(32, 32);
    EXPECT_NEAR(middle[0], std::min(255.0, 255 * (lit + shine)), 1);
    EXPECT_NEAR(middle[1], 128 * lit + 255 * shine, 1);
    EXPECT_NEAR(middle[2], 255 * shine, 1);
    // 16 pixels to the unit: an area of 32 by 32 halves.
    EXPECT_NEAR(image.drawnPixels(), 512, 32);
    EXPECT_TRUE(image.isDrawn(18, 17));
    EXPECT_FALSE(image.isDrawn(18, 46));
}

TEST_F(DisplayPictures, FlatTriangleHasOneColorThroughAnyLens) {
    const auto surface = add<TriangleSurface>();
    const auto through = [&](double angle) {
        const double w = 4000.0 * std::tan(angle * std::numbers::pi / 360.0);
        const Color gray{200, 200, 200, 255};
        surface->surface().set({}, mesh({{-w, -w, -0.5 * w}, {w, -w, 0.3 * w}, {0, w, 0.1 * w}},
                                        {0, 1, 2}, {gray, gray, gray}));
        Eye eye = eyeAt({0, 0, 1000}, 900, 1100);
        eye.camera.lookAt = {0, 0, 0};
        eye.camera.fieldOfView = angle;
        return draw(eye);
    };
    const Pixel expected = through(1.0).at(32, 32);
    for (const double angle : {0.1, 0.01, 0.001}) {
        const Image image = through(angle);
        const Pixel middle = image.at(32, 32);
        EXPECT_NEAR(middle[0], expected[0], 1) << angle << " degrees";
        for (int i = 0; i < size * size; ++i) {
            const Pixel pixel = image.at(i % size, i / size);
            ASSERT_NEAR(pixel[0], middle[0], 1) << angle << " degrees, pixel " << i;
        }
    }
}

TEST_F(DisplayPictures, LightTurnsWithTheEye) {
    const auto facing = add<TriangleSurface>(triangle({0, 0, 0}, 1.0, {200, 200, 200, 255}));
    const Pixel upright = draw(eyeAt({0, 0, 2}, 1, 10)).at(32, 32);
    Eye turned = eyeAt({0, 0, 2}, 1, 10);
    turned.camera.up = {1, 0, 0};
    EXPECT_EQ(draw(turned).at(32, 32), upright);
    // Seen from below the plane gets less of the light.
    Eye below = eyeAt({0, -2, 1}, 1, 10);
    below.camera.lookAt = {0, 0, 0};
    below.camera.up = {0, 0, 1};
    const Pixel slanted = draw(below).at(32, 32);
    EXPECT_GT(std::abs(slanted[0] - upright[0]), 3);
}

TEST_F(DisplayPictures, PlainMeshHasTheColourOfItsInput) {
    TriangleMesh data = triangle({0, 0, 0}, 1.0, {});
    data.colors = {};
    const auto object = add<TriangleSurface>(std::move(data));
    object->color().set(context->pool, {0.0F, 1.0F, 0.0F, 0.0F});
    const Pixel green = draw(eyeAt({0, 0, 2}, 1, 10)).at(32, 32);
    EXPECT_GT(green[1], 150);
    EXPECT_EQ(green[0], green[2]);
    EXPECT_LT(green[0], 10);
}

TEST_F(DisplayPictures, PebbleOnAPlanetIsSharp) {
    add<TriangleSurface>(triangle({0, 0, 0}, 1.0, {255, 128, 0, 255}));
    const Image near = draw(eyeAt({0, 0, 2}, 1, 10));
    objects.clear();
    // Where single precision has steps of half a unit; with the multiples of a binary digit the
    // sums are exact.
    const vector away{6e6 + 0.25, -5e6 + 0.5, 4e6 + 0.125};
    add<TriangleSurface>(triangle(point() + away, 1.0, {255, 128, 0, 255}));
    EXPECT_EQ(draw(eyeAt(point{0, 0, 2} + away, 1, 10)).bytes, near.bytes);
}

TEST_F(DisplayPictures, EachEyeHasItsPicture) {
    add<TriangleSurface>(triangle({0, 0, 0}, 0.5, {255, 128, 0, 255}));
    const Eye left = eyeAt({-0.5, 0, 2}, 1, 10);
    const Eye right = eyeAt({0.5, 0, 2}, 1, 10);
    const std::vector<Image> both = draw({left, right});
    EXPECT_EQ(both[0].bytes, draw(left).bytes);
    EXPECT_EQ(both[1].bytes, draw(right).bytes);
    // 16 pixels to the unit.
    EXPECT_TRUE(both[0].isDrawn(40, 30));
    EXPECT_FALSE(both[0].isDrawn(24, 30));
    EXPECT_TRUE(both[1].isDrawn(24, 30));
}

TEST_F(DisplayPictures, AllEyesInOnePassAreAsOneAfterTheOther) {
    if (!GLLayeredFramebuffer::isPossible(*glContext, GL::Pass::Layers, 2)) {
        GTEST_SKIP() << "the driver can't draw in this way";
    }
    add<GlobeDisplay>();
    add<LineSet>(parallel(60, -180, 180), true);
    add<LineSet>(parallel(10, 0, 360), true);
    add<TriangleSurface>(triangle({0, 0, 1.5 * earth}, 0.5 * earth, {255, 128, 0, 255}));
    add<PointCloud>(cloud({{0, earth, 2 * earth}}));
    const Eye left = eyeAt({-0.1 * earth, 0.2 * earth, 3 * earth}, 0.5 * earth, 9 * earth);
    const Eye right = eyeAt({0.2 * earth, 0.1 * earth, 3 * earth}, 0.5 * earth, 9 * earth);
    for (const int samples : {1, 4}) {
        const std::vector<Image> passes = draw({left, right}, samples);
        const std::vector<Image> layers = drawInLayers({left, right}, samples);
        EXPECT_TRUE(layers[0].bytes == passes[0].bytes);
        EXPECT_TRUE(layers[1].bytes == passes[1].bytes);
        EXPECT_FALSE(layers[0].bytes == layers[1].bytes);
        EXPECT_GT(layers[0].drawnPixels(), 300);
        seagrass->lawn();
    }
}

TEST_F(DisplayPictures, AllEyesInOnePassAreAlikeWithPlanesEdgesNormalsAndBoxes) {
    if (!GLLayeredFramebuffer::isPossible(*glContext, GL::Pass::Layers, 2)) {
        GTEST_SKIP() << "the driver can't draw in this way";
    }
    const auto withEdges = add<TriangleSurface>(squareOf(3));
    withEdges->edges().set({}, true);
    withEdges->edgeColor().set({}, {1, 0, 0, 1});
    withEdges->clippingPlanes().clip0.set({}, {{1, 0.5, 0}, -0.5});
    const auto smooth = add<TriangleSurface>(triangle({0.5, 0.5, 0.5}, 0.5, {0, 128, 255, 255}));
    smooth->smooth().set({}, true);
    smooth->clippingPlanes().clip1.set({}, {{0, -1, 0}, -0.75});
    const auto lines = add<LineSet>(flatLine({-2, -0.5, 0.25}, {2, 0.9, 0.25}), false);
    lines->lineWidth().set({}, 4.0);
    lines->clippingPlanes().clip0.set({}, {{-1, 0, 0}, -0.75});
    const auto points = add<PointCloud>(cloud({{-0.5, 1.2, 0}, {0.5, 1.2, 0}}));
    points->clippingPlanes().clip0.set({}, {{1, 0, 0}, 0});
    const auto box = add<BoundingBoxDisplay>();
    box->box().set({}, sharedBox({-1, -1, -1}, {1, 1, 0.5}));
    const Eye left = eyeAt({-0.1, 0.2, 3}, 0.5, 9), right = eyeAt({0.2, 0.1, 3}, 0.5, 9);
    const std::vector<Image> passes = draw({left, right});
    const std::vector<Image> layers = drawInLayers({left, right}, 1);
    EXPECT_TRUE(layers[0].bytes == passes[0].bytes);
    EXPECT_TRUE(layers[1].bytes == passes[1].bytes);
    EXPECT_FALSE(layers[0].bytes == layers[1].bytes);
    EXPECT_GT(layers[0].drawnPixels(), 300);
    // All of them take part.
    for (std::size_t i = 0; i < objects.size(); ++i) {
        const RenderAblePtr object = objects[i];
        objects.erase(objects.begin() + static_cast<std::ptrdiff_t>(i));
        EXPECT_FALSE(draw(left).bytes == passes[0].bytes) << i;
        objects.insert(objects.begin() + static_cast<std::ptrdiff_t>(i), object);
    }
}

TEST_F(DisplayPictures, EvictedPolypComesBackAsItWas) {
    add<TriangleSurface>(triangle({0, 0, 0}, 1.0, {255, 128, 0, 255}));
    add<PointCloud>(cloud({{0.5, 1.5, 0}}));
    const Image before = draw(eyeAt({0, 0, 2}, 1, 10));
    EXPECT_EQ(seagrass->lawn(), 4); // two with vertices and two with programs
    EXPECT_EQ(draw(eyeAt({0, 0, 2}, 1, 10)).bytes, before.bytes);
}

TEST_F(DisplayPictures, FrameOfWhatIsUnchangedAllocatesNothing) {
    const Eye above = eyeAt({0, 0, 4 * earth}, earth, 9 * earth);
    add<GlobeDisplay>();
    add<LineSet>(parallel(60, -180, 180), true);
    add<TriangleSurface>(triangle({0, 0, earth}, earth, {255, 128, 0, 255}));
    add<PointCloud>(cloud({{0, 0, 2 * earth}}));
    draw({above, above});
    for (const RenderAblePtr& object : objects) {
        const long long before = allocationsOfThisThread();
        EXPECT_TRUE(object->environment_render(*context));
        EXPECT_EQ(allocationsOfThisThread() - before, 0);
    }
}

TEST_F(DisplayPictures, PolypsBeyondTheAllowanceComeInLaterFrames) {
    for (const double x : {-1.0, 0.0, 1.0}) {
        add<TriangleSurface>(triangle({x, 0, 0}, 0.25, {255, 128, 0, 255}));
    }
    std::vector<int> drawn;
    for (int frame = 0; frame < 4; ++frame) {
        // Of one mesh: 3 points of 12 bytes, 3 colours of 4, 3 indices of 4, and the views.
        context->renderAllowance = 60 + 688 + 30;
        drawn.push_back(draw(eyeAt({0, 0, 2}, 1, 10)).drawnPixels());
        EXPECT_EQ((result & GLRenderContext::Incomplete) != 0, frame < 2);
    }
    EXPECT_LT(0, drawn[0]);
    EXPECT_LT(drawn[0], drawn[1]);
    EXPECT_LT(drawn[1], drawn[2]);
    EXPECT_EQ(drawn[2], drawn[3]);
}

// --- Points

TEST_F(DisplayPictures, PointIsADiscOfItsSize) {
    const auto object = add<PointCloud>(cloud({{0, 0, 0}}, {{0, 255, 0, 255}}));
    object->pointSize().set(context->pool, 20.0);
    for (const int samples : {1, 4}) {
        const Image image = draw(eyeAt({0, 0, 2}, 1, 10), samples);
        // In the middle of the picture, between its pixels.
        EXPECT_EQ(image.at(32, 32), (Pixel{0, 255, 0}));
        EXPECT_TRUE(image.isDrawn(31 - 9, 31));
        EXPECT_FALSE(image.isDrawn(31 - 11, 31));
        EXPECT_FALSE(image.isDrawn(31 - 9, 31 - 9));
        // The edge is 63 pixels long; half of them can be counted wrongly.
        EXPECT_NEAR(image.drawnPixels(), std::numbers::pi * 100, 36);
    }
}

TEST_F(DisplayPictures, EdgeOfAPointIsSmoothWithSeveralSamples) {
    const auto object = add<PointCloud>(cloud({{0, 0, 0}}, {{0, 255, 0, 255}}));
    object->pointSize().set(context->pool, 20.0);
    const auto mixed = [&](int samples) {
        const Image image = draw(eyeAt({0, 0, 2}, 1, 10), samples);
        int number = 0;
        for (int i = 0; i < size * size; ++i) {
            const Pixel pixel = image.at(i % size, i / size);
            number += pixel != magenta && pixel != Pixel{0, 255, 0} ? 1 : 0;
        }
        return number;
    };
    EXPECT_EQ(mixed(1), 0);
    EXPECT_GT(mixed(4), 30);
}

TEST_F(DisplayPictures, SmallestPointsFillOnePixelEach) {
    // Everywhere between the centres of pixels, on their corners and on the edges between them.
    std::vector<point> points;
    for (int i = 0; i < 9; ++i) {
        for (int k = 0; k < 9; ++k) points.push_back({-1.0 + i * 0.25, -1.0 + k * 0.25, 0.0});
    }
    const auto object = add<PointCloud>(cloud(points));
    for (const double pointSize : {0.0, 0.5, 1.0}) {
        object->pointSize().set(context->pool, pointSize);
        for (const double shift : {0.0, 1.0 / 32, 0.013, 0.021}) {
            const Image image = draw(eyeAt({shift, shift, 2}, 1, 10));
            EXPECT_EQ(image.drawnPixels(), 81) << pointSize << ", " << shift;
        }
    }
}

TEST_F(DisplayPictures, NoPointIsLostWithSeveralSamples) {
    std::vector<point> points;
    for (int i = 0; i < 9; ++i) {
        for (int k = 0; k < 9; ++k) points.push_back({-1.0 + i * 0.23, -1.0 + k * 0.23, 0.0});
    }
    const auto object = add<PointCloud>(cloud(points));
    object->pointSize().set(context->pool, 1.0);
    EXPECT_GE(draw(eyeAt({0, 0, 2}, 1, 10), 4).drawnPixels(), 81);
}

// --- Lines

TEST_F(DisplayPictures, LineIsAsWideAsItsInputSays) {
    const auto level = add<LineSet>(flatLine({-4, 0, 0}, {4, 0, 0}), false);
    for (const double width : {2.0, 6.0}) {
        level->lineWidth().set(context->pool, width);
        const Image image = draw(eyeAt({0, 0, 2}, 1, 10));
        EXPECT_EQ(image.drawnPixels(), size * width) << width;
    }
    objects.clear();
    const auto steep = add<LineSet>(flatLine({0, -4, 0}, {0, 4, 0}), false);
    steep->lineWidth().set(context->pool, 4.0);
    EXPECT_EQ(draw(eyeAt({0, 0, 2}, 1, 10)).drawnPixels(), size * 4);
}

TEST_F(DisplayPictures, BroadLineReachesInFromBesideThePicture) {
    // 80 pixels beside the picture, and 100 to each side.
    const auto line = add<LineSet>(flatLine({7, -4, 0}, {7, 4, 0}), false);
    line->lineWidth().set(context->pool, 200.0);
    const Image image = draw(eyeAt({0, 0, 2}, 1, 10));
    EXPECT_FALSE(image.isDrawn(40, 32));
    EXPECT_TRUE(image.isDrawn(50, 32));
}

TEST_F(DisplayPictures, BroadLineEndsRound) {
    const auto line = add<LineSet>(flatLine({-1, 0, 0}, {1, 0, 0}), false);
    line->lineWidth().set(context->pool, 10.0);
    const Image image = draw(eyeAt({0, 0, 2}, 1, 10));
    // Its ends are at 16 and 48.
    EXPECT_TRUE(image.isDrawn(12, 32));
    EXPECT_FALSE(image.isDrawn(10, 32));
    EXPECT_FALSE(image.isDrawn(12, 36));
    EXPECT_TRUE(image.isDrawn(17, 36));
}

/// Of the places along the z axis, beside it by `aside`, that an eye sees at 90 degrees: how many
/// have nothing drawn there.
int missingAlongZ(const Image& image, const Eye& eye, const vector& aside, int& seen) {
    const point from = eye.camera.position;
    const vector forwards = normalised(eye.camera.lookAt - from);
    const vector right = normalised(cross(forwards, eye.camera.up)), up = cross(right, forwards);
    int missing = 0;
    for (double ahead = 1e-3; ahead < 1e5; ahead *= 1.01) {
        const vector way = aside - vector{0, 0, ahead};
        const double depth = dot(way, forwards);
        const double x = 32 + 32 * dot(way, right) / depth, y = 32 + 32 * dot(way, up) / depth;
        if (depth < eye.near || x < 1 || y < 1 || x >= size - 1 || y >= size - 1) continue;
        ++seen;
        missing += image.isDrawn(static_cast<int>(x), static_cast<int>(y)) ? 0 : 1;
    }
    return missing;
}

TEST_F(DisplayPictures, WideLinesThatComeFromBehindTheEyeHaveNoGap) {
    const vector aside{0.02, -0.05, 0};
    for (const auto depths : {GLContext::Depths::Usual, GLContext::Depths::Reversed}) {
        objects.clear();
        glContext->setDepths(depths);
        renewContext();
        for (const double behind : {1.0, 1000.0, 6.4e6}) {
            for (const double width : {2.0, 5.0}) {
                objects.clear();
                const auto line = add<LineSet>(
                    flatLine(point{0, 0, behind} + aside, point{0, 0, -1e6} + aside), false);
                line->lineWidth().set({}, width);
                for (const double downwards : {0.0, 1.0}) {
                    Eye eye = eyeAt({0, 0, 0}, 0.01, 1e7);
                    eye.camera.lookAt = {0, -downwards, -1};
                    // Turned, coordinates have the steps of those that are farthest away.
                    if (downwards > 0 && behind > 1000) continue;
                    int seen = 0;
                    EXPECT_EQ(missingAlongZ(draw(eye), eye, aside, seen), 0)
                        << behind << " " << width << " " << downwards;
                    EXPECT_GT(seen, 200);
                }
            }
        }
    }
}

TEST_F(DisplayPictures, EdgesOfABoxAsLargeAsTheEarthReachTheEye) {
    const vector aside{0.02, -0.05, 0};
    const auto box = add<BoundingBoxDisplay>();
    box->box().set({}, sharedBox({-6.4e6, -6.4e6, -6.4e6}, {0.02, -0.05, 6.4e6}));
    box->lineWidth().set({}, 2.0);
    const Eye eye = eyeAt({0, 0, 0}, 0.01, 2e7);
    int seen = 0;
    EXPECT_EQ(missingAlongZ(draw(eye), eye, aside, seen), 0);
    EXPECT_GT(seen, 200);
}

TEST_F(DisplayPictures, LinesBesideAnEyeThatSeesTheLeastStayLines) {
    // Where the line is cut it is 3e17 pictures beside this one.
    const auto line = add<LineSet>(flatLine({0, -6.4e6, 1e8}, {0, -6.4e6, -1e8}), false);
    line->lineWidth().set({}, 4.0);
    const Image image = draw(eyeAt({0, 0, 0}, 1e-11, 1e9));
    EXPECT_TRUE(image.isDrawn(32, 1));
    EXPECT_TRUE(image.isDrawn(32, 28));
    EXPECT_FALSE(image.isDrawn(28, 10));
}

TEST_F(DisplayPictures, LineOfOnePixelHasNoGap) {
    const auto line = add<LineSet>(flatLine({-4, 0.3, 0}, {4, 0.9, 0}), false);
    line->lineWidth().set(context->pool, 1.0);
    const Image image = draw(eyeAt({0, 0, 2}, 1, 10));
    EXPECT_EQ(image.drawnPixels(), size);
}

TEST_F(DisplayPictures, LineOfVeryShortPartsHasNoGap) {
    // Round 46 pixels in all, and round 138.
    constexpr int parts = 263000;
    for (const double radius : {46.0 / 2 / std::numbers::pi, 138.0 / 2 / std::numbers::pi}) {
        std::vector<point> circle;
        circle.reserve(parts + 1);
        for (int i = 0; i <= parts; ++i) {
            const double angle = 2 * std::numbers::pi * i / parts;
            circle.push_back({radius / 16 * std::cos(angle), radius / 16 * std::sin(angle), 0});
        }
        Polylines data = polylines({{1, circle}});
        data.coordinates = CoordinateSystem::Geographic;
        for (const double width : {1.0, 4.0}) {
            for (const bool isSmooth : {false, true}) {
                objects.clear();
                const auto lines = add<LineSet>(data, isSmooth);
                lines->lineWidth().set(context->pool, width);
                const Image image = draw(eyeAt({0, 0, 2}, 1, 10), isSmooth ? 4 : 1);
                int missing = 0, beyond = 0;
                for (int i = 0; i < size * size; ++i) {
                    const int x = i % size, y = i / size;
                    const double off = std::abs(std::hypot(x - 31.5, y - 31.5) - radius);
                    const bool isDrawn = image.isDrawn(x, y);
                    missing += off < 0.3 && !isDrawn ? 1 : 0;
                    beyond += off > width / 2 + 1.0 && isDrawn ? 1 : 0;
                }
                EXPECT_EQ(missing, 0) << radius << " " << width << " " << isSmooth;
                EXPECT_EQ(beyond, 0) << radius << " " << width << " " << isSmooth;
            }
        }
    }
}

TEST_F(DisplayPictures, LineHasTheColourOfItsLevel) {
    const auto line = add<LineSet>(flatLine({-4, 0, 0}, {4, 0, 0}), false);
    line->lineWidth().set(context->pool, 4.0);
    // 0.93, 0.89 and 0.78 of 255.
    EXPECT_EQ(draw(eyeAt({0, 0, 2}, 1, 10)).at(32, 32), (Pixel{237, 227, 199}));
}

/// Of a cache and a context that have drawn nothing before.
class FirstFrames : public DisplayPictures {
protected:
    void renewAll() {
        objects.clear();
        endContext();
        seagrass = GLTest::makeSeagrass();
        renewContext();
    }
};

TEST_F(FirstFrames, HaveLinesInTheirPlacesForEachOfTwoEyes) {
    constexpr double width = 3.0, distance = 2.0, separation = 0.1;
    std::vector<Eye> eyes(2, eyeAt({0, 0, distance}, 1, 10));
    for (Eye& eye : eyes) {
        eye.camera.lookAt = {0, 0, 0};
        eye.focus = distance;
    }
    eyes[0].separation = -separation;
    eyes[1].separation = separation;
    const std::array upright{point{0.3, 0, 0}, point{-0.5, 0, -2}, point{-0.2, 0, 0.75}};
    std::vector<std::pair<unsigned char, std::vector<point>>> parts;
    for (const point& p : upright) {
        parts.push_back({1, {p - vector{0, 9, 0}, p + vector{0, 9, 0}}});
    }
    Polylines data = polylines(parts);
    data.coordinates = CoordinateSystem::Geographic;
    const auto addLines = [&] { add<LineSet>(data, false)->lineWidth().set({}, width); };
    const auto expectInPlace = [&](const Image& image, const Eye& eye) {
        const double aside = eye.separation * distance;
        for (int column = 0; column < size; ++column) {
            double off = size; // of the line that is nearest
            for (const point& p : upright) {
                const double along = (p.x - aside) / (distance - p.z) + aside / eye.focus;
                off = std::min(off, std::abs(size / 2.0 * (1.0 + along) - (column + 0.5)));
            }
            if (std::abs(off - width / 2) < 0.02) continue;
            EXPECT_EQ(image.isDrawn(column, 32), off < width / 2) << column;
        }
    };
    addLines();
    const std::vector<Image> first = draw(eyes), second = draw(eyes);
    for (const std::size_t i : {0U, 1U}) {
        SCOPED_TRACE(testing::Message() << "eye " << i);
        expectInPlace(first[i], eyes[i]);
        EXPECT_TRUE(first[i].bytes == second[i].bytes);
    }
    if (!GLLayeredFramebuffer::isPossible(*glContext, GL::Pass::Layers, 2)) return;
    renewAll();
    addLines();
    const std::vector<Image> layers = drawInLayers(eyes, 1);
    for (const std::size_t i : {0U, 1U}) EXPECT_TRUE(layers[i].bytes == first[i].bytes) << i;
}

TEST_F(FirstFrames, LeaveOutTheFarSideOfTheEarthForEachOfTwoEyes) {
    const Eye north = eyeAt({0, 0, 4 * earth}, earth, 9 * earth);
    Eye south = north;
    south.camera.position = {0, 0, -4 * earth};
    south.camera.lookAt = {0, 0, 0};
    for (const bool isNorthFirst : {true, false}) {
        renewAll();
        add<LineSet>(parallel(-40, -180, 180), true);
        const std::vector<Eye> eyes =
            isNorthFirst ? std::vector{north, south} : std::vector{south, north};
        const std::vector<Image> first = draw(eyes), second = draw(eyes);
        EXPECT_EQ(first[isNorthFirst ? 0 : 1].drawnPixels(), 0);
        EXPECT_GT(first[isNorthFirst ? 1 : 0].drawnPixels(), 10);
        for (const std::size_t i : {0U, 1U}) EXPECT_TRUE(first[i].bytes == second[i].bytes) << i;
    }
}

TEST_F(DisplayPictures, FarSideOfTheEarthIsLeftOut) {
    const Eye above = eyeAt({0, 0, 4 * earth}, earth, 9 * earth);
    add<LineSet>(parallel(-40, -180, 180), true);
    EXPECT_EQ(draw(above).drawnPixels(), 0);
    // From below the same line is there.
    Eye below = above;
    below.camera.position = {0, 0, -4 * earth};
    below.camera.lookAt = {0, 0, 0};
    EXPECT_GT(draw(below).drawnPixels(), 10);
    EXPECT_EQ(draw({above, below})[0].drawnPixels(), 0);
}

TEST_F(DisplayPictures, FarSideIsLeftOutInEachPiece) {
    // More points than a piece has along a parallel of the south, and a line in the north behind.
    std::vector<point> south, north;
    constexpr std::size_t number = LineSet::pieceVertices + 1000;
    for (std::size_t i = 0; i < number; ++i) {
        const double longitude = 360.0 * static_cast<double>(i) / number - 180.0;
        south.push_back(Skua::toEarthCentred({longitude, -40, 0}));
    }
    for (int longitude = 0; longitude <= 90; ++longitude) {
        north.push_back(Skua::toEarthCentred({longitude * 1.0, 50, 0}));
    }
    add<LineSet>(polylines({{1, south}, {1, north}}), true);
    Eye eye = eyeAt({0, 0, 4 * earth}, earth, 9 * earth);
    const Image above = draw(eye);
    EXPECT_EQ(seagrass->getNumberOfPolyps(), 3U); // of two pieces and the program
    EXPECT_GT(above.drawnPixels(), 5);
    // A quarter of a parallel, to the right and upwards.
    for (int i = 0; i < size * size; ++i) {
        const int column = i % size, row = i / size;
        const bool isExpected = column >= 31 && row >= 31;
        EXPECT_TRUE(isExpected || !above.isDrawn(column, row)) << column << ", " << row;
    }
    eye.camera.position = {0, 0, -4 * earth};
    eye.camera.lookAt = {0, 0, 0};
    // Parts of a line that are far smaller than a pixel may fall between the samples.
    EXPECT_GT(draw(eye, 4).drawnPixels(), 25);
}

TEST_F(DisplayPictures, GlobeShowsTheLinesOfItsNearSide) {
    const Eye above = eyeAt({0, 0, 4 * earth}, earth, 9 * earth);
    const auto lines = add<LineSet>(parallel(60, -180, 180), true);
    lines->lineWidth().set(context->pool, 3.0);
    const Image alone = draw(above);
    add<GlobeDisplay>();
    const Image both = draw(above);
    int drawn = 0, kept = 0;
    for (int i = 0; i < size * size; ++i) {
        const int x = i % size, y = i / size;
        drawn += alone.isDrawn(x, y) ? 1 : 0;
        kept += alone.isDrawn(x, y) && both.at(x, y) == alone.at(x, y) ? 1 : 0;
    }
    ASSERT_GT(drawn, 30);
    // Across its width a line has one depth, while the globe rises on its inner side.
    EXPECT_GT(kept, drawn / 3);
}

TEST_F(DisplayPictures, GlobeIsADiscOfTheSea) {
    add<GlobeDisplay>();
    const Image image = draw(eyeAt({0, 0, 4 * earth}, earth, 9 * earth));
    // Half the angle under which the ellipsoid is seen, and the half width of the picture at 1.
    const double a = 0.999 * earth, b = 0.999 * Skua::WGS84::semiMinorAxisMetres;
    const double tangent = a / std::sqrt(16 * earth * earth - b * b);
    EXPECT_NEAR(image.drawnPixels(), std::numbers::pi * std::pow(tangent * size / 2, 2), 12);
    const Pixel sea = image.at(30, 37);
    EXPECT_GT(sea[2], sea[0]);
}

class Graticule : public DisplayPictures {
protected:
    /// Looks down from near a place of the grid, so that a pixel is two metres wide on the globe.
    static Eye above(double longitude, double latitude) {
        const double height = 2.0;
        Eye eye;
        eye.camera.position = Skua::toEarthCentred({longitude, latitude, height});
        eye.camera.lookAt = Skua::toEarthCentred({longitude, latitude, -1000});
        // Lines go straight up in the picture, or straight across.
        eye.camera.up = Skua::toEarthCentred({longitude, latitude + 0.01, height}) -
                        Skua::toEarthCentred({longitude, latitude, height});
        eye.camera.fieldOfView = 1.15;
        eye.near = 1000;
        eye.far = 1e7;
        return eye;
    }
    static point onGlobe(double longitude, double latitude) {
        return point() + (Skua::toEarthCentred({longitude, latitude, 0}) - point()) * globeScale;
    }
    /// Where a ray meets the triangles of the globe between whole degrees, next to some place.
    static point placeOn(const point& from, const vector& ray, double longitude, double latitude) {
        for (double west = std::floor(longitude) - 1; west < longitude + 1; ++west) {
            for (double south = std::floor(latitude) - 1; south < latitude + 1; ++south) {
                const point a = onGlobe(west, south + 1), b = onGlobe(west, south),
                            c = onGlobe(west + 1, south + 1), d = onGlobe(west + 1, south);
                for (const auto& [p, q, r] : {std::array{a, b, c}, std::array{c, b, d}}) {
                    const vector normal = cross(q - p, r - p);
                    const point place = from + ray * (dot(p - from, normal) / dot(ray, normal));
                    const auto isInside = [&](const point& first, const point& second) {
                        return dot(cross(second - first, place - first), normal) >=
                               -1e-9 * dot(normal, normal);
                    };
                    if (isInside(p, q) && isInside(q, r) && isInside(r, p)) return place;
                }
            }
        }
        ADD_FAILURE() << "nowhere";
        return {};
    }
    static double degrees(double radians) { return radians * 180.0 / std::numbers::pi; }
    static double longitudeOf(const point& p) { return degrees(std::atan2(p.y, p.x)); }
    /// Of the normal of the ellipsoid.
    static double latitudeOf(const point& p) {
        const double a = earth, b = Skua::WGS84::semiMinorAxisMetres;
        return degrees(std::atan2(p.z * a * a / (b * b), std::hypot(p.x, p.y)));
    }
    /// Along a row or column of pixels, by how many a line is off from where `angle` is that of the
    /// line in doubles, times how much it covers there.
    struct Found {
        double off = 0.0, covered = 0.0;
        double offInDoubles = 0.0, coveredInDoubles = 0.0; // as the middles of pixels have it
    };
    static Found lineIn(const Image& image, bool isRow, int number, const Eye& eye, double around,
                        double angleOfLine, double latitude, double (*angle)(const point&)) {
        const vector forwards = normalised(eye.camera.lookAt - eye.camera.position);
        const vector right = normalised(cross(forwards, eye.camera.up));
        const vector up = cross(right, forwards);
        const double scale = std::tan(eye.camera.fieldOfView * std::numbers::pi / 360.0);
        const auto angleAt = [&](double along) {
            const double x = isRow ? along : number + 0.5, y = isRow ? number + 0.5 : along;
            const vector ray =
                forwards + right * ((x / 32 - 1) * scale) + up * ((y / 32 - 1) * scale);
            return angle(placeOn(eye.camera.position, ray, around, latitude)) - angleOfLine;
        };
        double before = 0, after = size;
        for (int i = 0; i < 40; ++i) {
            const double middle = 0.5 * (before + after);
            ((angleAt(middle) < 0.0) == (angleAt(0) < 0.0) ? before : after) = middle;
        }
        const auto pixelAt = [&](int i) {
            return isRow ? image.at(i, number) : image.at(number, i);
        };
        const int middle = static_cast<int>(before);
        const Pixel sea = pixelAt(middle + 6);
        Found found;
        for (int i = middle - 4; i <= middle + 4; ++i) {
            const double off = i + 0.5 - before;
            const double part = std::min(std::abs(off) / 1.5, 1.0);
            const double share = 1.0 - part * part * (3.0 - 2.0 * part);
            found.offInDoubles += share * off;
            found.coveredInDoubles += share;
            for (std::size_t c = 0; c < 3; ++c) {
                const double covered = pixelAt(i)[c] - sea[c];
                found.off += covered * off;
                found.covered += covered;
            }
        }
        return found;
    }
    /// In pixels, on the average of a picture, as colours have steps.
    static double middleOff(const Image& image, bool isRow, const Eye& eye, double around,
                            double angleOfLine, double latitude, double (*angle)(const point&)) {
        Found all;
        for (int number = 4; number < size - 4; number += 3) {
            const Found each =
                lineIn(image, isRow, number, eye, around, angleOfLine, latitude, angle);
            all.off += each.off;
            all.covered += each.covered;
            all.offInDoubles += each.offInDoubles;
            all.coveredInDoubles += each.coveredInDoubles;
        }
        EXPECT_GT(all.covered, 100) << "there is no line";
        return all.off / all.covered - all.offInDoubles / all.coveredInDoubles;
    }
};

TEST_F(Graticule, NoPixelUnderTheEyeIsWithoutANumber) {
    add<GlobeDisplay>();
    for (const double longitude : {14.6, 134.9999, 133.7, -150.3}) {
        for (const double latitude : {-60.0001, 0.2, 40.3, 75.0001}) {
            const Image image = draw(above(longitude, latitude));
            for (int i = 0; i < size * size; ++i) {
                EXPECT_GT(image.at(i % size, i / size)[2], 20) << longitude << " " << latitude;
            }
        }
    }
}

TEST_F(Graticule, LinesAreWithinATenthOfAPixelNearTheGround) {
    add<GlobeDisplay>();
    const double metre = 1.0 / 111e3; // in degrees
    double worst = 0.0;
    for (const double line : {15.0, 120.0, 135.0, 165.0, -150.0}) {
        for (const double aside : {-11.3, 0.4, 7.9}) {
            const double longitude = line + aside * metre;
            const Eye eye = above(longitude, 40.3);
            worst = std::max(worst, std::abs(middleOff(draw(eye), true, eye, longitude, line, 40.3,
                                                       longitudeOf)));
        }
    }
    EXPECT_LT(worst, 0.1) << "of a meridian";
    worst = 0.0;
    for (const double line : {-60.0, 0.0, 45.0, 75.0}) {
        for (const double aside : {-11.3, 0.4, 7.9}) {
            const double latitude = line + aside * metre;
            const Eye eye = above(133.7, latitude);
            worst = std::max(worst, std::abs(middleOff(draw(eye), false, eye, 133.7, line, latitude,
                                                       latitudeOf)));
        }
    }
    EXPECT_LT(worst, 0.1) << "of a parallel";
}

TEST_F(DisplayPictures, ScaledEarthLooksTheSame) {
    const auto pictureOf = [&](double scale) {
        objects.clear();
        add<GlobeDisplay>(scale);
        Polylines lines = parallel(60, -180, 180);
        for (point& p : lines.points->elements()) p = point() + (p - point()) * scale;
        add<LineSet>(std::move(lines), true, scale);
        return draw(eyeAt({0, 0, 4 * earth * scale}, earth * scale, 9 * earth * scale));
    };
    EXPECT_EQ(pictureOf(1.0 / 1024).bytes, pictureOf(1.0).bytes);
}

TEST_F(DisplayPictures, EarthWithoutPerspectiveIsWhole) {
    add<GlobeDisplay>();
    Eye eye = eyeAt({0, 0, 4 * earth}, earth, 9 * earth);
    eye.camera.lookAt = {0, 0, 0};
    eye.orthographic = true;
    const Image image = draw(eye);
    // At the look-at point the picture shows -4 to 4 radii, hence 8 pixels for each.
    EXPECT_NEAR(image.drawnPixels(), std::numbers::pi * 64, 12);
}

// --- Clipping planes

using Plane = Skua::PhysicalSpace::HessianNormalPlane;

/// What cuts are told by: pixels whose middle is nearer to a plane than this aren't compared.
constexpr double nearPlane = 1e-5;
/// Steps of a float are 64 units at the second of these.
const std::array<point, 2> placesOfCuts{point{0, 0, 0}, point{1e9, -2e9, 5e8}};

class Cuts : public DisplayPictures {
protected:
    struct Counts {
        int compared = 0;
        int cut = 0;
    };

    /// From the place that the picture is around to what it shows in the middle of a pixel, so many
    /// times as far from the eye as the place.
    static vector inPixel(double column, double row, double share) {
        return vector{(column + 0.5) / 16 - 2, (row + 0.5) / 16 - 2, -2} * share + vector{0, 0, 2};
    }
    static Eye eyeBefore(const point& place) { return eyeAt(place + vector{0, 0, 2}, 1, 10); }

    double number() { return std::uniform_real_distribution<double>(-1, 1)(random); }
    /// That go in any direction through what the picture shows.
    std::array<Plane, 2> planesNear(const point& place, int numberOfPlanes) {
        std::array<Plane, 2> planes;
        for (int i = 0; i < numberOfPlanes; ++i) {
            const vector normal{number(), number(), number()};
            const point within = place + vector{number(), number(), number()};
            planes[static_cast<std::size_t>(i)] = {normal, dot(normal, within - point())};
        }
        return planes;
    }
    static void cutBy(const std::array<Plane, 2>& planes, DisplayObject& object) {
        object.clippingPlanes().clip0.set({}, planes[0]);
        object.clippingPlanes().clip1.set({}, planes[1]);
    }
    /// By computation in double precision: above 0 if no plane cuts. `fromPlace` has small numbers.
    static double distanceInside(const vector& fromPlace, const point& place,
                                 const std::array<Plane, 2>& planes) {
        double least = 1.0;
        for (const Plane& plane : planes) {
            if (dot(plane.normal, plane.normal) == 0) continue;
            const double ofPlace = plane.distance - dot(plane.normal, place - point());
            least = std::min(least, dot(plane.normal, fromPlace) - ofPlace);
        }
        return least;
    }
    static void compare(const Image& image, int column, int row, double inside, Counts& counts) {
        EXPECT_EQ(image.isDrawn(column, row), inside > 0)
            << column << ", " << row << " is inside by " << inside;
        ++counts.compared;
        counts.cut += inside > 0 ? 0 : 1;
    }
    /// What the camera at a place that looks along -z sees in the middle of a pixel, at depth 1.
    static vector directionOf(double column, double row) {
        return {(column + 0.5) / 32 - 1, (row + 0.5) / 32 - 1, -1};
    }
    /// Pictures of an object that planes through the eye divide, each by a straight line near the
    /// middle: on one side of that nothing is to be seen, on the other what is there without them.
    /// Pixels that are nearer to it than `reach` pixels aren't compared; those that the object is
    /// in are counted.
    Counts compareSides(const Eye& eye, DisplayObject& object, double reach) {
        cutBy({}, object);
        const Image whole = draw(eye);
        Counts counts;
        for (int picture = 0; picture < 8; ++picture) {
            SCOPED_TRACE(picture);
            const vector any{number(), number(), number()};
            const vector within = normalised(vector{0.3 * number(), 0.3 * number(), -1});
            const vector normal = any - within * dot(any, within);
            std::array<Plane, 2> planes;
            planes[picture % 2] = {normal, dot(normal, eye.camera.position - point())};
            cutBy(planes, object);
            const Image image = draw(eye);
            for (int i = 0; i < size * size; ++i) {
                const int column = i % size, row = i / size;
                const double inside = dot(normal, directionOf(column, row));
                if (32 * std::abs(inside) < reach * std::hypot(normal.x, normal.y)) continue;
                EXPECT_EQ(image.at(column, row), inside > 0 ? whole.at(column, row) : magenta)
                    << column << ", " << row << " is inside by " << inside;
                if (!whole.isDrawn(column, row)) continue;
                ++counts.compared;
                counts.cut += inside > 0 ? 0 : 1;
            }
        }
        return counts;
    }
    static void expectManyOf(const Counts& counts, int compared) {
        EXPECT_GT(counts.compared, compared);
        EXPECT_GT(counts.cut, compared / 8);
        EXPECT_LT(counts.cut, counts.compared - compared / 8);
    }

    std::mt19937 random{7};
};

class CutPoints : public Cuts {
protected:
    /// Pictures of points in a space around a place, one in every other pixel, against what the
    /// planes say.
    Counts comparePoints(const point& place, int numberOfPlanes) {
        objects.clear();
        std::vector<point> points;
        for (int row = 0; row < size; row += 2) {
            for (int column = 0; column < size; column += 2) {
                points.push_back(place + inPixel(column, row, 1.0 + 0.45 * number()));
            }
        }
        const auto object = add<PointCloud>(cloud(points));
        object->pointSize().set({}, 1.0);
        Counts counts;
        for (int picture = 0; picture < 11; ++picture) {
            SCOPED_TRACE(picture);
            const std::array<Plane, 2> planes = planesNear(place, numberOfPlanes);
            cutBy(planes, *object);
            const Image image = draw(eyeBefore(place));
            for (std::size_t i = 0; i < points.size(); ++i) {
                const double inside = distanceInside(points[i] - place, place, planes);
                if (std::abs(inside) < nearPlane) continue;
                compare(image, static_cast<int>(i % (size / 2)) * 2,
                        static_cast<int>(i / (size / 2)) * 2, inside, counts);
            }
        }
        return counts;
    }
};

TEST_F(CutPoints, AreThoseOfTheComputationForOnePlaneAndForTwoInAnyDirection) {
    for (const point& place : placesOfCuts) {
        for (const int planes : {1, 2}) {
            SCOPED_TRACE(testing::Message() << place.x << ", planes: " << planes);
            expectManyOf(comparePoints(place, planes), 10000);
        }
    }
}

/// A slanted square that fills the picture.
class CutSlants : public Cuts {
protected:
    CutSlants() : _slant{0.3 * number(), 0.3 * number(), 1} {}

    /// What the square shows in a pixel.
    vector shownIn(double column, double row) const {
        const vector straight = inPixel(column, row, 1.0);
        return inPixel(column, row, 2.0 / (2.0 + dot(_slant, straight)));
    }
    point cornerAt(const point& place, double column, double row) const {
        return place + shownIn(column, row);
    }
    /// Pictures of an object that covers the rows that begin with `first` and are `step` apart.
    /// Pixels that are nearer to a cut or to the sides than `reach` pixels aren't compared.
    Counts compareRows(const point& place, int numberOfPlanes, DisplayObject& object, int first,
                       int step, double reach) {
        Counts counts;
        for (int picture = 0; picture < 6; ++picture) {
            SCOPED_TRACE(picture);
            const std::array<Plane, 2> planes = planesNear(place, numberOfPlanes);
            cutBy(planes, object);
            const Image image = draw(eyeBefore(place));
            const auto isCut = [&](double column, double row) {
                return distanceInside(shownIn(column, row), place, planes) <= 0;
            };
            const int margin = static_cast<int>(reach);
            for (int row = first; row < size; row += step) {
                for (int column = margin; column < size - margin; ++column) {
                    const int cuts =
                        isCut(column - reach, row - reach) + isCut(column + reach, row - reach) +
                        isCut(column - reach, row + reach) + isCut(column + reach, row + reach);
                    if (cuts != 0 && cuts != 4) continue;
                    compare(image, column, row, distanceInside(shownIn(column, row), place, planes),
                            counts);
                }
            }
        }
        objects.clear();
        return counts;
    }

private:
    const vector _slant;
};

TEST_F(CutSlants, OfSurfacesEndWhereTheComputationSays) {
    for (const point& place : placesOfCuts) {
        for (const int planes : {1, 2}) {
            for (const bool hasEdges : {false, true}) {
                SCOPED_TRACE(testing::Message() << place.x << ", planes: " << planes << hasEdges);
                const auto object = add<TriangleSurface>(
                    mesh({cornerAt(place, -2, -2), cornerAt(place, size + 2, -2),
                          cornerAt(place, -2, size + 2), cornerAt(place, size + 2, size + 2)},
                         {0, 1, 2, 1, 3, 2}));
                object->edges().set({}, hasEdges);
                // Drivers place edges in steps of 1/256 of a pixel.
                expectManyOf(compareRows(place, planes, *object, 0, 1, 1.0 / 128), 20000);
            }
        }
    }
}

TEST_F(CutSlants, OfLinesEndWhereTheComputationSays) {
    constexpr int first = 2, step = 4;
    for (const point& place : placesOfCuts) {
        std::vector<std::pair<unsigned char, std::vector<point>>> rows;
        for (int row = first; row < size; row += step) {
            rows.push_back({1, {cornerAt(place, -2, row), cornerAt(place, size + 2, row)}});
        }
        Polylines data = polylines(rows);
        data.coordinates = CoordinateSystem::Geographic;
        for (const double width : {1.0, 3.0}) {
            for (const int planes : {1, 2}) {
                SCOPED_TRACE(testing::Message()
                             << place.x << ", planes: " << planes << ", width " << width);
                const auto object = add<LineSet>(data, false);
                object->lineWidth().set({}, width);
                // A thin line has all pixels that it touches.
                expectManyOf(compareRows(place, planes, *object, first, step, 1.0), 5000);
            }
        }
    }
}

TEST_F(Cuts, OfBoxesLeaveTheOtherSideAsItIs) {
    for (const point& place : placesOfCuts) {
        for (const double width : {1.0, 3.0}) {
            SCOPED_TRACE(testing::Message() << place.x << ", width " << width);
            const auto box = add<BoundingBoxDisplay>();
            const vector half{0.7, 0.6, 0.8};
            box->box().set({}, sharedBox(place - half, place + half));
            box->lineWidth().set({}, width);
            // Lines that a plane cuts end straight across.
            expectManyOf(compareSides(eyeBefore(place), *box, 0.5 * width + 1.0), 1500);
            objects.clear();
        }
    }
}

TEST_F(Cuts, OfGlobesLeaveTheOtherSideAsItIs) {
    const auto globe = add<GlobeDisplay>();
    const Eye eye = eyeAt({0, 0, 2 * earth}, 0.5 * earth, 9 * earth);
    // Triangles that a plane cuts, which are smaller than that, may be lit a little otherwise.
    expectManyOf(compareSides(eye, *globe, 1.0), 6000);
}

TEST_F(Cuts, OfGlobesLeaveTheCapBeyondThePlane) {
    const auto globe = add<GlobeDisplay>();
    const Eye eye = eyeAt({0, 0, 2 * earth}, 0.5 * earth, 9 * earth);
    const Image whole = draw(eye);
    // So far from the centre that nothing is left of the side that the eye doesn't see.
    const Plane plane{{0.3, -0.2, 1}, 0.85 * earth};
    cutBy({plane, {}}, *globe);
    const Image cap = draw(eye);
    // Coordinates in which the globe is the ball of radius 1.
    const double a = globeScale * earth, b = globeScale * Skua::WGS84::semiMinorAxisMetres;
    const auto inBall = [&](const vector& v) { return vector{v.x / a, v.y / a, v.z / b}; };
    const auto isLeft = [&](double column, double row) {
        const vector from = eye.camera.position - point(), way = directionOf(column, row);
        const vector f = inBall(from), w = inBall(way);
        const double half = dot(f, w) / dot(w, w);
        const double square = half * half - (dot(f, f) - 1) / dot(w, w);
        if (square < 0) return false;
        const vector place = from + way * (-half - std::sqrt(square));
        return dot(plane.normal, place) > plane.distance;
    };
    Counts counts;
    for (int i = 0; i < size * size; ++i) {
        const int column = i % size, row = i / size;
        constexpr double reach = 0.02; // pixels
        const bool isInside = isLeft(column, row);
        if (isLeft(column - reach, row) != isInside || isLeft(column + reach, row) != isInside ||
            isLeft(column, row - reach) != isInside || isLeft(column, row + reach) != isInside) {
            continue;
        }
        EXPECT_EQ(cap.isDrawn(column, row), isInside) << column << ", " << row;
        if (!whole.isDrawn(column, row)) continue;
        ++counts.compared;
        counts.cut += isInside ? 0 : 1;
    }
    expectManyOf(counts, 900);
}

TEST_F(Cuts, OfGlobesShowTheInsideOfTheOtherHalf) {
    const auto globe = add<GlobeDisplay>();
    const Eye eye = eyeAt({0, 0, 2 * earth}, 0.5 * earth, 9 * earth);
    const Image whole = draw(eye);
    cutBy({Plane{{0, 0, -1}, 0.0}, {}}, *globe);
    const Image bowl = draw(eye);
    const double radius = globeScale * size / 4; // of the equator
    EXPECT_NEAR(bowl.drawnPixels(), std::numbers::pi * radius * radius, 12);
    // Lit as the sea, not bright as its rim, on the side that faces the light.
    EXPECT_NEAR(bowl.at(29, 36)[2], whole.at(29, 36)[2], 16);
    EXPECT_GT(bowl.at(38, 26)[2], bowl.at(26, 38)[2] + 8);
}

TEST_F(DisplayPictures, PlanesCutLinesAndSurfaces) {
    const auto countLeftOfTheMiddle = [&](const Image& image) {
        int number = 0;
        for (int i = 0; i < size * size; ++i) {
            number += i % size < size / 2 && image.isDrawn(i % size, i / size) ? 1 : 0;
        }
        return number;
    };
    const auto check = [&](DisplayObject& object) {
        const Image whole = draw(eyeAt({0, 0, 2}, 1, 10));
        EXPECT_GT(countLeftOfTheMiddle(whole), 30) << object.shaderStem();
        object.clippingPlanes().clip1.set({}, Plane{{1, 0, 0}, 0});
        const Image half = draw(eyeAt({0, 0, 2}, 1, 10));
        EXPECT_EQ(countLeftOfTheMiddle(half), 0) << object.shaderStem();
        EXPECT_EQ(half.drawnPixels(), whole.drawnPixels() - countLeftOfTheMiddle(whole))
            << object.shaderStem();
        objects.clear();
    };
    const auto lines = add<LineSet>(flatLine({-4, 0.3, 0}, {4, -0.3, 0}), false);
    lines->lineWidth().set({}, 3.0);
    check(*lines);
    const auto thin = add<LineSet>(flatLine({-4, 0.3, 0}, {4, -0.3, 0}), false);
    thin->lineWidth().set({}, 1.0);
    check(*thin);
    check(*add<TriangleSurface>(triangle({0, 0, 0}, 1.0, {255, 128, 0, 255})));
    const auto withEdges = add<TriangleSurface>(triangle({0, 0, 0}, 1.0, {255, 128, 0, 255}));
    withEdges->edges().set({}, true);
    check(*withEdges);
}

// --- Surfaces

TEST_F(DisplayPictures, EdgesLieOnTheSidesOfTheTriangles) {
    const auto object = add<TriangleSurface>(squareOf(1));
    object->color().set({}, {1, 1, 1, 1});
    object->edges().set({}, true);
    object->edgeColor().set({}, {1, 0, 0, 1});
    object->edgeWidth().set({}, 3.0);
    const Image image = draw(eyeAt({0, 0, 2}, 1, 10));
    const Pixel red{255, 0, 0};
    EXPECT_EQ(image.at(32, 32), red); // the diagonal
    EXPECT_EQ(image.at(20, 20), red);
    EXPECT_EQ(image.at(16, 40), red); // the left side
    EXPECT_NE(image.at(40, 24), red);
    EXPECT_NE(image.at(24, 40), red);
    EXPECT_EQ(image.drawnPixels(), 32 * 32);
}

TEST_F(DisplayPictures, SmoothSurfaceHasNoFacets) {
    // A roof whose ridge stands upright in the picture.
    const TriangleMesh roof =
        mesh({{-1, -1, 0}, {-1, 1, 0}, {0, -1, 1}, {0, 1, 1}, {1, -1, 0}, {1, 1, 0}},
             {0, 2, 1, 1, 2, 3, 2, 4, 3, 3, 4, 5});
    const auto object = add<TriangleSurface>(roof);
    const auto jump = [&] {
        const Image image = draw(eyeAt({0, 0, 4}, 1, 10));
        return std::abs(image.at(31, 30)[0] - image.at(32, 30)[0]);
    };
    EXPECT_GT(jump(), 40);
    object->smooth().set({}, true);
    EXPECT_LT(jump(), 12);
}

TEST_F(DisplayPictures, EdgesReachBehindTheEye) {
    // The floor below the eye, from a corner in front of it.
    const auto object =
        add<TriangleSurface>(mesh({{0, -0.5, -4}, {3, -0.5, 10}, {-3, -0.5, 10}}, {0, 1, 2}));
    object->color().set({}, {1, 1, 1, 1});
    object->edges().set({}, true);
    object->edgeColor().set({}, {1, 0, 0, 1});
    object->edgeWidth().set({}, 3.0);
    const Image image = draw(eyeAt({0, 0, 2}, 0.1, 10));
    const Pixel red{255, 0, 0};
    for (const int y : {22, 27}) {
        // Where the row sees the floor, and the part of the way of a side up to there.
        const double distance = 0.5 * 32 / (31.5 - y);
        const double part = (6.0 - distance) / 14.0;
        const int inwards = static_cast<int>(3 * part * 32 / distance) - 1;
        EXPECT_EQ(image.at(32 + inwards, y), red) << y;
        EXPECT_EQ(image.at(31 - inwards, y), red) << y;
        EXPECT_NE(image.at(32, y), red) << y;
    }
    // The third side is behind.
    EXPECT_NE(image.at(32, 2), red);
    EXPECT_TRUE(image.isDrawn(32, 2));
}

TEST_F(DisplayPictures, WithoutPerspectiveLightComesAlikeToAllOfAPlane) {
    const auto object = add<TriangleSurface>(squareOf(1));
    object->color().set({}, {0.6F, 0.6F, 0.6F, 1});
    for (const bool isSmooth : {false, true}) {
        object->smooth().set({}, isSmooth);
        Eye eye = eyeAt({0, 0, 0.5}, 0.1, 10);
        eye.camera.lookAt = {0, 0, -0.5};
        eye.orthographic = true;
        const Image image = draw(eye);
        EXPECT_EQ(image.drawnPixels(), size * size);
        EXPECT_EQ(image.at(2, 2), image.at(32, 32));
        EXPECT_EQ(image.at(60, 2), image.at(32, 32));
    }
}

TEST_F(DisplayPictures, WithoutPerspectiveTheDistanceOfTheEyeDoesNotCount) {
    add<GlobeDisplay>();
    const auto pictureFrom = [&](double distance) {
        Eye eye = eyeAt({0, 0, distance * earth}, earth / 2, 20 * earth);
        eye.camera.lookAt = {0, 0, 0};
        eye.camera.fieldOfView = 2.0 * std::atan(1.25 / distance) * 180.0 / std::numbers::pi;
        eye.orthographic = true;
        return draw(eye);
    };
    const Image near = pictureFrom(2), far = pictureFrom(8);
    int differences = 0;
    for (std::size_t i = 0; i < near.bytes.size(); ++i) {
        // Depths and angles are rounded otherwise.
        differences += std::abs(near.bytes[i] - far.bytes[i]) > 2 ? 1 : 0;
    }
    EXPECT_LE(differences, 8);
    EXPECT_GT(near.drawnPixels(), 1500);
}

TEST_F(DisplayPictures, CoarseSurfaceCoversWhatTheFineOneDoes) {
    class Precision : public VRenderPrecision {
    public:
        void adaptPrecision() override {}
    };
    context->precision = Keel::StrongPtr<VRenderPrecision>(new Precision);
    const auto object = add<TriangleSurface>(squareOf(40));
    const auto pixelsAt = [&](double precision) {
        context->precision->precision = precision;
        writeParameter<double>(object->findOutput(Zelk::rendertime_contribution)->parameter(),
                               context->pool, 0.5);
        return draw(eyeAt({0, 0, 2}, 1, 10)).drawnPixels();
    };
    EXPECT_EQ(pixelsAt(1.0), 32 * 32);
    for (const double precision : {0.5, 0.25, 0.125}) {
        const int pixels = pixelsAt(precision);
        EXPECT_NEAR(pixels, 32 * 32, 200) << precision;
        // The first point of each cell stands for it, so that the far sides draw in a little.
        EXPECT_LT(pixels, 32 * 32) << precision;
    }
}

// --- Transformations

TEST_F(DisplayPictures, BentSurfaceIsABallAndItsBoxIsRoundThat) {
    const auto object = add<TriangleSurface>(squareOf(32));
    TransformOperator ball;
    ball.functor = Keel::StrongPtr<TransformOperator::Functor>(new Ball);
    object->transformSlot().set({}, ball);
    const Image bent = draw(eyeAt({0, 0, 4}, 1, 10));
    // A ball of radius 1 at the distance 4: the picture is 2 wide at the distance 1.
    const double radius = size / 2.0 / std::sqrt(15.0);
    EXPECT_NEAR(bent.drawnPixels(), std::numbers::pi * radius * radius, 12);
    // Lit as a ball is: towards the edges it gets darker.
    EXPECT_GT(bent.at(30, 34)[0], bent.at(38, 27)[0] + 20);

    const auto box = add<BoundingBoxDisplay>();
    const TransformOperator::BoundingBoxPtr flat(object->getBoundingBall(context->pool));
    box->box().set({}, SharedBoundingBox(object->transformBBox(context->pool, flat)));
    box->color().set({}, {0, 1, 0, 1});
    box->lineWidth().set({}, 1.0);
    const Image both = draw(eyeAt({0, 0, 4}, 1, 10));
    // The front of the box is at the distance 3, where a unit is 32 / 3 pixels.
    const Pixel green{0, 255, 0};
    EXPECT_EQ(both.at(32 + 10, 32 + 4), green);
    EXPECT_EQ(both.at(31 - 10, 32 + 4), green);
    EXPECT_FALSE(both.isDrawn(32 + 13, 32));
    // Seen from the side it is not left out, though the square lies in a plane.
    Eye side = eyeAt({4, 0, 0.9}, 1, 10);
    side.camera.lookAt = {0, 0, 0.9};
    side.camera.up = {0, 0, 1};
    EXPECT_GT(draw(side).drawnPixels(), 100);
}

TEST_F(DisplayPictures, BentCloudHasEachPointWhereTheOperatorBringsIt) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> number(-1, 1);
    std::vector<point> points;
    std::vector<Color> colors;
    // Of what is in a pixel the nearest point is to be seen.
    std::map<std::pair<int, int>, std::pair<double, Pixel>> expected;
    for (int i = 0; i < 400; ++i) {
        const point flat{number(random), number(random), 0};
        const double longitude = flat.x * std::numbers::pi;
        const double latitude = flat.y * std::numbers::pi / 2;
        const double depth = 2.0 - std::sin(latitude);
        const double x = 32 + 32 * std::cos(latitude) * std::cos(longitude) / depth;
        const double y = 32 + 32 * std::cos(latitude) * std::sin(longitude) / depth;
        // Between pixels rounding decides.
        if (std::abs(x - std::round(x)) < 0.01 || std::abs(y - std::round(y)) < 0.01) continue;
        const auto red = static_cast<unsigned char>(i % 20 * 10);
        const auto green = static_cast<unsigned char>(i / 20 * 10);
        points.push_back(flat);
        colors.push_back({red, green, 50, 255});
        const std::pair shown(depth, Pixel{red, green, 50});
        const std::pair pixel(static_cast<int>(x), static_cast<int>(y));
        const auto present = expected.try_emplace(pixel, shown).first;
        if (depth < present->second.first) present->second = shown;
    }
    const auto object = add<PointCloud>(cloud(points, colors));
    object->pointSize().set({}, 1.0);
    TransformOperator ball;
    ball.functor = Keel::StrongPtr<TransformOperator::Functor>(new Ball);
    object->transformSlot().set({}, ball);
    const Image image = draw(eyeAt({0, 0, 2}, 0.5, 10));
    for (int i = 0; i < size * size; ++i) {
        const auto found = expected.find({i % size, i / size});
        EXPECT_EQ(image.at(i % size, i / size),
                  found != expected.end() ? found->second.second : magenta)
            << i % size << ", " << i / size;
    }
    EXPECT_GT(expected.size(), 250U);
}

/// An operator's text that brings vertices to a place, which is computed from `p`, that in the
/// world.
std::string textThatMovesTo(const std::string& place) {
    return R"(
vec4 zelk_transform_vertex_WorldToEye(RelativeVertex theVertex)
{
    vec3 p = WorldVertex(theVertex).xyz;
    return zelk_transform_vertex_WorldToEye_Default(
        mkRelativeVertex(vec4()" +
           place + R"( + theVertexOffset.xyz, 1.0)));
}
vec4 zelk_transform_vertex_EyeToScreen(vec4 theVertex_in_EyeSpace)
{
    return zelk_transform_vertex_EyeToScreen_Default(theVertex_in_EyeSpace);
}
vec3 zelk_transform_normal_WorldToEye(vec3 TheNormal)
{
    return zelk_transform_normal_WorldToEye_Default(TheNormal);
}
)";
}

/// Slants what is around (8, 0, 0) and brings it to the middle.
class Slant : public TransformOperator::Functor {
public:
    using BoxPtr = TransformOperator::BoundingBoxPtr;

    static point placeOf(const point& p) { return {p.x - 8 + 0.5 * p.z, 1.5 * p.y, p.z}; }
    std::string myShaderFunctions(VRenderContext&) const override {
        return textThatMovesTo("vec3(p.x - 8.0 + 0.5 * p.z, 1.5 * p.y, p.z)");
    }
    BoxPtr transformedBBox(const ValuePoolPtr&, const BoxPtr& box) const override {
        return BoxPtr(new Skua::BoundingBox(placeOf(box->min), placeOf(box->max)));
    }
};

TEST_F(DisplayPictures, MovedBoxHasItsEdgesWhereTheOperatorBringsThem) {
    const auto object = add<BoundingBoxDisplay>();
    const point middle{8, 0, 0};
    const vector half{0.6, 0.4, 0.7};
    object->box().set({}, sharedBox(middle - half, middle + half));
    constexpr double width = 3.0;
    object->lineWidth().set({}, width);
    const Eye eye = eyeAt({0, 0, 2}, 1, 10);
    EXPECT_EQ(draw(eye).drawnPixels(), 0) << "where its data are";
    TransformOperator slant;
    slant.functor = Keel::StrongPtr<TransformOperator::Functor>(new Slant);
    object->transformSlot().set({}, slant);
    const Image image = draw(eye);
    const auto inPicture = [&](unsigned corner) {
        vector aside = half;
        for (unsigned axis = 0; axis < 3; ++axis) {
            if ((corner >> axis & 1U) != 0) aside[axis] = -aside[axis];
        }
        const point p = Slant::placeOf(middle + aside);
        return point{32 + 32 * p.x / (2 - p.z), 32 + 32 * p.y / (2 - p.z), 0};
    };
    const auto distanceFromEdges = [&](const point& place) {
        double least = size;
        for (unsigned corner = 0; corner < 8; ++corner) {
            for (unsigned axis = 1; axis < 8; axis <<= 1U) {
                const point from = inPicture(corner), to = inPicture(corner ^ axis);
                least = std::min(least, distanceToSegment(from, to, place));
            }
        }
        return least;
    };
    int drawn = 0;
    for (int i = 0; i < size * size; ++i) {
        const double distance = distanceFromEdges({i % size + 0.5, i / size + 0.5, 0});
        // Ends are polygons that are nearly round.
        if (std::abs(distance - width / 2) < 0.15) continue;
        EXPECT_EQ(image.isDrawn(i % size, i / size), distance < width / 2)
            << i % size << ", " << i / size << " is " << distance << " pixels off";
        drawn += distance < width / 2 ? 1 : 0;
    }
    EXPECT_GT(drawn, 400);
}

/// Turns north and south round.
class Mirror : public TransformOperator::Functor {
public:
    using BoxPtr = TransformOperator::BoundingBoxPtr;

    std::string myShaderFunctions(VRenderContext&) const override {
        return textThatMovesTo("vec3(p.xy, -p.z)");
    }
    BoxPtr transformedBBox(const ValuePoolPtr&, const BoxPtr& box) const override {
        return BoxPtr(new Skua::BoundingBox({box->min.x, box->min.y, -box->max.z},
                                            {box->max.x, box->max.y, -box->min.z}));
    }
};

TEST_F(DisplayPictures, WhatAnOperatorBringsToTheNearSideIsNotLeftOut) {
    TransformOperator mirror;
    mirror.functor = Keel::StrongPtr<TransformOperator::Functor>(new Mirror);
    const Eye above = eyeAt({0, 0, 4 * earth}, earth, 9 * earth);
    const auto lines = add<LineSet>(parallel(-40, -180, 180), true);
    EXPECT_EQ(draw(above).drawnPixels(), 0);
    lines->transformSlot().set({}, mirror);
    EXPECT_GT(draw(above).drawnPixels(), 30);
    objects.clear();
    // A globe that left out its mirrored south would show what is in it.
    add<TriangleSurface>(triangle({0, 0, 0.5 * earth}, 0.4 * earth, {255, 128, 0, 255}));
    const auto globe = add<GlobeDisplay>();
    globe->transformSlot().set({}, mirror);
    const Pixel middle = draw(above).at(32, 32);
    EXPECT_GT(middle[2], middle[0]);
}

TEST_F(DisplayPictures, BoxShowsItsEdges) {
    const auto box = add<BoundingBoxDisplay>();
    box->box().set({}, sharedBox({-1, -1, -1}, {1, 1, 1}));
    box->lineWidth().set({}, 1.0);
    const Image image = draw(eyeAt({0, 0, 3}, 1, 10));
    // The front is 32 pixels wide, the back 16: four sides each, and four diagonals between them.
    EXPECT_NEAR(image.drawnPixels(), 4 * 32 + 4 * 16 + 4 * 8, 24);
    EXPECT_FALSE(image.isDrawn(32, 32));
    EXPECT_TRUE(image.isDrawn(16, 32) || image.isDrawn(15, 32));
    EXPECT_TRUE(image.isDrawn(24, 32) || image.isDrawn(23, 32));
}

} // namespace
