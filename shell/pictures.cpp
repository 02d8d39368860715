#include <pictures.hpp>

#include <cstddef>
#include <utility>

namespace Shell {

namespace {

Pixels pixelsOf(const Studio& studio, unsigned eye) {
    return {studio.options().widthPixels, studio.options().heightPixels,
            studio.viewer().colors(eye)};
}

Mirk::PngWriter::Picture forWriter(const Pixels& pixels, bool opaque) {
    using Writer = Mirk::PngWriter;
    return {pixels.bytes.data(), static_cast<std::size_t>(pixels.width),
            static_cast<std::size_t>(pixels.height),
            opaque ? Writer::PixelFormat::rgbx : Writer::PixelFormat::rgba,
            Writer::RowOrder::bottomFirst};
}

} // namespace

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

void writePictures(const PictureFiles& files, std::vector<Pixels> pictures,
                   const RenderOptions& options) {
    const bool opaque = options.background.alpha() >= 1.0F;
    std::vector<Mirk::PngWriter::Picture> forFiles;
    for (Pixels& pixels : pictures) {
        if (!opaque) unpremultiply(pixels);
        forFiles.push_back(forWriter(pixels, opaque));
    }
    files.write(forFiles);
}

} // namespace Shell
