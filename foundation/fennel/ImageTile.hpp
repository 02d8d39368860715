#pragma once
// A finished rectangle of a larger image; stands on keel's chunks.

#include <fennel/fwd.hpp>

#include <keel/Chunk.hpp>
#include <sorrel/valueTraits.hpp>

#include <vector>

namespace Mirk {

/// A rectangle of a larger image, with its pixels.
///
///      +---------------------+
///      |        Image        |   rows are counted from the bottom, in the image and in the tile
///      |     +------+        |
///      |     | Tile |        |
///      |   Y +------+        |
///      |     X               |
///      +---------------------+
///      0
///
/// A copy has pixels of its own: who works on it leaves those of the original alone.
class FENNEL_EXPORT ImageTile {
public:
    /// In pixels.
    struct Size {
        friend bool operator==(const Size&, const Size&) = default;

        int width = 0;
        int height = 0;
    };

    /// The pixels of one plane, Tile.width times Tile.height of them, row by row from the bottom.
    /// The element type is that of the plane's channels; null if there is no such plane.
    struct Layer {
        Keel::StrongPtr<Keel::ChunkBase> color;
        Keel::StrongPtr<Keel::ChunkBase> depth;
    };

    ImageTile();
    /// Clones all chunks.
    ImageTile(const ImageTile& other);
    ImageTile(ImageTile&&) noexcept;
    ImageTile& operator=(const ImageTile& other);
    ImageTile& operator=(ImageTile&&) noexcept;
    ~ImageTile();

    /// Of the whole image.
    Size Image;
    /// The pixel of the image at which the lower left corner of the tile lies.
    int X = 0;
    int Y = 0;
    /// Of this rectangle.
    Size Tile;
    std::vector<Layer> layers;
};

/// Width and height, parted by a blank.
template<>
struct NumbersOf<ImageTile::Size> {
    using type = int;
};

/// Pixels have no text: a fixed one is written, and none can be read.
template<>
struct FENNEL_EXPORT VValueTrait<ImageTile> {
    static std::string Text(const ImageTile& value);
    static bool setValueFromText(ImageTile& value, const std::string& text);
};
/// By address: each tile that is written is a new one.
template<>
struct FENNEL_EXPORT VValueCompareTrait<ImageTile> {
    static bool isDifferent(const ImageTile& a, const ImageTile& b) { return &a != &b; }
};

} // namespace Mirk
