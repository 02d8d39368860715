#include <fennel/ImageTile.hpp>

#include "valueText.hpp"

#include <utility>

namespace {

using Keel::Chunk;
using Mirk::ImageTile;
using Pixels = Keel::StrongPtr<Keel::ChunkBase>;

Pixels newColors() {
    return Pixels(new Chunk<unsigned char>({1, 2, 3, 4}));
}

ImageTile newTile() {
    ImageTile tile;
    tile.Image = {1920, 1080};
    tile.X = 64;
    tile.Y = 128;
    tile.Tile = {2, 2};
    tile.layers.push_back({newColors(), Pixels(new Chunk<unsigned short>({5, 6, 7, 8}))});
    tile.layers.push_back({newColors(), Pixels()});
    return tile;
}

unsigned char& firstByte(const Pixels& pixels) {
    return *static_cast<unsigned char*>(pixels->data());
}

TEST(ImageTile, IsEmptyAtFirst) {
    const ImageTile tile;
    EXPECT_TRUE(tile.Image == ImageTile::Size());
    EXPECT_EQ(0, tile.Tile.width);
    EXPECT_EQ(0, tile.Tile.height);
    EXPECT_EQ(0, tile.X);
    EXPECT_EQ(0, tile.Y);
    EXPECT_TRUE(tile.layers.empty());
}

TEST(ImageTile, CopyHasPixelsOfItsOwn) {
    const ImageTile tile = newTile();
    const ImageTile copy(tile);
    EXPECT_TRUE(copy.Image == tile.Image);
    EXPECT_TRUE(copy.Tile == tile.Tile);
    EXPECT_EQ(64, copy.X);
    EXPECT_EQ(128, copy.Y);
    ASSERT_EQ(2u, copy.layers.size());
    EXPECT_FALSE(copy.layers[0].color == tile.layers[0].color);
    EXPECT_FALSE(copy.layers[0].depth == tile.layers[0].depth);
    EXPECT_TRUE(copy.layers[0].depth->elementType() == typeid(unsigned short));
    EXPECT_EQ(4u, copy.layers[0].depth->numberOfElements());
    EXPECT_FALSE(copy.layers[1].depth);

    firstByte(copy.layers[0].color) = 99;
    EXPECT_EQ(1, firstByte(tile.layers[0].color));
}

TEST(ImageTile, AssignedTileHasPixelsOfItsOwn) {
    const ImageTile tile = newTile();
    ImageTile copy;
    copy = tile;
    firstByte(copy.layers[1].color) = 99;
    EXPECT_EQ(1, firstByte(tile.layers[1].color));
    const ImageTile& same = copy;
    copy = same;
    EXPECT_EQ(99, firstByte(copy.layers[1].color));
}

TEST(ImageTile, MovedTileKeepsItsPixels) {
    ImageTile tile = newTile();
    const Pixels color = tile.layers[0].color;
    const ImageTile moved(std::move(tile));
    EXPECT_TRUE(moved.layers[0].color == color);
}

TEST(ImageTile, HasAFixedTextAndReadsNone) {
    ImageTile tile = newTile();
    EXPECT_EQ("An image tile.", textOf(tile));
    EXPECT_FALSE(read(tile, textOf(tile)));
    EXPECT_EQ(64, tile.X);
    EXPECT_EQ(2u, tile.layers.size());
}

TEST(ImageTile, EachTileThatIsWrittenIsAChange) {
    const ImageTile tile = newTile();
    EXPECT_TRUE(differs(tile, ImageTile(tile)));
    EXPECT_FALSE(differs(tile, tile));
}

TEST(ImageTile, SizeIsWidthThenHeight) {
    const ImageTile::Size size{1920, 1080};
    EXPECT_EQ("1920 1080", textOf(size));
    expectSameBack(size);
    for (const char* const text : {"", "1", "1x2", "1 2 3", "1.5 2"}) expectUnreadable(size, text);
}

} // namespace
