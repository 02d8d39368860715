#include <Readers/builtInReaders.hpp>
#include <Readers/meshBuilder.hpp>
#include <Readers/textScanner.hpp>

#include <Readers/ReaderError.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <unordered_map>

namespace Mirk {
namespace {

// Indices of one list (points or normals): counted from 1, or from the end if negative. One
// beyond what was read so far is right if it has come by the end of the file.
class IndexCheck {
public:
    explicit IndexCheck(TextScanner& scanner) : _scanner(scanner) {}

    std::uint32_t zeroBased(long long index, std::size_t countSoFar) {
        const auto count = static_cast<long long>(countSoFar);
        if (index < 0 && index >= -count) return static_cast<std::uint32_t>(count + index);
        if (index <= 0 || index > static_cast<long long>(mostPoints))
            fail(_scanner.line(), index, count);
        if (index > _largest) {
            _largest = index;
            _line = _scanner.line();
        }
        return static_cast<std::uint32_t>(index - 1);
    }

    void finish(std::size_t count) const {
        if (_largest > static_cast<long long>(count))
            fail(_line, _largest, static_cast<long long>(count));
    }

private:
    [[noreturn]] void fail(std::size_t line, long long index, long long count) const {
        if (count == 0)
            _scanner.failAt(line, "expected no index, as there is nothing yet to point to, got " +
                                      std::to_string(index));
        _scanner.failAt(line,
                        index < 0 ? wrongIndex(index, -count, -1) : wrongIndex(index, 1, count));
    }

    TextScanner& _scanner;
    long long _largest = 0;
    std::size_t _line = 0;
};

class Parser {
public:
    explicit Parser(const InputFile& file)
        : _scanner(file, '#'), _pointCheck(_scanner), _normalCheck(_scanner) {}

    Dataset parse() {
        while (_scanner.toNextContent()) {
            const std::string_view key = _scanner.word("a key");
            if (key == "v")
                readPoint();
            else if (key == "f")
                readFace();
            else if (key == "vn")
                readNormal();
            _scanner.toNextLine();
        }
        if (_mesh.points.empty())
            _scanner.fail("expected at least one point ('v x y z'), got the end of the file");
        _pointCheck.finish(_mesh.points.size());
        _normalCheck.finish(_normals.size());
        // Colours that only some points have can't be told from weights.
        if (_colors.size() == _mesh.points.size()) _mesh.colors = colorsOfNumbers(_colors);
        if (!_mesh.cornerNormals.empty()) spreadNormals();
        return meshOrCloud(std::move(_mesh));
    }

private:
    void readPoint() {
        if (_mesh.points.size() == mostPoints) _scanner.fail(beyondIndices(mostPoints + 1));
        const double x = _scanner.real("x of a point");
        const double y = _scanner.real("y of a point");
        const double z = _scanner.real("z of a point");
        _mesh.points.push_back({x, y, z});
        if (_scanner.atLineEnd()) return;
        // One more number is a weight, which has no meaning for polygons; three are a colour.
        const auto number = [&] { return static_cast<float>(_scanner.real("further number")); };
        const float red = number();
        if (_scanner.atLineEnd()) return;
        const float green = number();
        const float blue = number();
        _colors.push_back({red, green, blue, -1});
    }

    void readNormal() {
        Normal normal;
        for (float& component : normal)
            component = static_cast<float>(_scanner.real("component of a normal"));
        _normals.push_back(normal);
    }

    void readFace() {
        _corners.clear();
        _faceNormals.clear();
        while (!_scanner.atLineEnd()) readCorner();
        if (_corners.size() < 3)
            _scanner.fail("expected a face of at least 3 corners, got " +
                          std::to_string(_corners.size()));
        // A file without normals shouldn't pay for them.
        if (_normals.empty() && _mesh.cornerNormals.empty()) _faceNormals.clear();
        addPolygon(_mesh, _corners, _faceNormals);
    }

