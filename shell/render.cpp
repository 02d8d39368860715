#include <render.hpp>

#include <Scene.hpp>
#include <StageClock.hpp>

#include <PolypiaGL/OffscreenViewer.hpp>
#include <Readers/ReaderRegistry.hpp>
#include <Writers/PngWriter.hpp>

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

namespace Shell {

namespace {

std::vector<Mirk::Dataset> read(const RenderOptions& options) {
    Mirk::ReadOptions readOptions;
    readOptions.coordinates = Mirk::CoordinateSystem::EarthCentred;
    readOptions.groundingLine = options.groundingLine;
    std::vector<Mirk::Dataset> data;
    for (const std::string& file : options.files) {
        data.push_back(Mirk::readFile(file, readOptions));
    }
    return data;
}

CameraWishes inScene(CameraWishes wishes, const SceneSpace& space) {
    if (wishes.position) wishes.position = space.toScene(*wishes.position);
    if (wishes.focalPoint) wishes.focalPoint = space.toScene(*wishes.focalPoint);
    return wishes;
}

/// What is left of a width or height when both edges have a margin of 1.5 % and some pixels.
double partWithin(int sizePixels, double marginPixels) {
    return std::max(0.97 - 2.0 * marginPixels / sizePixels, 0.1);
}

/// The camera of the picture, in the space of the display objects.
Mirk::GLRenderContext::Eye eyeOf(const Scene& scene, const RenderOptions& options) {
    const Sight sight = scene.sight();
    Frame frame;
    frame.aspect = static_cast<double>(options.widthPixels) / options.heightPixels;
    frame.widthPart = partWithin(options.widthPixels, scene.marginPixels());
    frame.heightPart = partWithin(options.heightPixels, scene.marginPixels());
    const Camera camera = placeCamera(inScene(options.camera, scene.space()), sight, frame);
    const DepthRange depths = depthRangeOf(camera, sight.ball);
    Mirk::GLRenderContext::Eye eye;
    eye.camera.position = scene.space().toDisplays(camera.position);
    eye.camera.lookAt = scene.space().toDisplays(camera.focalPoint);
    eye.camera.up = camera.viewUp;
    eye.camera.fieldOfView = camera.viewAngleDegrees;
    eye.near = depths.near;
    eye.far = depths.far;
    return eye;
}

/// Before anything is drawn, and in the words of the option.
void checkSize(const Mirk::OffscreenViewer& viewer, const RenderOptions& options) {
    const auto [widest, highest] = viewer.greatestPicture();
    if (options.widthPixels <= widest && options.heightPixels <= highest) return;
    throw std::runtime_error("--resolution: expected at most " + std::to_string(widest) + "," +
                             std::to_string(highest) + " (" + viewer.device() + "), got " +
                             std::to_string(options.widthPixels) + "," +
                             std::to_string(options.heightPixels));
}

bool isOpaque(const Skua::rgba_float_t& color) {
    return color.alpha() >= 1.0F;
}

/// Pixels at an edge are a mix of the samples of both sides, which is right for colours that are
/// weighted by alpha.
Skua::rgba_float_t premultiplied(const Skua::rgba_float_t& color) {
    const float alpha = color.alpha();
    return {color[0] * alpha, color[1] * alpha, color[2] * alpha, alpha};
}

void unpremultiply(std::vector<std::uint8_t>& pixels) {
    for (std::size_t i = 0; i < pixels.size(); i += 4) {
        const int alpha = pixels[i + 3];
        if (alpha == 0 || alpha == 255) continue;
        for (std::size_t c = i; c < i + 3; ++c) {
            pixels[c] =
                static_cast<std::uint8_t>(std::min(255, (pixels[c] * 255 + alpha / 2) / alpha));
        }
    }
}

Mirk::OffscreenViewer::Settings settingsOf(const RenderOptions& options) {
    Mirk::OffscreenViewer::Settings settings;
    settings.widthPixels = options.widthPixels;
    settings.heightPixels = options.heightPixels;
    settings.samples = options.samples;
    settings.background = premultiplied(options.background);
    settings.context.device = options.device;
    return settings;
}

/// A picture without one of its objects would be a wrong one.
void checkFrame(const Mirk::OffscreenViewer::Frame& frame) {
    if (!frame.failures.empty()) {
        const Mirk::GLRenderContext::Failure& failure = frame.failures.front();
        throw std::runtime_error("cannot draw " + failure.object + ": " + failure.report);
    }
    constexpr auto partly = Mirk::GLRenderContext::Incomplete | Mirk::GLRenderContext::Interrupted;
    if ((frame.result & partly) != 0) {
        throw std::runtime_error("not all objects could be drawn");
    }
}

} // namespace

void render(const RenderOptions& options) {
    StageClock clock;
    const Mirk::PngWriter writer(options.output);
    clock.begin("read");
    // Ahead of the driver and its threads: some files are read in a child process, which must not
    // be made while another thread holds a lock.
    std::vector<Mirk::Dataset> data = read(options);

    clock.begin("convert");
    Scene scene(options);
    for (std::size_t i = 0; i < data.size(); ++i) scene.add(options.files[i], std::move(data[i]));
    data.clear();
    scene.complete();

    clock.begin("context");
    const Keel::StrongPtr<Mirk::OffscreenViewer, Mirk::VManagedObjectBase> viewer(
        new Mirk::OffscreenViewer("polypia render", settingsOf(options)));
    checkSize(*viewer, options);
    clock.begin("draw");
    checkFrame(viewer->drawWhole({eyeOf(scene, options)}));
    clock.begin("read back");
    std::vector<std::uint8_t> pixels = viewer->colors(0);
    if (!isOpaque(options.background)) unpremultiply(pixels);

    clock.begin("encode");
    writer.write({pixels.data(), static_cast<std::size_t>(options.widthPixels),
                  static_cast<std::size_t>(options.heightPixels),
                  isOpaque(options.background) ? Mirk::PngWriter::PixelFormat::rgbx
                                               : Mirk::PngWriter::PixelFormat::rgba,
                  Mirk::PngWriter::RowOrder::bottomFirst});
    clock.end();
    if (options.verbose) {
        std::printf("%s\n%s\n", viewer->device().c_str(), clock.str().c_str());
    }
}

} // namespace Shell
