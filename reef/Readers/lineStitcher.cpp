#include <Readers/lineStitcher.hpp>

#include <limits>
#include <unordered_map>

namespace Mirk {
namespace {

constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();

// Both coordinates are below 2^28: 360 degrees in steps of 1/65535 of a minute would be 1.4e9,
// but no file has bins of less than a degree.
std::uint64_t keyOf(const LatticePoint& point, unsigned char level) {
    return std::uint64_t{point.x} << 36 | std::uint64_t{point.y} << 8 | level;
}

/// The piece that follows each piece, or `none`.
std::vector<std::uint32_t> successors(const std::vector<LinePiece>& pieces) {
    const auto count = static_cast<std::uint32_t>(pieces.size());
    // Pieces that begin at one point form a list, of which the table has the head.
    std::unordered_map<std::uint64_t, std::uint32_t> heads;
    std::vector<std::uint32_t> alsoBegins(count, none);
    for (std::uint32_t i = count; i-- > 0;) {
        if (pieces[i].first == pieces[i].last) continue;
        std::uint32_t& head =
            heads.try_emplace(keyOf(pieces[i].first, pieces[i].level), none).first->second;
        alsoBegins[i] = head;
        head = i;
    }
    std::vector<std::uint32_t> next(count, none);
    for (std::uint32_t i = 0; i < count; ++i) {
        if (pieces[i].first == pieces[i].last) continue;
        const auto entry = heads.find(keyOf(pieces[i].last, pieces[i].level));
        if (entry == heads.end() || entry->second == none) continue;
        std::uint32_t* chosen = &entry->second;
        for (std::uint32_t* each = chosen; *each != none; each = &alsoBegins[*each]) {
            if (pieces[*each].bin == pieces[i].bin) continue;
            chosen = each;
            break;
        }
        next[i] = *chosen;
        *chosen = alsoBegins[*chosen];
    }
    return next;
}

} // namespace

StitchedLines stitchLines(const std::vector<LinePiece>& pieces) {
    const std::vector<std::uint32_t> next = successors(pieces);
    std::vector<bool> isSuccessor(pieces.size()), isDone(pieces.size());
    for (const std::uint32_t piece : next)
        if (piece != none) isSuccessor[piece] = true;

    StitchedLines lines;
    lines.order.reserve(pieces.size());
    const auto follow = [&](std::uint32_t piece) {
        lines.starts.push_back(static_cast<std::uint32_t>(lines.order.size()));
        for (; piece != none && !isDone[piece]; piece = next[piece]) {
            isDone[piece] = true;
            lines.order.push_back(piece);
        }
    };
    const auto count = static_cast<std::uint32_t>(pieces.size());
    // Lines with a begin first; what is left then are rings.
    for (std::uint32_t i = 0; i < count; ++i)
        if (!isSuccessor[i]) follow(i);
    for (std::uint32_t i = 0; i < count; ++i)
        if (!isDone[i]) follow(i);
    lines.starts.push_back(count);
    return lines;
}

} // namespace Mirk
