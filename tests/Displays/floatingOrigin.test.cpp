// Places in pictures against what long double gives, for data anywhere and cameras at any distance.

#include "../keel/thisProgram.hpp"
#include "displayPictures.hpp"

#include <Displays/originThreshold.hpp>

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <string>

using namespace Pictures;

namespace {

constexpr int pixels = 256; // of each side of the pictures

struct Place {
    double x = 0.0, y = 0.0;
};

Place operator-(const Place& a, const Place& b) {
    return {a.x - b.x, a.y - b.y};
}
double lengthOf(const Place& place) {
    return std::hypot(place.x, place.y);
}

class FloatingOrigin : public DisplayPictures {
protected:
    using Object = Keel::StrongPtr<DisplayObject, VManagedObjectBase>;

    void SetUp() override {
        DisplayPictures::SetUp();
        if (!glContext) return;
        glContext->setDepths(GLContext::Depths::Reversed);
        // The context takes them over when it is made.
        context = std::make_unique<GLRenderContext>(*glContext, seagrass,
                                                    Keel::WeakPtr<VRenderInterruptor>(),
                                                    Keel::StrongPtr<VRenderPrecision>(), 1LL << 30);
        context->pool = Keel::make<ValuePool>();
        target = std::make_unique<GLFramebuffer>(*glContext, pixels, pixels, 4);
        context->setTargets({target.get()});
    }
    void TearDown() override {
        target.reset();
        DisplayPictures::TearDown();
    }

    /// Looks at a point from a distance, not along an axis of the world.
    void lookAt(const point& centre, double distance, const vector& aside = {}) {
        Eye eye;
        eye.camera.position = centre + towardsEye * distance + aside;
        eye.camera.lookAt = centre + aside;
        eye.camera.up = {0.1, 0.2, 1.0};
        eye.camera.fieldOfView = 60.0;
        eye.near = 0.01 * distance;
        eye.far = 100.0 * distance;
        context->setEyes({eye});
    }
    /// The view's axes: 0 to the right, 1 up.
    vector axis(std::size_t row) const {
        const View::Matrix& m = context->CurrentView(0, 0).untranslatedModelView;
        return {m[row], m[4 + row], m[8 + row]};
    }
    /// Where a point is in the picture, in pixels from its lower left corner.
    Place projected(const point& p) const {
        const View& view = context->CurrentView(0, 0);
        std::array<long double, 3> eye{};
        for (std::size_t row = 0; row < 3; ++row) {
            for (std::size_t column = 0; column < 3; ++column) {
                const long double offset = static_cast<long double>(p[column]) -
                                           static_cast<long double>(view.camera.position[column]);
                eye[row] += view.untranslatedModelView[4 * column + row] * offset;
            }
        }
        const auto half = static_cast<long double>(pixels) / 2.0L;
        const long double scale = half * view.near / view.right / -eye[2];
        return {static_cast<double>(half + eye[0] * scale),
                static_cast<double>(half + eye[1] * scale)};
    }
    static Place middleOf(const std::vector<Place>& places) {
        Place sum;
        for (const Place& place : places) sum = {sum.x + place.x, sum.y + place.y};
        const auto number = static_cast<double>(places.size());
        return {sum.x / number, sum.y / number};
    }

    /// Has the origin of an object be as far away as it may be when it is looked at from there.
    void flyTo(const Object& object, const point& centre, double distance) {
        lookAt(centre, distance);
        const double threshold = originThreshold(*context, 0, 0.8 * distance);
        lookAt(centre, distance, axis(0) * (0.95 * threshold));
        drawn(object);
        lookAt(centre, distance);
    }
    /// The middle of what an object covers; not a number if that is nothing.
    Place drawn(const Object& object) {
        target->clear({0.0F, 0.0F, 0.0F, 0.0F}); // what is drawn is opaque
        VRequest request(context->pool);
        request.process(*object, 1.0);
        selection = {};
        selection.insert(0, Keel::WeakPtr<VObject, VManagedObjectBase>(object));
        double seconds = 0.0;
        result = context->renderObjects(selection, seconds, 0, 0);
        for (const auto& failure : context->failures()) ADD_FAILURE() << failure.report;
        std::vector<std::uint8_t> bytes(std::size_t{4} * pixels * pixels);
        target->readColors(bytes);
        double covered = 0.0, x = 0.0, y = 0.0;
        for (int i = 0; i < pixels * pixels; ++i) {
            const double part = bytes[static_cast<std::size_t>(4 * i + 3)] / 255.0;
            covered += part;
            x += part * (i % pixels + 0.5);
            y += part * (i / pixels + 0.5);
        }
        return {x / covered, y / covered};
    }
    Object pointAt(const point& place) {
        const auto object = add<PointCloud>(cloud({place}));
        object->pointSize().set({}, 24.0);
        return object;
    }
    Object lineBetween(const point& a, const point& b) {
        Polylines data = polylines({{1, {a, b}}}, LineKind::Curve);
        data.coordinates = CoordinateSystem::Geographic;
        const auto object = add<LineSet>(data);
        object->lineWidth().set({}, 12.0);
        return object;
    }
    Object surfaceOf(const std::vector<point>& corners,
                     const std::vector<std::uint32_t>& triangles) {
        return add<TriangleSurface>(mesh(corners, triangles));
    }

