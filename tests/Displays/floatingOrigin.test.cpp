// Places in pictures against what long double gives, for data anywhere and cameras at any distance.

#include "../PolypiaGL/exactView.hpp"
#include "../keel/thisProgram.hpp"
#include "displayPictures.hpp"

#include <Displays/horizon.hpp>
#include <Displays/originThreshold.hpp>

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

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
        renewContext();
        drawInto({pixels, pixels});
    }

    /// Pictures to draw into, all of the same size. They may be a part of larger ones.
    struct Canvas {
        int width = 0, height = 0;
        std::size_t eyes = 1;
        std::optional<GLRenderContext::Part> part = {};
        int samples = 4;
    };
    void drawInto(const Canvas& next) {
        canvas = next;
        context->setTargets(std::vector<const GLFramebuffer*>());
        targets.clear();
        std::vector<const GLFramebuffer*> places;
        for (std::size_t i = 0; i < canvas.eyes; ++i) {
            targets.push_back(std::make_unique<GLFramebuffer>(*glContext, canvas.width,
                                                              canvas.height, canvas.samples));
            places.push_back(targets.back().get());
        }
        context->setTargets(places);
        context->showPart(canvas.part);
    }

    /// Looks at a point from a distance, not along an axis of the world.
    void lookAt(const point& centre, double distance, const vector& aside = {}) {
        Eye next;
        next.camera.position = centre + towardsEye * distance + aside;
        next.camera.lookAt = centre + aside;
        next.camera.up = worldUp;
        next.camera.fieldOfView = 60.0;
        next.near = 0.01 * distance;
        next.far = 100.0 * distance;
        setEye(next);
    }
    void setEye(const Eye& next) { setEyes({next}); }
    void setEyes(const std::vector<Eye>& next) {
        eyes = next;
        context->setEyes(eyes);
        regard(0);
    }
    /// From now on the picture of this eye is looked at.
    void regard(std::size_t which) {
        eye = eyes[which];
        regarded = which;
        const GLRenderContext::Part whole =
            canvas.part.value_or(GLRenderContext::Part{0, 0, canvas.width, canvas.height});
        view = GLTest::ExactView(eye, whole.widthPixels, whole.heightPixels);
        lowerLeft = {static_cast<double>(whole.left), static_cast<double>(whole.bottom)};
    }
    /// Where a point is in the picture, in pixels from its lower left corner.
    Place projected(const point& p) const {
        const GLTest::ExactView::Place place = view.placeOf(p);
        return Place{static_cast<double>(place.x), static_cast<double>(place.y)} - lowerLeft;
    }
    /// How wide a pixel is at a depth, in units of the world.
    double pixelAt(double depth) const { return static_cast<double>(view.pixelAt(depth)); }
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
        lookAt(centre, distance, across * (0.95 * threshold));
        drawn(object);
        lookAt(centre, distance);
    }
    /// A frame of these objects.
    void draw(const std::vector<Object>& shown) {
        // What is drawn is opaque.
        for (const auto& target : targets) target->clear({0.0F, 0.0F, 0.0F, 0.0F});
        VRequest request(context->pool);
        selection = {};
        for (const Object& object : shown) {
            request.process(*object, 1.0);
            selection.insert(0, Keel::WeakPtr<VObject, VManagedObjectBase>(object));
        }
        double seconds = 0.0;
        result = context->renderObjects(selection, seconds, 0, 0);
        for (const auto& failure : context->failures()) ADD_FAILURE() << failure.report;
        pictures.clear();
        for (const auto& target : targets) {
            pictures.emplace_back(static_cast<std::size_t>(4 * canvas.width * canvas.height));
            target->readColors(pictures.back());
        }
    }
    /// How much of a pixel is covered, from 0 to 1.
    double shareOf(int x, int y) const {
        const auto i = static_cast<std::size_t>(y * canvas.width + x);
        return pictures[regarded][4 * i + 3] / 255.0;
    }
    /// A part of the picture, in pixels; the first beyond it on the right and above.
    struct Part {
        int left = 0, bottom = 0, right = 0, top = 0;
    };
    /// The middle of what is covered there in the last frame; not a number if that is nothing.
    Place middleOf(const Part& part) const {
        double covered = 0.0, x = 0.0, y = 0.0;
        for (int row = part.bottom; row < part.top; ++row) {
            for (int column = part.left; column < part.right; ++column) {
                const double share = shareOf(column, row);
                covered += share;
                x += share * (column + 0.5);
                y += share * (row + 0.5);
            }
        }
        return {x / covered, y / covered};
    }
    Place drawn(const Object& object) {
        draw({object});
        return middleOf({0, 0, canvas.width, canvas.height});
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

    static inline const vector towardsEye = normalised(vector{0.48, -0.6, 0.64});
    static inline const vector worldUp{0.1, 0.2, 1.0};
    // Both across the view of who looks along towardsEye.
    static inline const vector across = normalised(cross(-towardsEye, worldUp));
    static inline const vector upright = cross(across, -towardsEye);

    Canvas canvas;
    std::vector<Eye> eyes;
    ObjectSelection selection;
    std::vector<std::vector<std::uint8_t>> pictures;
    // Of the eye whose picture is looked at.
    std::size_t regarded = 0;
    Eye eye;
    GLTest::ExactView view{eye, pixels, pixels};
    Place lowerLeft; // of what is shown of the whole
};

