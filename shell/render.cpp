#include <render.hpp>

#include <Scene.hpp>
#include <StageClock.hpp>

#include <Polypia/Seagrass.hpp>
#include <PolypiaGL/EglContext.hpp>
#include <PolypiaGL/GLFactory.hpp>
#include <PolypiaGL/GLFramebuffer.hpp>
#include <Readers/ReaderRegistry.hpp>
#include <Writers/PngWriter.hpp>

#include <cstdio>
#include <future>
#include <memory>

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

SceneView viewOf(const Scene& scene, const RenderOptions& options) {
    const double aspect = static_cast<double>(options.widthPixels) / options.heightPixels;
    const Camera camera = placeCamera(options.camera, scene.ball(), scene.defaultDirection(),
                                      scene.defaultViewUp(), aspect);
    const Matrix4 matrix = modelViewProjection(camera, scene.ball(), aspect, scene.worldOrigin());
    SceneView view;
    for (std::size_t i = 0; i < matrix.size(); ++i) {
        view.modelViewProjection[i] = static_cast<float>(matrix[i]);
    }
    view.eyePosition = toFloats(camera.position - scene.worldOrigin());
    // From above the left shoulder.
    view.lightDirection =
        toFloats(normalised(camera.up() * 0.6 - camera.right() * 0.5 - camera.forward()));
    view.viewportPixels = {static_cast<float>(options.widthPixels),
                           static_cast<float>(options.heightPixels)};
    return view;
}

/// Draws the scene and takes the picture as rows of RGBA from the bottom.
std::vector<std::uint8_t> picture(Scene& scene, Mirk::GLContext& context,
                                  const RenderOptions& options, StageClock& clock) {
    const auto seagrass = Keel::make<Mirk::Seagrass>(unlimited, "polypia render");
    Mirk::GLRenderBasin basin(context, seagrass);
    const Mirk::GLFramebuffer framebuffer(context, options.widthPixels, options.heightPixels,
                                          options.samples);
    scene.create(basin);
    scene.setView(viewOf(scene, options));
    clock.begin("upload");
    scene.upload();
    clock.begin("draw");
    framebuffer.bind();
    framebuffer.clear(options.background);
    scene.draw();
    framebuffer.finish();
    clock.begin("read back");
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(options.widthPixels) *
                                     static_cast<std::size_t>(options.heightPixels) * 4);
    framebuffer.readColors(pixels);
    scene.release();
    return pixels;
}

} // namespace

void render(const RenderOptions& options) {
    StageClock clock;
    const Mirk::PngWriter writer(options.output);
    clock.begin("read");
    // The driver takes its time to start, as the disk does.
    std::future<std::vector<Mirk::Dataset>> reading =
        std::async(std::launch::async, [&options] { return read(options); });
    Mirk::EglContext::Options contextOptions;
    contextOptions.device = options.device;
    const std::unique_ptr<Mirk::EglContext> context = Mirk::EglContext::create(contextOptions);
    std::vector<Mirk::Dataset> data = reading.get();

    clock.begin("convert");
    Scene scene(options);
    for (Mirk::Dataset& set : data) scene.add(std::move(set));
    data.clear();
    scene.complete();

    clock.begin("context");
    const Mirk::GLContext::Scope current(*context);
    const std::vector<std::uint8_t> pixels = picture(scene, *context, options, clock);

    clock.begin("encode");
    const bool opaque = options.background.alpha() >= 1.0F;
    writer.write({pixels.data(), static_cast<std::size_t>(options.widthPixels),
                  static_cast<std::size_t>(options.heightPixels),
                  opaque ? Mirk::PngWriter::PixelFormat::rgbx : Mirk::PngWriter::PixelFormat::rgba,
                  Mirk::PngWriter::RowOrder::bottomFirst});
    clock.end();
    if (options.verbose) {
        std::printf("%s\n%s\n", context->description().c_str(), clock.str().c_str());
    }
}

} // namespace Shell
