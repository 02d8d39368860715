#include <pick.hpp>

#include <Studio.hpp>
#include <eyes.hpp>
#include <onOneLine.hpp>
#include <report.hpp>

#include <Polypia/PickList.hpp>

#include <algorithm>
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

/// Those with the most pixels first.
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

std::string linesOf(const std::vector<PickedObject>& objects, const PixelRectangle& rectangle) {
    if (objects.empty()) return "nothing is there\n";
    const std::size_t all =
        static_cast<std::size_t>(rectangle.width) * static_cast<std::size_t>(rectangle.height);
    std::string text;
    for (const PickedObject& object : objects) {
        text += onOneLine(object.name) + ": " + std::to_string(object.pixels) + " of " +
                std::to_string(all) + (all == 1 ? " pixel" : " pixels") +
                (object.file.empty() ? "" : ", " + onOneLine(object.file)) + "\n";
    }
    return text;
}

} // namespace

std::string pick(const PickOptions& options) {
    Studio studio("polypia pick", options);
    studio.draw(eyesOf(studio.scene(), options));
    studio.clock().begin("pick");
    const std::vector<PickedObject> objects =
        pickedObjects(studio.scene(), countsIn(studio, options.rectangle));
    studio.clock().end();
    if (options.report) return pickReport(studio, options, objects);
    return linesOf(objects, options.rectangle) + (options.verbose ? studio.story() : "");
}

} // namespace Shell