constexpr double tenthOfAPixel = 0.1;

/// How something is called in failures of these tests.
std::string seen(const std::string& what, const std::string& how, double offset) {
    std::ostringstream text;
    text << what << ' ' << how << ", at " << offset;
    return text.str();
}
std::string from(double distance) {
    std::ostringstream text;
    text << "from " << distance;
    return text.str();
}
constexpr const char* inFlight = "in flight";
constexpr const char* visibly = ": visibly off";

/// How far the middle of the world is away, along no axis.
class FloatingOriginAt : public FloatingOrigin, public testing::WithParamInterface<double> {
protected:
    /// Expects that something is less than a tenth of a pixel off; it is not a number if it isn't
    /// there.
    static void expectExact(double off, const std::string& what, const std::string& how) {
        EXPECT_LT(off, tenthOfAPixel) << seen(what, how, GetParam()) << (off <= 1.0 ? "" : visibly);
    }
    /// How far off a picked place may be because it is handed out in doubles: each of its three
    /// coordinates is rounded by up to half of what they are apart there, which is less than that
    /// in all.
    static double stepOfDoubles() { return std::nextafter(GetParam(), 1e300) - GetParam(); }
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

TEST_P(FloatingOriginAt, PointsLinesAndSurfacesAreWithinATenthOfAPixel) {
    for (const double distance : {10.0, 1.0, 0.01}) {
        lookAt(centre(), distance);
        const vector right = across * distance, up = upright * distance;
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
            expectExact(off, each.what, from(distance));
        }
    }
}

TEST_P(FloatingOriginAt, ClippingPlanesCutWithinATenthOfAPixel) {
    for (const double distance : {10.0, 1.0, 0.01}) {
        lookAt(centre(), distance);
        const vector right = across * distance, up = upright * distance;
        const point left = centre() - right * 0.3, far = centre() + right * 0.3;
        const auto square = surfaceOf(
            {left - up * 0.3, far - up * 0.3, far + up * 0.3, left + up * 0.3}, {0, 1, 2, 0, 2, 3});
        const vector normal = across;
        const double planeDistance = dot(normal, centre() - point());
        square->clippingPlanes().clip0.set({}, {normal, planeDistance});
        // Where the plane is in doubles, which is not quite at the centre.
        const long double step = stepFrom(centre(), normal, planeDistance);
        const Place middle = projected(centre()), edge = projected(far);
        const double pixelsOfUnit = (edge.x - middle.x) / (0.3 * distance);
        const double cut = middle.x - static_cast<double>(step) * pixelsOfUnit;
        flyTo(square, centre(), distance);
        // Of the middle of what is left, which is off by half as much as the edge.
        const double off = 2.0 * std::abs(drawn(square).x - (cut + edge.x) / 2.0);
        expectExact(off, "edge of a cut", from(distance));
    }
}

