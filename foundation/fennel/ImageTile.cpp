#include <fennel/ImageTile.hpp>

#include <utility>

namespace Mirk {

namespace {

using Pixels = Keel::StrongPtr<Keel::ChunkBase>;

Pixels cloned(const Pixels& pixels) {
    return pixels ? pixels->clone() : Pixels();
}

} // namespace

ImageTile::ImageTile() = default;
ImageTile::ImageTile(const ImageTile& other)
    : Image(other.Image), X(other.X), Y(other.Y), Tile(other.Tile) {
    layers.reserve(other.layers.size());
    for (const Layer& layer : other.layers) {
        layers.push_back({cloned(layer.color), cloned(layer.depth)});
    }
}
ImageTile::ImageTile(ImageTile&&) noexcept = default;
ImageTile& ImageTile::operator=(const ImageTile& other) {
    return *this = ImageTile(other);
}
ImageTile& ImageTile::operator=(ImageTile&&) noexcept = default;
ImageTile::~ImageTile() = default;

std::string VValueTrait<ImageTile>::Text(const ImageTile&) {
    return "An image tile.";
}

bool VValueTrait<ImageTile>::setValueFromText(ImageTile&, const std::string&) {
    return false;
}

} // namespace Mirk
