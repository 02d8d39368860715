#include <Readers/builtInReaders.hpp>
#include <Readers/meshBuilder.hpp>
#include <Readers/textScanner.hpp>

#include <Readers/ReaderError.hpp>
#include <Readers/binary.hpp>

#include <algorithm>
#include <bit>
#include <cmath>

namespace Mirk {
namespace {

constexpr std::size_t headerBytes = 84, facetBytes = 50;

// Gives equal points one index, by a hash table with open addresses.
class PointMerger {
public:
    explicit PointMerger(std::vector<Point>& points) : _points(points), _slots(64, empty) {}

    std::uint32_t indexOf(Point point) {
        // Adding 0 makes one zero of the two.
        point = {point.x + 0.0, point.y + 0.0, point.z + 0.0};
        if (3 * _points.size() > 2 * _slots.size()) grow();
        std::size_t slot = slotOf(point);
        for (; _slots[slot] != empty; slot = (slot + 1) & (_slots.size() - 1)) {
            const Point& other = _points[_slots[slot]];
            if (other.x == point.x && other.y == point.y && other.z == point.z) return _slots[slot];
        }
        _slots[slot] = static_cast<std::uint32_t>(_points.size());
        _points.push_back(point);
        return _slots[slot];
    }

private:
    static constexpr std::uint32_t empty = static_cast<std::uint32_t>(mostPoints);

    // Multiplication and shift as in Fibonacci hashing (Knuth, TAOCP 3, 6.4): the upper bits
    // depend on all bits of the coordinates.
    std::size_t slotOf(const Point& point) const {
        constexpr std::uint64_t golden = 0x9e3779b97f4a7c15;
        std::uint64_t hash = std::bit_cast<std::uint64_t>(point.x) * golden;
        hash = (std::rotl(hash, 29) ^ std::bit_cast<std::uint64_t>(point.y)) * golden;
        hash = (std::rotl(hash, 29) ^ std::bit_cast<std::uint64_t>(point.z)) * golden;
        return static_cast<std::size_t>((hash ^ hash >> 32) & (_slots.size() - 1));
    }

    void grow() {
        _slots.assign(2 * _slots.size(), empty);
        for (std::size_t i = 0; i < _points.size(); ++i) {
            std::size_t slot = slotOf(_points[i]);
            while (_slots[slot] != empty) slot = (slot + 1) & (_slots.size() - 1);
            _slots[slot] = static_cast<std::uint32_t>(i);
        }
    }

    std::vector<Point>& _points;
    std::vector<std::uint32_t> _slots;
};

bool hasBinarySize(const InputFile& file) {
    if (file.size() < headerBytes) return false;
    const std::uint64_t facets = loadNumber<std::uint32_t>(file.head().data() + 80, false);
    return file.size() == headerBytes + facetBytes * facets;
}

// Binary files often begin with "solid" too. The size that follows from the number of facets
// tells them apart; if that doesn't fit either, a text has no zero byte.
bool isText(const InputFile& file) {
    return firstWord(file.head(), 0) == "solid" && !hasBinarySize(file) &&
           file.head().find('\0') == std::string_view::npos;
}

Dataset parseText(const InputFile& file) {
    TextScanner scanner(file);
    // The keys come in quotes, as they stand in messages.
    const auto expect = [&](std::string_view quotedKey) {
        scanner.toNextContent();
        const std::string_view word = scanner.word(quotedKey.data());
        if (word != quotedKey.substr(1, quotedKey.size() - 2))
            scanner.fail("expected " + std::string(quotedKey) + ", got " +
                         ReaderError::quoted(word));
    };
    const auto number = [&](const char* what) {
        scanner.toNextContent();
        return scanner.real(what);
    };
    MeshVectors mesh;
    PointMerger merger(mesh.points);
    while (scanner.toNextContent()) {
        expect("'solid'");
        scanner.toNextLine(); // the rest is its name
        for (;;) {
            scanner.toNextContent();
            const std::string_view key = scanner.word("'facet' or 'endsolid'");
            if (key == "endsolid") break;
            if (key != "facet")
                scanner.fail("expected 'facet' or 'endsolid', got " + ReaderError::quoted(key));
            expect("'normal'");
            for (int i = 0; i < 3; ++i) {
                scanner.toNextContent();
                scanner.word("component of a normal"); // some writers have nan here
            }
            expect("'outer'");
            expect("'loop'");
            for (int corner = 0; corner < 3; ++corner) {
                expect("'vertex'");
                const double x = number("x of a point");
                const double y = number("y of a point");
                const double z = number("z of a point");
                mesh.triangles.push_back(merger.indexOf({x, y, z}));
            }
            expect("'endloop'");
            expect("'endfacet'");
        }
        scanner.toNextLine();
    }
    if (mesh.triangles.empty()) scanner.fail("expected at least one facet, got none");
    return meshOrCloud(std::move(mesh));
}

Dataset parseBinary(const InputFile& file) {
    const std::string_view content = file.content();
    const auto fail = [&](std::size_t byte, const std::string& reason) {
        throw ReaderError(file.path(), "byte " + std::to_string(byte), reason);
    };
    if (content.size() < headerBytes)
        fail(content.size(), "expected an STL header of 84 bytes, got the end of the file");
    const std::size_t facets = loadNumber<std::uint32_t>(content.data() + 80, false);
    if (!hasBinarySize(file))
        fail(80, "expected " + std::to_string(facets) + " facets in " +
                     std::to_string(headerBytes + facetBytes * facets) + " bytes, got " +
                     std::to_string(content.size()) + " bytes");
    if (facets == 0) fail(80, "expected at least one facet, got none");
    MeshVectors mesh;
    mesh.triangles.reserve(3 * facets);
    // In a closed surface each point belongs to six triangles.
    mesh.points.reserve(facets / 2 + 3);
    PointMerger merger(mesh.points);
    for (std::size_t facet = 0; facet < facets; ++facet) {
        // 12 bytes of normal, three corners, 2 bytes for a use that nobody agrees on.
        const std::size_t begin = headerBytes + facetBytes * facet + 12;
        for (std::size_t corner = begin; corner < begin + 36; corner += 12) {
            const char* const at = content.data() + corner;
            const Point point{loadNumber<float>(at, false), loadNumber<float>(at + 4, false),
                              loadNumber<float>(at + 8, false)};
            if (!isFinite(point)) fail(corner, "expected finite coordinates, got " + textOf(point));
            if (mesh.points.size() == mostPoints) fail(corner, beyondIndices(mostPoints + 1));
            mesh.triangles.push_back(merger.indexOf(point));
        }
    }
    return meshOrCloud(std::move(mesh));
}

class StlReader : public Reader {
public:
    std::string name() const override { return "STL mesh"; }
    std::vector<std::string> extensions() const override { return {"stl"}; }
    Recognition recognises(const InputFile& file) const override {
        return isText(file) || hasBinarySize(file) ? Recognition::Content : Recognition::None;
    }
    Dataset read(const InputFile& file, const ReadOptions&) const override {
        return isText(file) ? parseText(file) : parseBinary(file);
    }
};

} // namespace

std::unique_ptr<const Reader> makeStlReader() {
    return std::make_unique<StlReader>();
}

} // namespace Mirk
