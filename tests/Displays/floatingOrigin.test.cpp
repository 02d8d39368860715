// Places in pictures against what long double gives, for data anywhere and cameras at any distance.

#include "../keel/thisProgram.hpp"
#include "displayPictures.hpp"

#include <Displays/originThreshold.hpp>

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <numbers>
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
    /// A frame of these objects.
    void draw(const std::vector<Object>& shown) {
        target->clear({0.0F, 0.0F, 0.0F, 0.0F}); // what is drawn is opaque
        VRequest request(context->pool);
        selection = {};
        for (const Object& object : shown) {
            request.process(*object, 1.0);
            selection.insert(0, Keel::WeakPtr<VObject, VManagedObjectBase>(object));
        }
        double seconds = 0.0;
        result = context->renderObjects(selection, seconds, 0, 0);
        for (const auto& failure : context->failures()) ADD_FAILURE() << failure.report;
        target->readColors(bytes);
    }
    /// A part of the picture, in pixels; the first beyond it on the right and above.
    struct Part {
        int left = 0, bottom = 0, right = pixels, top = pixels;
    };
    /// The middle of what is covered there in the last frame; not a number if that is nothing.
    Place middleOf(const Part& part) const {
        double covered = 0.0, x = 0.0, y = 0.0;
        for (int row = part.bottom; row < part.top; ++row) {
            for (int column = part.left; column < part.right; ++column) {
                const auto i = static_cast<std::size_t>(row * pixels + column);
                const double share = bytes[4 * i + 3] / 255.0;
                covered += share;
                x += share * (column + 0.5);
                y += share * (row + 0.5);
            }
        }
        return {x / covered, y / covered};
    }
    Place drawn(const Object& object) {
        draw({object});
        return middleOf(Part{});
    }
    /// How far a plane is from a point, along its normal of length 1, as its distance in doubles
    /// has it.
    static long double stepFrom(const point& p, const vector& normal, double planeDistance) {
        long double sum = -static_cast<long double>(planeDistance);
        for (std::size_t i = 0; i < 3; ++i) {
            sum += static_cast<long double>(normal[i]) * static_cast<long double>(p[i]);
        }
        return sum;
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
    std::vector<std::uint8_t> bytes = std::vector<std::uint8_t>(std::size_t{4} * pixels * pixels);
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
        const long double step = stepFrom(centre(), normal, planeDistance);
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

/// A point, a line, a triangle, a square that is cut, and a slope to be picked, each in a part of
/// its own round the centre, and of a size that can be seen.
class Flight : public FloatingOriginAt {
protected:
    void SetUp() override {
        FloatingOriginAt::SetUp();
        if (!glContext) return;
        mark = add<PointCloud>(cloud({centre()}));
        mark->pointSize().set({}, 12.0);
        line = add<LineSet>();
        line->lineWidth().set({}, 20.0);
        triangle = add<TriangleSurface>();
        square = add<TriangleSurface>();
        slope = add<TriangleSurface>();
    }
    void TearDown() override {
        mark = {};
        line = {};
        triangle = square = slope = {};
        FloatingOriginAt::TearDown();
    }

    void setSize(double newSize) {
        if (newSize == sizeOfAll) return;
        sizeOfAll = newSize;
        const vector x = across * newSize, y = upright * newSize, back = towardsEye * newSize;
        ends = {centre() - x * 0.95 + y * 0.5, centre() - x * 0.35 + y * 0.75};
        Polylines data = polylines({{1, ends}}, LineKind::Curve);
        data.coordinates = CoordinateSystem::Geographic;
        line->lines().set({}, data);
        corners = {centre() + x * 0.3 + y * 0.35, centre() + x * 1.02 + y * 0.5,
                   centre() + x * 0.5 + y};
        triangle->surface().set({}, mesh(corners, {0, 1, 2}));
        const point middle = centre() + x * 0.66 - y * 0.66;
        const vector side = (across * 0.956 + upright * 0.293) * newSize;
        const vector other = cross(towardsEye, side);
        cutSides = {middle - side * 0.33, middle + side * 0.33};
        square->surface().set({}, mesh({cutSides[0] - other * 0.33, cutSides[1] - other * 0.33,
                                        cutSides[1] + other * 0.33, cutSides[0] + other * 0.33},
                                       {0, 1, 2, 0, 2, 3}));
        planeNormal = normalised(side);
        planeDistance = dot(planeNormal, middle - side * 0.1 - point());
        square->clippingPlanes().clip0.set({}, {planeNormal, planeDistance});
        const point low = centre() - x * 0.66 - y * 0.66;
        slopes = {low - x * 0.3 - y * 0.3 + back * 0.3, low + x * 0.3 - y * 0.3,
                  low + x * 0.3 + y * 0.3 - back * 0.3, low - x * 0.3 + y * 0.3};
        slope->surface().set({}, mesh(slopes, {0, 1, 2, 0, 2, 3}));
    }
    /// How far off all that is drawn is in a frame, in pixels.
    std::map<std::string, double> offs() {
        draw({mark, line, triangle, square, slope});
        std::map<std::string, double> all;
        const auto compare = [&](const char* what, const std::vector<Place>& outline,
                                 const Place& exact, int beyond) {
            const double off = lengthOf(middleOf(partOf(outline, beyond)) - exact);
            all[what] = std::isnan(off) ? notThere : off;
        };
        const auto places = [&](const std::vector<point>& points) {
            std::vector<Place> projections;
            for (const point& p : points) projections.push_back(projected(p));
            return projections;
        };
        const Place middle = projected(centre());
        compare("point", {middle}, middle, 8);
        compare("line", places(ends), middleOf(places(ends)), 12);
        compare("triangle", places(corners), middleOf(places(corners)), 3);
        const std::vector<Place> sides = places(cutSides);
        const long double before = stepFrom(cutSides[0], planeNormal, planeDistance);
        const long double behind = stepFrom(cutSides[1], planeNormal, planeDistance);
        const auto cut = static_cast<double>(before / (before - behind));
        const double part = (1.0 + cut) / 2.0;
        const Place exact{sides[0].x + (sides[1].x - sides[0].x) * part,
                          sides[0].y + (sides[1].y - sides[0].y) * part};
        const auto half = static_cast<int>(lengthOf(sides[1] - sides[0]));
        compare("cut square", {projected(cutSides[0] + (cutSides[1] - cutSides[0]) * 0.5)}, exact,
                half * 5 / 8 + 3);
        return all;
    }
    /// The same of a place that is picked.
    double offOfPick() {
        const point middle = slopes[1] + (slopes[3] - slopes[1]) * 0.5;
        const Place aim = projected(middle);
        const int x = static_cast<int>(aim.x), y = static_cast<int>(aim.y);
        const auto place = context->pickPlace(selection, x, y, 0, 0);
        if (!place) return notThere;
        const VCamera& camera = context->CurrentView(0, 0).camera;
        const double pixel = norm(camera.lookAt - camera.position) * 2.0 *
                             std::tan(camera.fieldOfView / 360.0 * std::numbers::pi) / pixels;
        const vector normal = cross(slopes[1] - slopes[0], slopes[3] - slopes[0]);
        const double aside = lengthOf(projected(*place) - Place{x + 0.5, y + 0.5});
        const double above = std::abs(dot(normalised(normal), *place - slopes[1])) / pixel;
        // Places can't be told finer than that.
        const double step = (std::nextafter(GetParam(), 1e300) - GetParam()) / pixel;
        return std::max(aside, above) - step;
    }
    static Part partOf(const std::vector<Place>& outline, int beyond) {
        Part part{pixels, pixels, 0, 0};
        for (const Place& place : outline) {
            const int x = static_cast<int>(place.x), y = static_cast<int>(place.y);
            part = {std::min(part.left, x - beyond), std::min(part.bottom, y - beyond),
                    std::max(part.right, x + beyond + 1), std::max(part.top, y + beyond + 1)};
        }
        return {std::max(part.left, 0), std::max(part.bottom, 0), std::min(part.right, pixels),
                std::min(part.top, pixels)};
    }

    static constexpr double notThere = 1e9;
    // Both across the view of who looks along towardsEye.
    static inline const vector across = normalised(cross(-towardsEye, vector{0.1, 0.2, 1.0}));
    static inline const vector upright = cross(across, -towardsEye);

    double sizeOfAll = 0.0;
    std::vector<point> ends, corners, cutSides, slopes;
    vector planeNormal;
    double planeDistance = 0.0;
    Keel::StrongPtr<PointCloud, VManagedObjectBase> mark;
    Keel::StrongPtr<LineSet, VManagedObjectBase> line;
    Keel::StrongPtr<TriangleSurface, VManagedObjectBase> triangle, square, slope;
};

// With sanitizers a frame takes ten times as long.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int frames = 200;
#else
constexpr int frames = 1000;
#endif

INSTANTIATE_TEST_SUITE_P(Offsets, Flight, testing::Values(0.0, 1e3, 6.4e6, 1e9, 1e12),
                         nameOfOffset);

TEST_P(Flight, FromOrbitToTheGroundAndAwayNothingTrembles) {
    const double highest = 2e7, lowest = 1.0;
    // To pick takes as long as to draw.
    const bool isLong = GetParam() == 6.4e6 || GetParam() == 1e12;
    const int number = isLong ? frames : frames / 10, framesOfPick = isLong ? 5 : 1;
    std::map<std::string, double> worst;
    for (int frame = 0; frame < number; ++frame) {
        const double down = 1.0 - std::abs(2.0 * frame / (number - 1.0) - 1.0);
        const double height = highest * std::pow(lowest / highest, down);
        lookAt(centre(), height, vector{0.1, 0.05, 0.0} * (height * std::sin(0.05 * frame)));
        setSize(0.4 * std::pow(10.0, std::floor(4.0 * std::log10(height)) / 4.0));
        std::map<std::string, double> all = offs();
        if (frame % framesOfPick == 0) all["picked place"] = offOfPick();
        for (const auto& [what, off] : all) worst[what] = std::max(worst[what], off);
    }
    ASSERT_EQ(worst.size(), 5U);
    for (const auto& [what, off] : worst) {
        std::printf("worst %s: %g pixels\n", what.c_str(), off);
        EXPECT_LT(off, tenthOfAPixel) << what;
    }
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