TEST_P(FloatingOriginAt, PickedPlaceIsThatOfTheSurface) {
    for (const double distance : {10.0, 1.0, 0.01}) {
        lookAt(centre(), distance);
        const vector right = across * distance, up = upright * distance;
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
        double off = std::nan("");
        const double pixel = pixelAt(distance);
        const point corner = centre() + right * 0.3 - up * 0.3;
        const vector e = (centre() + right * 0.3 + up * 0.3 - back) - corner;
        const vector f = (centre() - right * 0.3 - up * 0.3 + back) - corner;
        const vector n = cross(e, f) * (1.0 / norm(cross(e, f)));
        if (place) {
            const double aside = lengthOf(projected(*place) - Place{x + 0.5, y + 0.5});
            const double above = std::abs(dot(n, *place - corner)) / pixel;
            off = std::max(aside, above) - stepOfDoubles() / pixel;
        }
        expectExact(off, "picked place", from(distance));
        EXPECT_FALSE(context->pickPlace(selection, 2, 2, 0, 0));
        EXPECT_FALSE(context->pickPlace(selection, -1, 2, 0, 0));
        EXPECT_FALSE(context->pickPlace(selection, 2, pixels, 0, 0));
    }
}

/// The twelve edges of a box in the picture.
class BoxEdges : public FloatingOriginAt {
protected:
    struct Edge {
        Place begin, end;

        /// Along it from 0 to 1, and beside it in pixels.
        Place placeOn(const Place& place) const {
            const Place along = end - begin, way = place - begin;
            const double length = lengthOf(along);
            return {(way.x * along.x + way.y * along.y) / (length * length),
                    (way.y * along.x - way.x * along.y) / length};
        }
        double distanceTo(const Place& place) const {
            const Place on = placeOn(place);
            return lengthOf(place - at(std::clamp(on.x, 0.0, 1.0)));
        }
        Place at(double part) const {
            return {begin.x + (end.x - begin.x) * part, begin.y + (end.y - begin.y) * part};
        }
    };

    std::vector<Edge> edgesOf(const Skua::BoundingBox& box) const {
        std::vector<Edge> edges;
        for (const std::size_t axis : {0U, 1U, 2U}) {
            const std::size_t second = (axis + 1) % 3, third = (axis + 2) % 3;
            for (const auto& [secondFrom, thirdFrom] : {std::pair{&box.min, &box.min},
                                                        {&box.min, &box.max},
                                                        {&box.max, &box.min},
                                                        {&box.max, &box.max}}) {
                point begin = box.min;
                begin[second] = (*secondFrom)[second];
                begin[third] = (*thirdFrom)[third];
                point end = begin;
                end[axis] = box.max[axis];
                edges.push_back({projected(begin), projected(end)});
            }
        }
        return edges;
    }
    /// How far beside an edge it is drawn, where no others are near; not a number if it isn't.
    double offOf(const Edge& edge, const std::vector<Edge>& all) const {
        const auto isApart = [&](const Place& place) {
            return std::all_of(all.begin(), all.end(), [&](const Edge& other) {
                const double clear = lookedPixels + widthPixels / 2.0 + 1.0;
                return &other == &edge || other.distanceTo(place) > clear;
            });
        };
        double covered = 0.0, beside = 0.0;
        for (int i = 0; i < canvas.width * canvas.height; ++i) {
            const int x = i % canvas.width, y = i / canvas.width;
            const Place on = edge.placeOn({x + 0.5, y + 0.5});
            if (on.x < 0.1 || on.x > 0.9 || std::abs(on.y) > lookedPixels) continue;
            // Of each line across it all or nothing is looked at.
            if (!isApart(edge.at(on.x))) continue;
            covered += shareOf(x, y);
            beside += shareOf(x, y) * on.y;
        }
        return std::abs(beside / covered);
    }

    static constexpr double widthPixels = 6.0, lookedPixels = 5.0;
};

INSTANTIATE_TEST_SUITE_P(Offsets, BoxEdges, testing::Values(0.0, 1e3, 6.4e6, 1e9, 1e12),
                         nameOfOffset);

TEST_P(BoxEdges, AreAllWithinATenthOfAPixel) {
    const auto display = add<BoundingBoxDisplay>();
    display->lineWidth().set({}, widthPixels);
    for (const double distance : {10.0, 1.0, 0.01}) {
        const vector half = vector{0.27, 0.18, 0.22} * distance;
        const Skua::BoundingBox box(centre() - half, centre() + half);
        display->box().set(
            {}, SharedBoundingBox(Keel::StrongPtr<Skua::BoundingBox, Keel::InterfaceBase>(
                    new Skua::BoundingBox(box))));
        flyTo(display, centre(), distance);
        drawn(display);
        const std::vector<Edge> edges = edgesOf(box);
        ASSERT_EQ(edges.size(), 12U);
        for (std::size_t i = 0; i < edges.size(); ++i) {
            expectExact(offOf(edges[i], edges), "edge " + std::to_string(i), from(distance));
        }
    }
}

