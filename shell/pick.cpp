#include <pick.hpp>

#include <Studio.hpp>
#include <eyes.hpp>
#include <onOneLine.hpp>
#include <report.hpp>

#include <Polypia/PickList.hpp>
#include <rookery/Geodesy.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <map>

namespace Shell {

namespace {

/// By object.
using Counts = std::map<const Mirk::VObject*, std::size_t>;

void addPixels(Counts& counts, const Mirk::PickList& list) {
    const std::vector<std::uint32_t>& numbers = list.Buffer->vector();
    for (int row = 0; row < list.Height; ++row) {
        const auto first = numbers.begin() + std::ptrdiff_t{list.AlignedWidth} * row;
        for (auto each = first; each != first + list.Width; ++each) {
            // The background is in no list.
            const auto found = list.Ids.find(*each);
            if (found != list.Ids.end()) ++counts[found->second.get()];
        }
    }
}

/// Piece by piece, as buffers for picking are a little larger than what is picked, and must stay
/// within what the driver allows.
Counts countsIn(const Studio& studio, const PixelRectangle& rectangle) {
    constexpr int most = 2048;
    // Pixels are drawn from the bottom.
    const int bottom = studio.options().heightPixels - rectangle.y - rectangle.height;
    Counts counts;
    for (int y = 0; y < rectangle.height; y += most) {
        for (int x = 0; x < rectangle.width; x += most) {
            const auto list = studio.viewer().pickPixels(rectangle.x + x, bottom + y,
                                                         std::min(most, rectangle.width - x),
                                                         std::min(most, rectangle.height - y));
            addPixels(counts, *list);
        }
    }
    return counts;
}

std::vector<PickedObject> pickedObjects(const Scene& scene, const Counts& counts) {
    std::vector<PickedObject> result;
    for (const Scene::Object& object : scene.objects()) {
        const auto found = counts.find(object.display.get());
        if (found == counts.end()) continue;
        result.push_back({object.display->Name(), object.file, found->second});
    }
    std::stable_sort(
        result.begin(), result.end(),
        [](const PickedObject& a, const PickedObject& b) { return a.pixels > b.pixels; });
    return result;
}

bool isOnePixel(const PixelRectangle& rectangle) {
    return rectangle.width == 1 && rectangle.height == 1;
}

/// Where the line of sight from the eye to a place of the globe, which is drawn a little below the
/// ellipsoid so that it doesn't hide what lies on that, meets the ellipsoid first: the nearer
/// solution of |eye + t (place - eye)| = 1 in coordinates in which it is the ball of radius 1. An
/// eye below the ellipsoid has the place that is drawn.
point onEllipsoid(const point& eye, const point& place) {
    const auto inBall = [](const vector& v) {
        return vector{v.x / Skua::WGS84::semiMajorAxisMetres,
                      v.y / Skua::WGS84::semiMajorAxisMetres,
                      v.z / Skua::WGS84::semiMinorAxisMetres};
    };
    const vector start = inBall(eye - point()), way = inBall(place - eye);
    const double outside = dot(start, start) - 1.0, approach = -dot(start, way);
    const double square = approach * approach - dot(way, way) * outside;
    if (outside <= 0.0 || square < 0.0) return place;
    return eye + (place - eye) * (outside / (approach + std::sqrt(square)));
}

/// In the world of the files.
std::optional<point> placeUnder(const Studio& studio, const Mirk::GLRenderContext::Eye& eye,
                                const PixelRectangle& rectangle,
                                const std::vector<PickedObject>& objects) {
    if (!isOnePixel(rectangle)) return {};
    const int fromBottom = studio.options().heightPixels - 1 - rectangle.y;
    const std::optional<point> drawn = studio.viewer().pickPlace(rectangle.x, fromBottom);
    if (!drawn) return {};
    const SceneSpace& space = studio.scene().space();
    const point place = space.fromDisplays(*drawn);
    const bool isOfGlobe = !objects.empty() && objects.front().file.empty();
    return isOfGlobe ? onEllipsoid(space.fromDisplays(eye.camera.position), place) : place;
}

/// As few digits as give the same number.
std::string textOf(double number) {
    std::array<char, 32> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    return {digits.data(), end};
}

std::string linesOf(const Picked& picked, const PixelRectangle& rectangle) {
    const std::vector<PickedObject>& objects = picked.objects;
    if (objects.empty()) return "nothing is there\n";
    const std::size_t all =
        static_cast<std::size_t>(rectangle.width) * static_cast<std::size_t>(rectangle.height);
    std::string text;
    for (const PickedObject& object : objects) {
        text += onOneLine(object.name) + ": " + std::to_string(object.pixels) + " of " +
                std::to_string(all) + (all == 1 ? " pixel" : " pixels") +
                (object.file.empty() ? "" : ", " + onOneLine(object.file)) + "\n";
    }
    if (picked.place) {
        text += "at " + textOf(picked.place->x) + " " + textOf(picked.place->y) + " " +
                textOf(picked.place->z) + "\n";
    }
    return text;
}

} // namespace

std::string pick(const PickOptions& options) {
    Studio studio("polypia pick", options);
    const auto eyes = eyesOf(studio.scene(), options);
    studio.draw(eyes);
    studio.clock().begin("pick");
    Picked picked{pickedObjects(studio.scene(), countsIn(studio, options.rectangle)), {}};
    picked.place = placeUnder(studio, eyes.front(), options.rectangle, picked.objects);
    studio.clock().end();
    if (options.report) return pickReport(studio, options, picked);
    return linesOf(picked, options.rectangle) + (options.verbose ? studio.story() : "");
}

} // namespace Shell
