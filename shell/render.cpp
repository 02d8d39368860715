#include <render.hpp>

#include <PictureFiles.hpp>
#include <Studio.hpp>
#include <eyes.hpp>
#include <pixels.hpp>
#include <report.hpp>

#include <cstddef>
#include <utility>
#include <vector>

namespace Shell {

namespace {

bool isOpaque(const Skua::rgba_float_t& color) {
    return color.alpha() >= 1.0F;
}

std::vector<std::string> outputsOf(const RenderOptions& options) {
    const bool areTwo = options.stereo && options.stereo->layout == StereoLayout::separate;
    return areTwo ? namesForEyes(options.output) : std::vector{options.output};
}

Pixels pixelsOf(const Studio& studio, unsigned eye) {
    return {studio.options().widthPixels, studio.options().heightPixels,
            studio.viewer().colors(eye)};
}

/// One for each file.
std::vector<Pixels> picturesOf(const Studio& studio, const RenderOptions& options) {
    if (!options.stereo) return {pixelsOf(studio, 0)};
    Pixels left = pixelsOf(studio, 0);
    Pixels right = pixelsOf(studio, 1);
    switch (options.stereo->layout) {
    case StereoLayout::sideBySide:
        return {sideBySide(left, right)};
    case StereoLayout::anaglyph:
        return {anaglyph(left, right)};
    case StereoLayout::separate:
        break;
    }
    return {std::move(left), std::move(right)};
}

Mirk::PngWriter::Picture forWriter(const Pixels& pixels, bool opaque) {
    using Writer = Mirk::PngWriter;
    return {pixels.bytes.data(), static_cast<std::size_t>(pixels.width),
            static_cast<std::size_t>(pixels.height),
            opaque ? Writer::PixelFormat::rgbx : Writer::PixelFormat::rgba,
            Writer::RowOrder::bottomFirst};
}

void write(const PictureFiles& files, std::vector<Pixels>& pictures, bool opaque) {
    std::vector<Mirk::PngWriter::Picture> forFiles;
    for (Pixels& pixels : pictures) {
        if (!opaque) unpremultiply(pixels);
        forFiles.push_back(forWriter(pixels, opaque));
    }
    files.write(forFiles);
}

} // namespace

std::string render(const RenderOptions& options) {
    const PictureFiles files(outputsOf(options));
    Studio studio("polypia render", options, options.background);
    const auto eyes = eyesOf(studio.scene(), options, options.stereo);
    studio.draw(eyes);
    studio.clock().begin("read back");
    std::vector<Pixels> pictures = picturesOf(studio, options);
    studio.clock().begin("encode");
    write(files, pictures, isOpaque(options.background));
    studio.clock().end();
    if (options.report) return renderReport(studio, options, eyes, files.paths());
    return options.verbose ? studio.story() : "";
}

} // namespace Shell
