#pragma once
// Pieces of lines that end at common points of an integer lattice, put together to whole lines;
// stands on nothing.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Mirk {

/// A point of the lattice of a globe. The y axis ends at the poles, x goes round.
struct LatticePoint {
    std::uint32_t x, y;
    friend bool operator==(const LatticePoint&, const LatticePoint&) = default;
};

/// What counts of a piece for putting it together: it runs from `first` to `last`, and only pieces
/// of one level belong together.
struct LinePiece {
    LatticePoint first, last;
    std::uint32_t bin;
    unsigned char level;
};

/// The lines as runs of indices of pieces: line i has the pieces order[starts[i]] to
/// order[starts[i + 1] - 1], each of which ends where the next one begins.
struct StitchedLines {
    std::vector<std::uint32_t> order, starts;
};

/// Puts all pieces together, each once, in a time that grows with their number. Where several
/// pieces go on from a point, one in another bin than the piece before comes first: lines cross
/// the edge of a bin there and don't turn back. A piece that ends where it begins is a line.
StitchedLines stitchLines(const std::vector<LinePiece>& pieces);

} // namespace Mirk
