#include <Readers/builtInReaders.hpp>
#include <Readers/meshBuilder.hpp>
#include <Readers/textScanner.hpp>

#include <Readers/ReaderError.hpp>

#include <algorithm>
#include <optional>

namespace Mirk {
namespace {

// What the letters before OFF promise for each point, in the order of the file.
struct Header {
    bool normals = false, colors = false, texture = false;
};

// [ST][C][N][4][n]OFF as Geomview defines it. Points of more or less than three coordinates are
// known by their letters, but have no place in a mesh.
std::optional<Header> headerOf(std::string_view word) {
    Header header;
    const auto take = [&](std::string_view letters) {
        const bool there = word.starts_with(letters);
        if (there) word.remove_prefix(letters.size());
        return there;
    };
    header.texture = take("ST");
    header.colors = take("C");
    header.normals = take("N");
    if (word != "OFF") return std::nullopt;
    return header;
}

bool hasOtherDimension(std::string_view word) {
    return word.ends_with("4OFF") || word.ends_with("nOFF");
}

class Parser {
public:
    explicit Parser(const InputFile& file) : _scanner(file, '#') {}

    Dataset parse() {
        readHeader();
        const std::size_t points = readCount("number of points");
        const std::size_t faces = readCount("number of faces");
        // The number of edges, which few writers know and no reader needs.
        if (!_scanner.atLineEnd()) _scanner.integer("number of edges");
        _scanner.expectLineEnd();
        if (points == 0) _scanner.fail("expected at least 1 point, got 0");
        if (points > mostPoints) _scanner.fail(beyondIndices(points));
        // Three numbers and what parts them need 6 bytes, a face at least 2.
        demandRoom(points, "points", 6);
        readPoints(points);
        demandRoom(faces, "faces", 2);
        readFaces(faces);
        return meshOrCloud(std::move(_mesh));
    }

private:
    void readHeader() {
        _scanner.toNextContent();
        const TextScanner atWord = _scanner;
        const std::string_view word = _scanner.word("'OFF'");
        if (const auto header = headerOf(word)) {
            _header = *header;
            if (!_scanner.atLineEnd() && TextScanner(_scanner).word("") == "BINARY")
                _scanner.fail("expected OFF as text, got OFF BINARY");
        } else if (hasOtherDimension(word)) {
            _scanner.fail("expected points of 3 coordinates, got " + ReaderError::quoted(word));
        } else if (word[0] >= '0' && word[0] <= '9') {
            _scanner = atWord; // the word may be left out
        } else {
            _scanner.fail("expected 'OFF', got " + ReaderError::quoted(word));
        }
    }

    std::size_t readCount(const char* what) {
        _scanner.toNextContent();
        return _scanner.count(what);
    }

    void demandRoom(std::size_t count, const char* what, std::size_t bytesEach) {
        // The last line may lack its end.
        const std::size_t most = (_scanner.bytesLeft() + 1) / bytesEach;
        if (count > most) _scanner.fail(tooMany(count, what, _scanner.bytesLeft(), most));
    }

    void readPoints(std::size_t count) {
        _mesh.points.reserve(count);
        if (_header.normals) _mesh.normals.reserve(count);
        std::vector<std::array<float, 4>> colors;
        if (_header.colors) colors.reserve(count);
        for (std::size_t i = 0; i < count; ++i) {
            toEntry("point", i, count);
            const double x = _scanner.real("x of a point");
            const double y = _scanner.real("y of a point");
            const double z = _scanner.real("z of a point");
            _mesh.points.push_back({x, y, z});
            if (_header.normals) _mesh.normals.push_back(readNormal());
            if (_header.colors) colors.push_back(readColor());
            _scanner.toNextLine();
        }
        _mesh.colors = colorsOfNumbers(colors);
    }

    Normal readNormal() {
        Normal normal;
        for (float& component : normal)
            component = static_cast<float>(_scanner.real("component of a normal"));
        return normal;
    }

    // Three or four numbers, of which the line alone tells.
    std::array<float, 4> readColor() {
        std::vector<float> numbers;
        while (!_scanner.atLineEnd() && numbers.size() < 6)
            numbers.push_back(static_cast<float>(_scanner.real("component of a colour")));
        if (_header.texture) numbers.resize(std::max<std::size_t>(numbers.size(), 2) - 2);
        if (numbers.size() != 3 && numbers.size() != 4)
            _scanner.fail("expected a colour of 3 or 4 numbers, got " +
                          std::to_string(numbers.size()));
        return {numbers[0], numbers[1], numbers[2], numbers.size() == 4 ? numbers[3] : -1};
    }

    void readFaces(std::size_t count) {
        _mesh.triangles.reserve(3 * std::min(count, _scanner.bytesLeft() / 7));
        std::vector<std::uint32_t> corners;
        for (std::size_t i = 0; i < count; ++i) {
            toEntry("face", i, count);
            readCorners(corners);
            // Two corners are an edge and one is a point: legal, and nothing to a surface.
            addPolygon(_mesh, corners);
            _scanner.toNextLine();
        }
    }

    void readCorners(std::vector<std::uint32_t>& corners) {
        const std::size_t count = _scanner.count("number of corners");
        const auto points = static_cast<long long>(_mesh.points.size());
        corners.clear();
        for (std::size_t i = 0; i < count; ++i) {
            const long long index = _scanner.integer("corner of a face");
            if (index < 0 || index >= points) _scanner.fail(wrongIndex(index, 0, points - 1));
            corners.push_back(static_cast<std::uint32_t>(index));
        }
    }

    void toEntry(const char* what, std::size_t index, std::size_t count) {
        if (!_scanner.toNextContent())
            _scanner.fail("expected " + std::string(what) + " " + std::to_string(index + 1) +
                          " of " + std::to_string(count) + ", got the end of the file");
    }

    TextScanner _scanner;
    Header _header;
    MeshVectors _mesh;
};

class OffReader : public Reader {
public:
    std::string name() const override { return "OFF mesh"; }
    std::vector<std::string> extensions() const override { return {"off"}; }
    Recognition recognises(const InputFile& file) const override {
        const std::string_view word = firstWord(file.head(), '#');
        return headerOf(word) || hasOtherDimension(word) ? Recognition::Content : Recognition::None;
    }
    Dataset read(const InputFile& file, const ReadOptions&) const override {
        return Parser(file).parse();
    }
};

} // namespace

std::unique_ptr<const Reader> makeOffReader() {
    return std::make_unique<OffReader>();
}

} // namespace Mirk