    static inline const vector towardsEye = [] {
        const vector v{0.48, -0.6, 0.64};
        return v * (1.0 / norm(v));
    }();

    std::unique_ptr<GLFramebuffer> target;
    ObjectSelection selection;
};

/// How far the middle of the world is away, along no axis.
class FloatingOriginAt : public FloatingOrigin, public testing::WithParamInterface<double> {
protected:
    point centre() const {
        return point() + vector{0.7, -0.5, 0.509902} * GetParam() + vector{0.125, 0.25, -0.5};
    }
};

std::string nameOfOffset(const testing::TestParamInfo<double>& info) {
    char name[32];
    std::snprintf(name, sizeof name, "E%d", static_cast<int>(std::lround(std::log10(info.param))));
    return info.param == 0.0 ? "Zero" : name;
}

INSTANTIATE_TEST_SUITE_P(Offsets, FloatingOriginAt, testing::Values(0.0, 1e3, 6.4e6, 1e9, 1e12),
                         nameOfOffset);

constexpr double tenthOfAPixel = 0.1;

TEST_P(FloatingOriginAt, PointsLinesAndSurfacesAreWithinATenthOfAPixel) {
    for (const double distance : {10.0, 1.0, 0.01}) {
        lookAt(centre(), distance);
        const vector right = axis(0) * distance, up = axis(1) * distance;
        const point mark = centre() + right * 0.2 - up * 0.1;
        const point a = centre() - right * 0.3 - up * 0.2, b = centre() + right * 0.2 + up * 0.3;
        const point c = centre() + right * 0.3 - up * 0.3;
        // A box with a length alone, whose edges all are the same line.
        const point end = centre() + vector{0.3 * distance, 0, 0};
        const auto box = add<BoundingBoxDisplay>();
        box->box().set({},
                       SharedBoundingBox(Keel::StrongPtr<Skua::BoundingBox, Keel::InterfaceBase>(
                           new Skua::BoundingBox(centre(), end))));
        box->lineWidth().set({}, 12.0);
        const struct {
            const char* what;
            Object object;
            std::vector<point> corners;
        } all[] = {{"point", pointAt(mark), {mark}},
                   {"line", lineBetween(a, b), {a, b}},
                   {"triangle", surfaceOf({a, b, c}, {0, 1, 2}), {a, b, c}},
                   {"box", box, {centre(), end}}};
        for (const auto& each : all) {
            flyTo(each.object, centre(), distance);
            std::vector<Place> places;
            for (const point& corner : each.corners) places.push_back(projected(corner));
            const double off = lengthOf(drawn(each.object) - middleOf(places));
            EXPECT_LT(off, tenthOfAPixel) << each.what << " from " << distance;
        }
    }
}

TEST_P(FloatingOriginAt, ClippingPlanesCutWithinATenthOfAPixel) {
    for (const double distance : {10.0, 1.0, 0.01}) {
        lookAt(centre(), distance);
        const vector right = axis(0) * distance, up = axis(1) * distance;
        const point left = centre() - right * 0.3, far = centre() + right * 0.3;
        const auto square = surfaceOf(
            {left - up * 0.3, far - up * 0.3, far + up * 0.3, left + up * 0.3}, {0, 1, 2, 0, 2, 3});
        const vector normal = axis(0);
        const double planeDistance = dot(normal, centre() - point());
        square->clippingPlanes().clip0.set({}, {normal, planeDistance});
        // Where the plane is in doubles, which is not quite at the centre.
        const long double step = [&] {
            long double sum = -static_cast<long double>(planeDistance);
            for (std::size_t i = 0; i < 3; ++i) {
                sum += static_cast<long double>(normal[i]) * static_cast<long double>(centre()[i]);
            }
            return sum;
        }();
        const Place middle = projected(centre()), edge = projected(far);
        const double pixelsOfUnit = (edge.x - middle.x) / (0.3 * distance);
        const double cut = middle.x - static_cast<double>(step) * pixelsOfUnit;
        flyTo(square, centre(), distance);
        const Place place = drawn(square);
        EXPECT_NEAR(place.x, (cut + edge.x) / 2.0, tenthOfAPixel) << distance;
    }
}

TEST_P(FloatingOriginAt, PickedPlaceIsThatOfTheSurface) {
    for (const double distance : {10.0, 1.0, 0.01}) {
        lookAt(centre(), distance);
        const vector right = axis(0) * distance, up = axis(1) * distance;
        // Inclined, so that each pixel has a depth of its own.
        const vector back = towardsEye * (0.3 * distance);
        const auto surface =
            surfaceOf({centre() - right * 0.3 - up * 0.3 + back, centre() + right * 0.3 - up * 0.3,
                       centre() + right * 0.3 + up * 0.3 - back, centre() - right * 0.3 + up * 0.3},
                      {0, 1, 2, 0, 2, 3});
        flyTo(surface, centre(), distance);
        drawn(surface);
        const int x = 150, y = 101;
        const auto place = context->pickPlace(selection, x, y, 0, 0);
        ASSERT_TRUE(place);
        const double pixel = distance / (pixels / 2.0 / std::tan(30.0 * 3.14159265 / 180.0));
        // Places can't be told finer than that.
        const double step = std::nextafter(GetParam(), 1e300) - GetParam();
        const Place there = projected(*place);
        EXPECT_LT(lengthOf(there - Place{x + 0.5, y + 0.5}), tenthOfAPixel + step / pixel);
        const point corner = centre() + right * 0.3 - up * 0.3;
        const vector e = (centre() + right * 0.3 + up * 0.3 - back) - corner;
        const vector f = (centre() - right * 0.3 - up * 0.3 + back) - corner;
        const vector n = cross(e, f) * (1.0 / norm(cross(e, f)));
        EXPECT_LT(std::abs(dot(n, *place - corner)), tenthOfAPixel * pixel + step) << distance;
        EXPECT_FALSE(context->pickPlace(selection, 2, 2, 0, 0));
        EXPECT_FALSE(context->pickPlace(selection, -1, 2, 0, 0));
        EXPECT_FALSE(context->pickPlace(selection, 2, pixels, 0, 0));
    }
}

class Flight : public FloatingOriginAt {};

// With sanitizers a frame takes ten times as long.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int frames = 200;
#else
constexpr int frames = 1000;
#endif

INSTANTIATE_TEST_SUITE_P(Offsets, Flight, testing::Values(6.4e6, 1e12), nameOfOffset);

TEST_P(Flight, FromOrbitToTheGroundAndAwayNothingTrembles) {
    const double highest = 2e7, lowest = 1.0;
    // Both across the view.
    const vector across = cross(towardsEye, vector{0, 0, 1}), upright = cross(across, towardsEye);
    const auto mark = pointAt(centre());
    std::map<int, Object> triangles;
    double worst = 0.0;
    for (int frame = 0; frame < frames; ++frame) {
        const double down = 1.0 - std::abs(2.0 * frame / (frames - 1.0) - 1.0);
        const double height = highest * std::pow(lowest / highest, down);
        lookAt(centre(), height, vector{0.1, 0.05, 0.0} * (height * std::sin(0.05 * frame)));
        worst = std::max(worst, lengthOf(drawn(mark) - projected(centre())));

        // One of a size that can be seen.
        const int size = static_cast<int>(std::floor(2.0 * std::log10(height)));
        const double side = 0.4 * std::pow(10.0, size / 2.0);
        const point a = centre() + across * side, b = centre() + upright * side,
                    c = centre() - (across + upright) * side;
        Object& triangle = triangles[size];
        if (!triangle) triangle = surfaceOf({a, b, c}, {0, 1, 2});
        const Place exact = middleOf({projected(a), projected(b), projected(c)});
        const double off = lengthOf(drawn(triangle) - exact);
        worst = std::max(worst, std::isnan(off) ? 1e9 : off);
    }
    RecordProperty("worstPixels", std::to_string(worst));
    std::printf("worst: %g pixels\n", worst);
    EXPECT_LT(worst, tenthOfAPixel);
}

TEST_F(FloatingOrigin, WithoutItThePictureIsVisiblyOff) {
    // The switch is read when the library is loaded.
    const auto linesOf = [](const std::string& environment) {
        return RunOfThisProgram(environment, "*FloatingOriginAt.PointsLines*/E9").result();
    };
    EXPECT_THAT(linesOf("DisableFloatingOrigin=0"), testing::EndsWith("exit 0"));
    const std::string lines = linesOf("DisableFloatingOrigin=1");
    EXPECT_THAT(lines, testing::EndsWith("exit 1"));
    for (const char* what : {"point", "line", "triangle", "box"}) {
        EXPECT_THAT(lines, testing::HasSubstr(std::string(what) + " from 10\n"));
    }
}

} // namespace