    // point, point/texture, point//normal or point/texture/normal
    void readCorner() {
        const std::string_view word = _scanner.word("a corner");
        std::array<long long, 3> indices{};
        const char* at = word.data();
        const char* const end = at + word.size();
        for (std::size_t i = 0; i < 3; ++i) {
            if (i > 0) {
                if (at == end) break;
                if (*at != '/') failCorner(word);
                ++at;
                if (i == 1 && at != end && *at == '/') continue;
            }
            const auto result = std::from_chars(at, end, indices[i]);
            if (result.ec != std::errc()) failCorner(word);
            at = result.ptr;
        }
        if (at != end) failCorner(word);
        _corners.push_back(_pointCheck.zeroBased(indices[0], _mesh.points.size()));
        _faceNormals.push_back(
            indices[2] == 0 ? noNormal : _normalCheck.zeroBased(indices[2], _normals.size()));
    }

    [[noreturn]] void failCorner(std::string_view word) {
        _scanner.fail("expected a corner as 'point/texture/normal', got " +
                      ReaderError::quoted(word));
    }

    // The file has normals for the corners of faces, the mesh one for each point. A point with
    // several, as along a sharp edge, becomes several points.
    void spreadNormals() {
        splitLatePolygons(_mesh); // before any points are doubled
        _mesh.cornerNormals.resize(_mesh.triangles.size(), noNormal);
        std::vector<std::uint32_t> normalOfPoint(_mesh.points.size(), noNormal);
        std::unordered_map<std::uint64_t, std::uint32_t> further;
        for (std::size_t i = 0; i < _mesh.triangles.size(); ++i) {
            std::uint32_t& point = _mesh.triangles[i];
            const std::uint32_t normal = _mesh.cornerNormals[i];
            if (normal == noNormal || normalOfPoint[point] == normal) continue;
            if (normalOfPoint[point] == noNormal) {
                normalOfPoint[point] = normal;
                continue;
            }
            const std::uint64_t pair = std::uint64_t{point} << 32 | normal;
            const auto [entry, isNew] =
                further.try_emplace(pair, static_cast<std::uint32_t>(_mesh.points.size()));
            if (isNew) {
                if (_mesh.points.size() == mostPoints) _scanner.fail(beyondIndices(mostPoints + 1));
                _mesh.points.push_back(Point(_mesh.points[point]));
                if (!_mesh.colors.empty()) _mesh.colors.push_back(Color(_mesh.colors[point]));
                normalOfPoint.push_back(normal);
            }
            point = entry->second;
        }
        _mesh.normals.reserve(_mesh.points.size());
        for (const std::uint32_t normal : normalOfPoint)
            _mesh.normals.push_back(normal == noNormal ? Normal{} : _normals[normal]);
    }

    TextScanner _scanner;
    IndexCheck _pointCheck, _normalCheck;
    MeshVectors _mesh;
    std::vector<Normal> _normals;
    std::vector<std::array<float, 4>> _colors;
    std::vector<std::uint32_t> _corners, _faceNormals;
};

class ObjReader : public Reader {
public:
    std::string name() const override { return "OBJ mesh"; }
    std::vector<std::string> extensions() const override { return {"obj"}; }
    // The format has no mark of its own, only short keys at the begin of lines.
    Recognition recognises(const InputFile& file) const override {
        static constexpr std::string_view keys[] = {"v", "vn", "vt",     "o",     "g",
                                                    "s", "f",  "mtllib", "usemtl"};
        const std::string_view word = firstWord(file.head(), '#');
        return std::find(std::begin(keys), std::end(keys), word) != std::end(keys)
                   ? Recognition::Container
                   : Recognition::None;
    }
    Dataset read(const InputFile& file, const ReadOptions&) const override {
        return Parser(file).parse();
    }
};

} // namespace

std::unique_ptr<const Reader> makeObjReader() {
    return std::make_unique<ObjReader>();
}

} // namespace Mirk
