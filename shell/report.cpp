#include <report.hpp>

#include <nlohmann/json.hpp>

namespace Shell {

namespace {

/// In the order of insertion, which is that of reading.
using Json = nlohmann::ordered_json;
using Eye = Mirk::GLRenderContext::Eye;

template<class Triple>
Json tripleOf(const Triple& v) {
    return {v.x, v.y, v.z};
}

/// Null if there are no data.
Json boundsOf(const Skua::BoundingBox& box) {
    if (box.empty()) return nullptr;
    return {{"min", tripleOf(box.min)}, {"max", tripleOf(box.max)}};
}

/// Null for the globe.
Json fileOf(const std::string& file) {
    return file.empty() ? Json(nullptr) : Json(file);
}

Json filesOf(const std::vector<FileFacts>& facts) {
    Json files = Json::array();
    for (const FileFacts& each : facts) {
        Json file{{"file", each.file}, {"kind", each.kind}};
        for (const auto& [name, count] : each.counts) file[name] = count;
        file["bounds"] = boundsOf(each.bounds);
        files.push_back(file);
    }
    return files;
}

Json boundsOfAll(const std::vector<FileFacts>& facts) {
    Skua::BoundingBox box;
    for (const FileFacts& each : facts) box.merge(each.bounds);
    return boundsOf(box);
}

Json objectsOf(const Studio& studio) {
    Json objects = Json::array();
    for (const Scene::Object& each : studio.scene().objects()) {
        const auto found = studio.objectSeconds().find(each.display->Name());
        const bool wasDrawn = found != studio.objectSeconds().end();
        objects.push_back({{"name", each.display->Name()},
                           {"file", fileOf(each.file)},
                           {"drawn", wasDrawn},
                           {"seconds", wasDrawn ? found->second : 0.0}});
    }
    return objects;
}

Json frameOf(const Mirk::OffscreenViewer::Frame& frame) {
    return {{"drawn", frame.drawn}, {"culled", frame.culled}, {"seconds", frame.seconds}};
}

Json sizeOf(int widthPixels, int heightPixels) {
    return {{"widthPixels", widthPixels}, {"heightPixels", heightPixels}};
}

Json outputsOf(const std::vector<std::string>& files, const RenderOptions& options) {
    const bool isTwice = options.stereo && options.stereo->layout == StereoLayout::sideBySide;
    Json outputs = Json::array();
    for (const std::string& file : files) {
        Json output{{"file", file}};
        output.update(sizeOf(options.widthPixels * (isTwice ? 2 : 1), options.heightPixels));
        outputs.push_back(output);
    }
    return outputs;
}

/// In the world.
Json cameraOf(const Eye& eye, double worldUnit) {
    const auto inWorld = [&](const point& p) {
        return tripleOf(point() + (p - point()) * worldUnit);
    };
    return {{"position", inWorld(eye.camera.position)},
            {"focalPoint", inWorld(eye.camera.lookAt)},
            {"viewUp", tripleOf(eye.camera.up)},
            {"viewAngleDegrees", eye.camera.fieldOfView}};
}

const char* nameOf(StereoLayout layout) {
    switch (layout) {
    case StereoLayout::sideBySide:
        return "side-by-side";
    case StereoLayout::anaglyph:
        return "anaglyph";
    case StereoLayout::separate:
        break;
    }
    return "separate";
}

/// Null without.
Json stereoOf(const RenderOptions& options, const Eye& eye, double worldUnit) {
    if (!options.stereo) return nullptr;
    return {{"layout", nameOf(options.stereo->layout)},
            {"eyeSeparation", options.stereo->eyeSeparation},
            {"convergence", eye.focus * worldUnit},
            {"toeIn", eye.toeIn}};
}

Json stagesOf(const StageClock& clock) {
    Json stages = Json::array();
    for (const StageClock::Stage& stage : clock.stages()) {
        stages.push_back({{"name", stage.name}, {"seconds", stage.seconds}});
    }
    return stages;
}

/// What all commands tell.
void addCommon(Json& report, const Studio& studio) {
    report["bounds"] = boundsOfAll(studio.facts());
    report["files"] = filesOf(studio.facts());
    report["frame"] = frameOf(studio.frame());
    report["device"] = studio.viewer().device();
    report["stages"] = stagesOf(studio.clock());
    report["seconds"] = studio.clock().totalSeconds();
}

std::string textOf(const Json& report) {
    constexpr int onOneLine = -1;
    return report.dump(onOneLine, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace

std::string renderReport(const Studio& studio, const RenderOptions& options,
                         const std::vector<Eye>& eyes, const std::vector<std::string>& outputs) {
    const double unit = studio.scene().space().worldUnit;
    Json report{{"command", "render"},
                {"outputs", outputsOf(outputs, options)},
                {"camera", cameraOf(eyes.front(), unit)},
                {"stereo", stereoOf(options, eyes.front(), unit)},
                {"objects", objectsOf(studio)}};
    addCommon(report, studio);
    return textOf(report);
}

std::string pickReport(const Studio& studio, const PickOptions& options, const Picked& picked) {
    const PixelRectangle& rectangle = options.rectangle;
    Json objects = Json::array();
    for (const PickedObject& each : picked.objects) {
        objects.push_back(
            {{"name", each.name}, {"file", fileOf(each.file)}, {"pixels", each.pixels}});
    }
    Json report{{"command", "pick"},
                {"picture", sizeOf(options.widthPixels, options.heightPixels)},
                {"rectangle",
                 {{"x", rectangle.x},
                  {"y", rectangle.y},
                  {"width", rectangle.width},
                  {"height", rectangle.height}}},
                {"objects", objects},
                {"place", picked.place ? tripleOf(*picked.place) : Json(nullptr)}};
    addCommon(report, studio);
    return textOf(report);
}

} // namespace Shell
