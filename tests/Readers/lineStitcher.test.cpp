#include <Readers/lineStitcher.hpp>

#include <gtest/gtest.h>

using namespace Mirk;

namespace {

using Indices = std::vector<std::uint32_t>;

TEST(LineStitcher, JoinsPiecesFromBeginToEnd) {
    const StitchedLines lines = stitchLines({{{2, 0}, {3, 0}, 2, 1}, //
                                             {{0, 0}, {1, 0}, 0, 1},
                                             {{1, 0}, {2, 0}, 1, 1}});
    EXPECT_EQ(lines.order, (Indices{1, 2, 0}));
    EXPECT_EQ(lines.starts, (Indices{0, 3}));
}

TEST(LineStitcher, ClosesRings) {
    const StitchedLines lines = stitchLines({{{0, 0}, {1, 0}, 0, 1}, {{1, 0}, {0, 0}, 1, 1}});
    EXPECT_EQ(lines.order, (Indices{0, 1}));
    EXPECT_EQ(lines.starts, (Indices{0, 2}));
}

TEST(LineStitcher, KeepsLevelsApart) {
    const StitchedLines lines = stitchLines({{{0, 0}, {1, 0}, 0, 1}, {{1, 0}, {2, 0}, 1, 2}});
    EXPECT_EQ(lines.starts, (Indices{0, 1, 2}));
}

TEST(LineStitcher, LeavesRingsOfOnePieceAlone) {
    const StitchedLines lines = stitchLines({{{1, 0}, {1, 0}, 0, 1}, {{0, 0}, {1, 0}, 0, 1}});
    EXPECT_EQ(lines.starts, (Indices{0, 1, 2}));
}

//      bin 0 | bin 1
//  0 ------> p ------> 2
//  1 <------ p <------ 3
TEST(LineStitcher, CrossesTheEdgeOfABinWhereTwoLinesMeet) {
    const LatticePoint p{5, 5};
    const StitchedLines lines =
        stitchLines({{{0, 0}, p, 0, 1}, {p, {0, 9}, 0, 1}, {p, {9, 0}, 1, 1}, {{9, 9}, p, 1, 1}});
    EXPECT_EQ(lines.order, (Indices{0, 2, 3, 1}));
    EXPECT_EQ(lines.starts, (Indices{0, 2, 4}));
}

TEST(LineStitcher, GoesOnInItsOwnBinIfThereIsNoOther) {
    const StitchedLines lines = stitchLines({{{0, 0}, {1, 0}, 0, 1}, {{1, 0}, {2, 0}, 0, 1}});
    EXPECT_EQ(lines.starts, (Indices{0, 2}));
}

TEST(LineStitcher, UsesEachPieceOnceWhereLinesFork) {
    const StitchedLines lines =
        stitchLines({{{0, 0}, {1, 0}, 0, 1}, {{0, 5}, {1, 0}, 0, 1}, {{1, 0}, {2, 0}, 1, 1}});
    EXPECT_EQ(lines.order, (Indices{0, 2, 1}));
    EXPECT_EQ(lines.starts, (Indices{0, 2, 3}));
}

TEST(LineStitcher, GivesNoLinesForNoPieces) {
    EXPECT_EQ(stitchLines({}).starts, (Indices{0}));
}

} // namespace