/// A point, a line, a triangle, a square that is cut, and a slope to be picked, each in a part of
/// its own round the centre, and of a size that can be seen.
class Scene : public FloatingOriginAt {
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
    void drawAll() { draw({mark, line, triangle, square, slope}); }
    /// How far off all that is drawn is, in pixels.
    std::map<std::string, double> offs() const {
        std::map<std::string, double> all;
        const auto compare = [&](const char* what, const std::vector<Place>& outline,
                                 const Place& exact, int beyond) {
            all[what] = lengthOf(middleOf(partOf(outline, beyond)) - exact);
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
        compare("edge of a cut", {projected(cutSides[0] + (cutSides[1] - cutSides[0]) * 0.5)},
                exact, half * 5 / 8 + 3);
        return all;
    }
    /// The same of a place that is picked.
    double offOfPick() const {
        const point middle = slopes[1] + (slopes[3] - slopes[1]) * 0.5;
        const Place aim = projected(middle);
        const int x = static_cast<int>(aim.x), y = static_cast<int>(aim.y);
        const auto place = context->pickPlace(selection, x, y, 0, 0);
        if (!place) return std::nan("");
        const double pixel = pixelAt(norm(eye.camera.lookAt - eye.camera.position));
        const vector normal = cross(slopes[1] - slopes[0], slopes[3] - slopes[0]);
        const double aside = lengthOf(projected(*place) - Place{x + 0.5, y + 0.5});
        const double above = std::abs(dot(normalised(normal), *place - slopes[1])) / pixel;
        return std::max(aside, above) - stepOfDoubles() / pixel;
    }
    Part partOf(const std::vector<Place>& outline, int beyond) const {
        Part part{canvas.width, canvas.height, 0, 0};
        for (const Place& place : outline) {
            const int x = static_cast<int>(place.x), y = static_cast<int>(place.y);
            part = {std::min(part.left, x - beyond), std::min(part.bottom, y - beyond),
                    std::max(part.right, x + beyond + 1), std::max(part.top, y + beyond + 1)};
        }
        return {std::max(part.left, 0), std::max(part.bottom, 0),
                std::min(part.right, canvas.width), std::min(part.top, canvas.height)};
    }

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
constexpr int usualFrames = 100;
#else
constexpr int usualFrames = 1000;
#endif
constexpr const char* framesInEnvironment = "POLYPIA_FLIGHT_FRAMES";

int flightFrames() {
    const char* const chosen = std::getenv(framesInEnvironment);
    return chosen ? std::atoi(chosen) : usualFrames;
}

class Flight : public Scene {};

INSTANTIATE_TEST_SUITE_P(Offsets, Flight, testing::Values(0.0, 1e3, 6.4e6, 1e9, 1e12),
                         nameOfOffset);

TEST_P(Flight, FromOrbitToTheGroundAndAwayNothingTrembles) {
    const double highest = 2e7, lowest = 1.0;
    const int number = flightFrames();
    std::map<std::string, double> worst;
    for (int frame = 0; frame < number; ++frame) {
        const double down = 1.0 - std::abs(2.0 * frame / (number - 1.0) - 1.0);
        const double height = highest * std::pow(lowest / highest, down);
        lookAt(centre(), height, vector{0.1, 0.05, 0.0} * (height * std::sin(0.05 * frame)));
        setSize(0.4 * std::pow(10.0, std::floor(4.0 * std::log10(height)) / 4.0));
        drawAll();
        std::map<std::string, double> all = offs();
        all["picked place"] = offOfPick();
        for (const auto& [what, off] : all) {
            double& most = worst[what];
            // What isn't there is the worst.
            most = std::isnan(off) || std::isnan(most) ? std::nan("") : std::max(most, off);
        }
    }
    ASSERT_EQ(worst.size(), 5U);
    for (const auto& [what, off] : worst) expectExact(off, what, inFlight);
}

/// What isn't seen by one eye, straight ahead, in a square picture.
class OtherViews : public Scene {
protected:
    /// All that is drawn in the pictures of these eyes, which look at the centre from a distance;
    /// with an origin that is as far away as it may be.
    void expectExactThrough(std::vector<Eye> lenses, double distance, const std::string& how) {
        for (Eye& lens : lenses) {
            lens.camera.position = centre() + towardsEye * distance;
            lens.camera.lookAt = centre();
            lens.camera.up = worldUp;
            lens.near = 0.01 * distance;
            lens.far = 100.0 * distance;
        }
        setEyes(lenses);
        const double pixel = pixelAt(distance);
        setSize(88.0 * pixel);
        // Has the centre be in the middle of a part.
        const Place middle{canvas.width / 2.0, canvas.height / 2.0};
        const Place off = canvas.part ? projected(centre()) - middle : Place{};
        const vector aside = across * (off.x * pixel) + upright * (off.y * pixel);
        const double threshold = originThreshold(*context, 0, 0.5 * distance);
        for (const double far : {0.95 * threshold, 0.0}) {
            std::vector<Eye> moved = lenses;
            for (Eye& each : moved) {
                each.camera.position = each.camera.position + (aside + across * far);
                each.camera.lookAt = each.camera.lookAt + (aside + across * far);
            }
            setEyes(moved);
            drawAll();
        }
        for (std::size_t i = 0; i < lenses.size(); ++i) {
            regard(i);
            for (const auto& [what, each] : offs()) expectExact(each, what, how);
        }
        // In the picture of the first eye.
        regard(0);
        expectExact(offOfPick(), "picked place", how);
    }
    /// From where all has its shape; nearer by, steps of doubles are to be seen at 1e12.
    static double nearest() { return GetParam() < 1e9 ? 0.01 : 1.0; }
    static Eye lensOf(double degrees) {
        Eye lens;
        lens.camera.fieldOfView = degrees;
        return lens;
    }
};

INSTANTIATE_TEST_SUITE_P(Offsets, OtherViews, testing::Values(0.0, 6.4e6, 1e12), nameOfOffset);

TEST_P(OtherViews, WithoutPerspective) {
    Eye lens = lensOf(60.0);
    lens.orthographic = true;
    for (const double distance : {1e6, 10.0, nearest()}) {
        expectExactThrough({lens}, distance, "without perspective " + from(distance));
    }
}

TEST_P(OtherViews, OfTwoEyesThatAreOffTheAxis) {
    drawInto({pixels, pixels, 2});
    for (const double distance : {1e6, 10.0, nearest()}) {
        Eye left = lensOf(60.0), right = left;
        left.separation = -0.1;
        right.separation = 0.1;
        left.focus = right.focus = distance;
        expectExactThrough({left, right}, distance, "off the axis " + from(distance));
    }
}

TEST_P(OtherViews, ThroughALongLens) {
    for (const double distance : {1e6, 1e4}) {
        expectExactThrough({lensOf(0.01)}, distance, "through a long lens " + from(distance));
    }
}

TEST_P(OtherViews, OfAPartOfALargerPicture) {
    for (const auto& [left, bottom] : {std::pair{0, 0}, {1500, 900}, {700, 400}}) {
        drawInto({pixels, pixels, 1, GLRenderContext::Part{left, bottom, 2000, 1200}});
        for (const double distance : {1e6, 10.0, nearest()}) {
            expectExactThrough({lensOf(60.0)}, distance, "in a part " + from(distance));
        }
    }
}

TEST_P(OtherViews, OfPicturesThatAreNotSquare) {
    for (const auto& [width, height] : {std::pair{400, 192}, {192, 400}}) {
        drawInto({width, height});
        for (const double distance : {1e6, 10.0, nearest()}) {
            expectExactThrough({lensOf(60.0)}, distance, "not square " + from(distance));
        }
    }
}

/// The globe as it is drawn, next to one of its triangles.
class GlobeGround : public FloatingOrigin {
protected:
    using Numbers = GLTest::ExactView::Numbers;
    struct Triangle {
        std::array<point, 3> corners;
        point middle() const {
            return corners[0] + ((corners[1] - corners[0]) + (corners[2] - corners[0])) * (1.0 / 3);
        }
        vector normal() const {
            return normalised(cross(corners[1] - corners[0], corners[2] - corners[0]));
        }
    };

    void SetUp() override {
        FloatingOrigin::SetUp();
        if (!glContext) return;
        // Of one sample, which tells what is at the middle of a pixel.
        drawInto({pixels, pixels, 1, {}, 1});
        globe = add<GlobeDisplay>();
    }
    void TearDown() override {
        globe = {};
        FloatingOrigin::TearDown();
    }

    static point corner(int longitude, int latitude) {
        const point p = Skua::toEarthCentred(
            {static_cast<double>(longitude), static_cast<double>(latitude), 0.0});
        return point() + (p - point()) * globeScale;
    }
    /// The two triangles of a degree, from its south-western corner.
    static std::array<Triangle, 2> trianglesOf(int longitude, int latitude) {
        const point southWest = corner(longitude, latitude),
                    southEast = corner(longitude + 1, latitude),
                    northWest = corner(longitude, latitude + 1),
                    northEast = corner(longitude + 1, latitude + 1);
        return {Triangle{{northWest, southWest, northEast}},
                Triangle{{northEast, southWest, southEast}}};
    }
    /// All that can be seen from near the ground of a degree.
    static std::vector<Triangle> trianglesAround(int longitude, int latitude) {
        std::vector<Triangle> all;
        for (int row = -3; row <= 3; ++row) {
            for (int column = -8; column <= 8; ++column) {
                for (const Triangle& each : trianglesOf(longitude + column, latitude + row)) {
                    all.push_back(each);
                }
            }
        }
        return all;
    }
    /// From above the middle of a triangle towards its horizon, aslant.
    void lookAlong(const Triangle& ground, double height) {
        const vector up = ground.normal();
        const vector ahead = normalised(ground.corners[0] - ground.corners[1]);
        Eye next;
        next.camera.position = ground.middle() + up * height;
        next.camera.lookAt = next.camera.position + (ahead - up * 0.1) * (10.0 * height);
        next.camera.up = up + cross(ahead, up) * 0.3;
        next.camera.fieldOfView = 60.0;
        next.near = 0.1 * height;
        next.far = 1e7;
        setEye(next);
    }
    /// The same from elsewhere, as high above the ellipsoid.
    void moveTo(const point& elsewhere) {
        const auto sizeOf = [](const point& p) {
            return norm(vector{p.x, p.y, p.z / (1.0 - Skua::WGS84::flattening)});
        };
        Eye moved = eye;
        const point from = eye.camera.position;
        moved.camera.position =
            point() + (elsewhere - point()) * (sizeOf(from) / sizeOf(elsewhere));
        moved.camera.lookAt = moved.camera.position + (eye.camera.lookAt - from);
        setEye(moved);
    }

    /// In which triangle a ray from the camera through a place of the picture ends first, and how
    /// far away in depths of the view; nowhere if `triangle` is null.
    struct Hit {
        const Triangle* triangle = nullptr;
        long double depth = 0.0L;
    };
    Hit hitAt(const Place& place, const std::vector<Triangle>& triangles) const {
        const Numbers ray = view.rayThrough({place.x, place.y});
        Hit nearest;
        for (const Triangle& each : triangles) {
            const long double depth = depthOf(each, view.position(), ray);
            if (depth <= 0.0L || (nearest.triangle && depth >= nearest.depth)) continue;
            nearest = {&each, depth};
        }
        return nearest;
    }
    /// Where a ray meets a triangle, in its own lengths; 0 if nowhere in front of the eye.
    static long double depthOf(const Triangle& triangle, const point& from, const Numbers& ray) {
        std::array<Numbers, 3> to{};
        for (std::size_t n = 0; n < 3; ++n) {
            to[n] = GLTest::ExactView::between(from, triangle.corners[n]);
        }
        // Of the tetrahedra between the ray and the sides.
        const long double a = volume(ray, to[0], to[1]), b = volume(ray, to[1], to[2]),
                          c = volume(ray, to[2], to[0]);
        const bool isInside =
            (a >= 0.0L && b >= 0.0L && c >= 0.0L) || (a <= 0.0L && b <= 0.0L && c <= 0.0L);
        return isInside ? volume(to[0], to[1], to[2]) / (a + b + c) : 0.0L;
    }
    static long double volume(const Numbers& a, const Numbers& b, const Numbers& c) {
        return GLTest::ExactView::dot(a, GLTest::ExactView::cross(b, c));
    }

    /// How far up the ground reaches on a vertical line of the picture, whose lower end is on it.
    double horizonAt(double x, const std::vector<Triangle>& triangles) const {
        double onGround = 0.0, above = pixels;
        while (above - onGround > 0.01) {
            const double middle = (onGround + above) / 2.0;
            (hitAt({x, middle}, triangles).triangle ? onGround : above) = middle;
        }
        return onGround;
    }
    /// How far up it is drawn without a gap in a column of pixels, if there is nothing above that;
    /// else not a number.
    double drawnHorizonAt(int x) const {
        const auto isDrawn = [&](int y) { return shareOf(x, y) > 0.0; };
        int top = 0;
        while (top < pixels && isDrawn(top)) ++top;
        for (int y = top; y < pixels; ++y) {
            if (isDrawn(y)) return std::nan("");
        }
        return top;
    }

    Keel::StrongPtr<GlobeDisplay, VManagedObjectBase> globe;
};

TEST_F(GlobeGround, HorizonAndPickedPlacesAreRightToATenthOfAPixelNextToIt) {
    // The first is a kilometre above the ellipsoid, below which the globe is.
    const struct {
        int longitude, latitude;
        double height;
    } places[] = {{11, 47, 7.4e3}, {-180, -17, 1e3}, {24, 60, 10.0}};
    for (const auto& [longitude, latitude, height] : places) {
        const std::vector<Triangle> triangles = trianglesAround(longitude, latitude);
        const Triangle ground = trianglesOf(longitude, latitude)[1];
        lookAlong(ground, height);
        const double threshold = originThreshold(*context, 0, height);
        for (const double part : {0.95, 4.0, 12.0}) {
            // Has the origin be there, unless the object doesn't let it be so far away.
            const point place = eye.camera.position;
            const vector right = normalised(cross(eye.camera.lookAt - place, eye.camera.up));
            moveTo({-place.y, place.x, place.z});
            draw({globe});
            moveTo(place + right * (part * threshold));
            draw({globe});
            lookAlong(ground, height);
            draw({globe});
            double worst = 0.0;
            for (int x = 0; x < pixels; x += 5) {
                // Pixels are drawn whose middles are on the ground.
                const double off = drawnHorizonAt(x) - horizonAt(x + 0.5, triangles);
                worst = std::max(worst, std::isnan(off) ? 1e9 : std::abs(off) - 0.5);
            }
            EXPECT_LT(worst, tenthOfAPixel) << "horizon from " << height << ", " << part;
            for (const auto& [x, y] : {std::pair{20, 20}, {128, 100}, {200, 60}, {250, 20}}) {
                const Hit hit = hitAt({x + 0.5, y + 0.5}, triangles);
                const auto picked = context->pickPlace(selection, x, y, 0, 0);
                ASSERT_TRUE(picked && hit.triangle) << height << " " << x;
                const double pixel = pixelAt(static_cast<double>(hit.depth));
                const vector fromGround = *picked - hit.triangle->middle();
                EXPECT_LT(lengthOf(projected(*picked) - Place{x + 0.5, y + 0.5}), tenthOfAPixel);
                EXPECT_LT(std::abs(dot(hit.triangle->normal(), fromGround)), tenthOfAPixel * pixel)
                    << "from " << height << ", " << part;
            }
        }
    }
}

TEST_F(FloatingOrigin, WithoutItThePictureIsVisiblyOff) {
    // The switch is read when the library is loaded.
    const auto run = [](const std::string& value, const std::string& filter) {
        return RunOfThisProgram(
            "DisableFloatingOrigin=" + value + " " + framesInEnvironment + "=20", filter);
    };
    RunOfThisProgram with = run("0", "*FloatingOriginAt.PointsLines*/E12");
    RunOfThisProgram without =
        run("1", "*FloatingOriginAt.*/E7:*BoxEdges.*/E7:*Flight.FromOrbit*/E7:"
                 "*FloatingOriginAt.*/E9:*BoxEdges.*/E9:*Flight.FromOrbit*/E9:"
                 "*FloatingOriginAt.*/E12:*BoxEdges.*/E12:*Flight.FromOrbit*/E12");
    EXPECT_THAT(with.result(), testing::EndsWith("exit 0"));
    const std::string lines = without.result();
    EXPECT_THAT(lines, testing::EndsWith("exit 1"));
    const auto expectOff = [&](const std::string& what) {
        EXPECT_TRUE(lines.find(what + visibly) != std::string::npos) << what;
    };
    for (const double offset : {6.4e6, 1e9, 1e12}) {
        for (const std::string what :
             {"point", "line", "triangle", "box", "edge 4", "edge of a cut", "picked place"}) {
            for (const double distance : {10.0, 1.0, 0.01}) {
                expectOff(seen(what, from(distance), offset));
            }
            const bool isInFlight = what != "box" && what != "edge 4";
            if (isInFlight) expectOff(seen(what, inFlight, offset));
        }
    }
}

} // namespace
