#include <render.hpp>

#include <Scene.hpp>
#include <StageClock.hpp>
#include <horizon.hpp>

#include <Polypia/Seagrass.hpp>
#include <PolypiaGL/EglContext.hpp>
#include <PolypiaGL/GLFactory.hpp>
#include <PolypiaGL/GLFramebuffer.hpp>
#include <Readers/ReaderRegistry.hpp>
#include <Writers/PngWriter.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

namespace Shell {

namespace {

// Nothing competes for the memory of a single picture.
constexpr unsigned long long unlimited = ~0ULL;

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

Skua::FixedArray<float, 3> toFloats(const vector& v) {
    return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z)};
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

/// Of what is drawn beyond its coordinates, and a pixel more, as seen from the eye.
double marginRadians(const Camera& camera, double marginPixels, int heightPixels) {
    const double halfAngle = camera.viewAngleDegrees * std::numbers::pi / 360.0;
    return (marginPixels + 1.0) * 2.0 * std::tan(halfAngle) / heightPixels;
}

SceneView viewOf(const Scene& scene, const RenderOptions& options, int samples) {
    const Sight sight = scene.sight();
    Frame frame;
    frame.aspect = static_cast<double>(options.widthPixels) / options.heightPixels;
    frame.widthPart = partWithin(options.widthPixels, scene.marginPixels());
    frame.heightPart = partWithin(options.heightPixels, scene.marginPixels());
    const Camera camera = placeCamera(inScene(options.camera, scene.space()), sight, frame);
    const Matrix4 matrix = modelViewProjection(camera, sight.ball, frame.aspect);
    SceneView view;
    for (std::size_t i = 0; i < matrix.size(); ++i) {
        view.modelViewProjection[i] = static_cast<float>(matrix[i]);
    }
    view.eyePosition = toFloats(camera.position - point());
    // From above the left shoulder.
    view.lightDirection =
        toFloats(normalised(camera.up() * 0.6 - camera.right() * 0.5 - camera.forward()));
    view.viewportPixels = {static_cast<float>(options.widthPixels),
                           static_cast<float>(options.heightPixels)};
    view.samples = samples;
    const SceneSpace& space = scene.space();
    const auto hidden = hiddenSide(
        camera.position, marginRadians(camera, scene.marginPixels(), options.heightPixels),
        space.toScene(point()), space.worldUnit);
    for (std::size_t i = 0; i < hidden.size(); ++i) {
        view.hiddenSide[i] = static_cast<float>(hidden[i]);
    }
    return view;
}

/// Before anything is drawn, and in the words of the option.
void checkSize(const Mirk::GLContext& context, const RenderOptions& options) {
    const Mirk::GLLimits& limits = context.limits();
    const int widest = std::min(limits.maxRenderbufferSize, limits.maxViewportSize[0]);
    const int highest = std::min(limits.maxRenderbufferSize, limits.maxViewportSize[1]);
    if (options.widthPixels <= widest && options.heightPixels <= highest) return;
    throw std::runtime_error("--resolution: expected at most " + std::to_string(widest) + "," +
                             std::to_string(highest) + " (" + context.description() + "), got " +
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

/// Draws the scene into the cleared framebuffer and takes the picture as rows of RGBA from the
/// bottom.
std::vector<std::uint8_t> picture(Scene& scene, Mirk::GLContext& context,
                                  const Mirk::GLFramebuffer& framebuffer,
                                  const RenderOptions& options, StageClock& clock) {
    const auto seagrass = Keel::make<Mirk::Seagrass>(unlimited, "polypia render");
    Mirk::GLRenderBasin basin(context, seagrass);
    const SceneView view = viewOf(scene, options, framebuffer.samples());
    scene.create(basin);
    scene.setView(view);
    clock.begin("upload");
    scene.upload();
    clock.begin("draw");
    framebuffer.bind();
    scene.draw();
    framebuffer.finish();
    clock.begin("read back");
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(options.widthPixels) *
                                     static_cast<std::size_t>(options.heightPixels) * 4);
    framebuffer.readColors(pixels);
    if (!isOpaque(options.background)) unpremultiply(pixels);
    scene.release();
    return pixels;
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
    Mirk::EglContext::Options contextOptions;
    contextOptions.device = options.device;
    const std::unique_ptr<Mirk::EglContext> context = Mirk::EglContext::create(contextOptions);
    checkSize(*context, options);
    const Mirk::GLContext::Scope current(*context);
    const Mirk::GLFramebuffer framebuffer(*context, options.widthPixels, options.heightPixels,
                                          options.samples);
    framebuffer.clear(premultiplied(options.background));
    const std::vector<std::uint8_t> pixels = picture(scene, *context, framebuffer, options, clock);

    clock.begin("encode");
    writer.write({pixels.data(), static_cast<std::size_t>(options.widthPixels),
                  static_cast<std::size_t>(options.heightPixels),
                  isOpaque(options.background) ? Mirk::PngWriter::PixelFormat::rgbx
                                               : Mirk::PngWriter::PixelFormat::rgba,
                  Mirk::PngWriter::RowOrder::bottomFirst});
    clock.end();
    if (options.verbose) {
        std::printf("%s\n%s\n", context->description().c_str(), clock.str().c_str());
    }
}

} // namespace Shell
