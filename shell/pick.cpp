#include <pick.hpp>

#include <Studio.hpp>
#include <eyes.hpp>
#include <onOneLine.hpp>
#include <report.hpp>

#include <Polypia/PickList.hpp>

#include <algorithm>
#include <array>
#include <charconv>
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

/// In the world of the files.
std::optional<point> placeUnder(const Studio& studio, const PixelRectangle& rectangle) {
    if (!isOnePixel(rectangle)) return {};
    const int fromBottom = studio.options().heightPixels - 1 - rectangle.y;
    const std::optional<point> place = studio.viewer().pickPlace(rectangle.x, fromBottom);
    if (!place) return {};
    return studio.scene().space().fromDisplays(*place);
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
    studio.draw(eyesOf(studio.scene(), options));
    studio.clock().begin("pick");
    const Picked picked{pickedObjects(studio.scene(), countsIn(studio, options.rectangle)),
                        placeUnder(studio, options.rectangle)};
    studio.clock().end();
    if (options.report) return pickReport(studio, options, picked);
    return linesOf(picked, options.rectangle) + (options.verbose ? studio.story() : "");
}

} // namespace Shell
