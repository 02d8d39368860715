#include <Readers/builtInReaders.hpp>
#include <Readers/meshBuilder.hpp>
#include <Readers/textScanner.hpp>

#include <Readers/ReaderError.hpp>
#include <Readers/binary.hpp>

#include <algorithm>
#include <cmath>
#include <optional>
#include <type_traits>

namespace Mirk {
namespace {

enum class Encoding { Text, LittleEndian, BigEndian };

enum class Type { Int8, Uint8, Int16, Uint16, Int32, Uint32, Float, Double };

struct TypeName {
    std::string_view name;
    Type type;
};
// The names of the first description of the format, then those of later writers.
constexpr TypeName typeNames[] = {
    {"char", Type::Int8},     {"uchar", Type::Uint8},   {"short", Type::Int16},
    {"ushort", Type::Uint16}, {"int", Type::Int32},     {"uint", Type::Uint32},
    {"float", Type::Float},   {"double", Type::Double}, {"int8", Type::Int8},
    {"uint8", Type::Uint8},   {"int16", Type::Int16},   {"uint16", Type::Uint16},
    {"int32", Type::Int32},   {"uint32", Type::Uint32}, {"float32", Type::Float},
    {"float64", Type::Double}};

/// Calls `function` with a null pointer to the C++ type.
template<class Function>
auto withType(Type type, Function function) {
    switch (type) {
    case Type::Int8:
        return function(static_cast<std::int8_t*>(nullptr));
    case Type::Uint8:
        return function(static_cast<std::uint8_t*>(nullptr));
    case Type::Int16:
        return function(static_cast<std::int16_t*>(nullptr));
    case Type::Uint16:
        return function(static_cast<std::uint16_t*>(nullptr));
    case Type::Int32:
        return function(static_cast<std::int32_t*>(nullptr));
    case Type::Uint32:
        return function(static_cast<std::uint32_t*>(nullptr));
    case Type::Float:
        return function(static_cast<float*>(nullptr));
    case Type::Double:
        break;
    }
    return function(static_cast<double*>(nullptr));
}

bool isReal(Type type) {
    return type == Type::Float || type == Type::Double;
}

std::size_t bytesOf(Type type) {
    return withType(type, [](auto* null) { return sizeof(*null); });
}

struct Property {
    std::string name;
    Type type;
    std::optional<Type> countType; ///< set if it is a list
    std::size_t offset = 0;        ///< in the bytes of an entry, if none before it is a list
};

struct Element {
    std::string name;
    std::size_t count = 0;
    std::vector<Property> properties;
    std::size_t bytes = 0; ///< of an entry, lists empty
    std::size_t line = 0;  ///< of its declaration

    bool hasLists() const {
        return std::any_of(properties.begin(), properties.end(),
                           [](const Property& property) { return property.countType; });
    }
    /// Place among the properties, or their number if there is none of a name.
    std::size_t find(std::initializer_list<std::string_view> names) const {
        const auto place =
            std::find_if(properties.begin(), properties.end(), [&](const Property& property) {
                return std::find(names.begin(), names.end(), property.name) != names.end();
            });
        return static_cast<std::size_t>(place - properties.begin());
    }
    bool has(std::size_t property) const { return property < properties.size(); }
};

struct Header {
    Encoding encoding = Encoding::Text;
    std::vector<Element> elements;
    std::size_t bytes = 0, lines = 0;
};

class HeaderParser {
public:
    explicit HeaderParser(const InputFile& file) : _scanner(file), _size(file.size()) {}

    Header parse() {
        if (_scanner.word("'ply'") != "ply") _scanner.fail("expected 'ply'");
        nextLine();
        if (_scanner.word("'format'") != "format") _scanner.fail("expected 'format'");
        readFormat();
        for (nextLine();; nextLine()) {
            const std::string_view key = _scanner.word("a key");
            if (key == "end_header") break;
            if (key == "element")
                readElement();
            else if (key == "property")
                readProperty();
            else if (key != "comment" && key != "obj_info")
                _scanner.fail("expected 'element', 'property', 'comment' or 'end_header', got " +
                              ReaderError::quoted(key));
        }
        _scanner.toNextLine();
        _header.bytes = _size - _scanner.bytesLeft();
        _header.lines = _scanner.line();
        return std::move(_header);
    }

private:
    void nextLine() {
        _scanner.toNextLine();
        if (!_scanner.toNextContent())
            _scanner.fail("expected 'end_header', got the end of the file");
    }

    void readFormat() {
        const std::string_view encoding = _scanner.word("an encoding");
        if (encoding == "ascii")
            _header.encoding = Encoding::Text;
        else if (encoding == "binary_little_endian")
            _header.encoding = Encoding::LittleEndian;
        else if (encoding == "binary_big_endian")
            _header.encoding = Encoding::BigEndian;
        else
            _scanner.fail("expected 'ascii', 'binary_little_endian' or 'binary_big_endian', got " +
                          ReaderError::quoted(encoding));
        const std::string_view version = _scanner.word("a version");
        if (version != "1.0")
            _scanner.fail("expected version 1.0, got " + ReaderError::quoted(version));
    }

    void readElement() {
        Element element;
        element.name = _scanner.word("name of an element");
        element.count = _scanner.count("number of entries");
        element.line = _scanner.line();
        for (const Element& other : _header.elements)
            if (other.name == element.name)
                _scanner.fail("expected one element " + ReaderError::quoted(element.name) +
                              ", got a second");
        _header.elements.push_back(std::move(element));
    }

    void readProperty() {
        if (_header.elements.empty()) _scanner.fail("expected 'element' before 'property'");
        Element& element = _header.elements.back();
        Property property;
        property.offset = element.bytes;
        std::string_view word = _scanner.word("a type");
        if (word == "list") {
            property.countType = typeOf(_scanner.word("type of the length"));
            if (isReal(*property.countType)) _scanner.fail("expected lengths of an integer type");
            word = _scanner.word("type of the entries");
        }
        property.type = typeOf(word);
        property.name = _scanner.word("name of a property");
        element.bytes += bytesOf(property.countType.value_or(property.type));
        element.properties.push_back(std::move(property));
    }

    Type typeOf(std::string_view name) const {
        for (const TypeName& known : typeNames)
            if (known.name == name) return known.type;
        _scanner.fail("expected a type such as 'float', 'double', 'int' or 'uchar', got " +
                      ReaderError::quoted(name));
    }

    TextScanner _scanner;
    std::size_t _size;
    Header _header;
};

/// Where the properties of points are that a mesh takes; each is a place in `properties`.
struct PointLayout {
    explicit PointLayout(const Element& element)
        : x{element.find({"x"}), element.find({"y"}), element.find({"z"})},
          normal{element.find({"nx", "normal_x"}), element.find({"ny", "normal_y"}),
                 element.find({"nz", "normal_z"})},
          color{element.find({"red", "r", "diffuse_red"}),
                element.find({"green", "g", "diffuse_green"}),
                element.find({"blue", "b", "diffuse_blue"}), element.find({"alpha", "a"})} {
        hasNormals = allScalars(element, normal, 3);
        hasColors = allScalars(element, color, 3);
        hasAlpha = hasColors && allScalars(element, color + 3, 1);
    }
    static bool allScalars(const Element& element, const std::size_t* places, std::size_t count) {
        return std::all_of(places, places + count, [&](std::size_t place) {
            return element.has(place) && !element.properties[place].countType;
        });
    }

    std::size_t x[3], normal[3], color[4];
    bool hasNormals, hasColors, hasAlpha;
};

/// A colour component of any type as byte: bytes as they are, of 16 bits the upper ones, floating
/// point as 0 .. 1.
template<class T>
unsigned char colorByte(T value) {
    if constexpr (std::is_floating_point_v<T>)
        return byteOfFraction(std::isfinite(value) ? static_cast<double>(value) : 0.0);
    else if constexpr (std::is_same_v<T, std::uint16_t>)
        return static_cast<unsigned char>(value >> 8);
    else
        return byteOfNumber(static_cast<double>(value));
}

// What both encodings have in common. The derived parsers read an element at a time.
class BodyParser {
public:
    BodyParser(const InputFile& file, const Header& header) : _file(file), _header(header) {
        for (const Element& element : header.elements)
            if (element.name == "vertex") _pointCount = element.count;
    }
    virtual ~BodyParser() = default;

    Dataset parse() {
        if (_pointCount == 0) failAtLine(1, "expected an element 'vertex' with at least 1 entry");
        for (const Element& element : _header.elements) {
            demandRoom(element);
            if (element.name == "vertex") {
                demandCoordinates(element);
                readPoints(element, PointLayout(element));
            } else if (const std::size_t list = cornersOf(element); element.has(list)) {
                readFaces(element, list);
            } else {
                skip(element);
            }
        }
        return meshOrCloud(std::move(_mesh));
    }

protected:
    virtual std::size_t bytesLeft() const = 0;
    /// How many entries the rest of the file has room for.
    virtual std::size_t mostEntries(const Element& element) const = 0;
    virtual void readPoints(const Element& element, const PointLayout& layout) = 0;
    virtual void readFaces(const Element& element, std::size_t list) = 0;
    virtual void skip(const Element& element) = 0;

    [[noreturn]] void failAtLine(std::size_t line, const std::string& reason) const {
        throw ReaderError(_file.path(), "line " + std::to_string(line), reason);
    }
    [[noreturn]] void failAtByte(std::size_t byte, const std::string& reason) const {
        throw ReaderError(_file.path(), "byte " + std::to_string(byte), reason);
    }

    /// Room for what will be read, all of which the file has been found long enough for.
    void reserve(const PointLayout& layout) {
        _mesh.points.resize(_pointCount);
        if (layout.hasNormals) _mesh.normals.resize(_pointCount);
        if (layout.hasColors) _mesh.colors.resize(_pointCount, opaqueBlack);
    }

    bool isIndex(long long index) const {
        return index >= 0 && index < static_cast<long long>(_pointCount);
    }
    std::string wrongCorner(long long index) const {
        return wrongIndex(index, 0, static_cast<long long>(_pointCount) - 1);
    }
    static std::string tooFewCorners(std::size_t count) {
        return "expected a face of at least 3 corners, got " + std::to_string(count);
    }

    static constexpr Color opaqueBlack{0, 0, 0, 255};

    const InputFile& _file;
    const Header& _header;
    std::size_t _pointCount = 0;
    MeshVectors _mesh;

private:
    void demandRoom(const Element& element) const {
        if (element.name == "vertex" && element.count > mostPoints)
            failAtLine(element.line, beyondIndices(element.count));
        if (element.count == 0) return;
        if (element.properties.empty())
            failAtLine(element.line, "expected properties of the element, got none");
        const std::size_t most = mostEntries(element);
        if (element.count > most)
            failAtLine(element.line, tooMany(element.count, "entries of '" + element.name + "'",
                                             bytesLeft(), most));
    }

    void demandCoordinates(const Element& element) const {
        if (!PointLayout::allScalars(element, PointLayout(element).x, 3))
            failAtLine(element.line, "expected properties x, y and z that aren't lists");
    }

    /// The list of corners, if the element has faces.
    std::size_t cornersOf(const Element& element) const {
        if (element.name != "face") return element.properties.size();
        const std::size_t list = element.find({"vertex_indices", "vertex_index"});
        if (!element.has(list) || !element.properties[list].countType ||
            isReal(element.properties[list].type))
            failAtLine(element.line,
                       "expected a property list 'vertex_indices' of an integer type");
        return list;
    }
};

class BinaryParser : public BodyParser {
public:
    BinaryParser(const InputFile& file, const Header& header)
        : BodyParser(file, header),
          _bigEndian(header.encoding == Encoding::BigEndian),
          _at(header.bytes) {}

private:
    std::size_t bytesLeft() const override { return _file.size() - _at; }
    std::size_t mostEntries(const Element& element) const override {
        return bytesLeft() / element.bytes;
    }

    template<class T>
    T load(std::size_t at) const {
        return loadNumber<T>(_file.content().data() + at, _bigEndian);
    }
    long long loadInteger(Type type, std::size_t at) const {
        return withType(type, [&](auto* null) {
            return static_cast<long long>(load<std::remove_pointer_t<decltype(null)>>(at));
        });
    }

    void readPoints(const Element& element, const PointLayout& layout) override {
        if (element.hasLists())
            failAtLine(element.line, "expected points without lists in a binary file");
        reserve(layout);
        for (std::size_t i = 0; i < 3; ++i) {
            readCoordinate(element, element.properties[layout.x[i]], i);
            if (layout.hasNormals)
                forColumn(element, element.properties[layout.normal[i]],
                          [&](std::size_t row, auto value) {
                              _mesh.normals[row][i] = static_cast<float>(value);
                          });
        }
        if (layout.hasColors)
            for (std::size_t i = 0; i < (layout.hasAlpha ? 4u : 3u); ++i)
                forColumn(
                    element, element.properties[layout.color[i]],
                    [&](std::size_t row, auto value) { _mesh.colors[row][i] = colorByte(value); });
        _at += element.count * element.bytes;
    }

    // A column at a time, so that the type is asked for once and the loop is tight.
    template<class Function>
    void forColumn(const Element& element, const Property& property, Function function) const {
        withType(property.type, [&](auto* null) {
            using T = std::remove_pointer_t<decltype(null)>;
            std::size_t at = _at + property.offset;
            for (std::size_t row = 0; row < element.count; ++row, at += element.bytes)
                function(row, load<T>(at));
        });
    }

    void readCoordinate(const Element& element, const Property& property, std::size_t axis) {
        std::size_t firstBad = element.count;
        forColumn(element, property, [&](std::size_t row, auto value) {
            const auto coordinate = static_cast<double>(value);
            _mesh.points[row][axis] = coordinate;
            if (!std::isfinite(coordinate)) firstBad = std::min(firstBad, row);
        });
        if (firstBad < element.count)
            failAtByte(_at + firstBad * element.bytes + property.offset,
                       "expected a finite " + property.name + " of a point, got " +
                           std::to_string(_mesh.points[firstBad][axis]));
    }

    void readFaces(const Element& element, std::size_t list) override {
        const Property& corners = element.properties[list];
        const std::size_t triangleBytes = element.bytes + 3 * bytesOf(corners.type);
        _mesh.triangles.reserve(3 * std::min(element.count, bytesLeft() / triangleBytes));
        if (element.properties.size() == 1 && corners.countType == Type::Uint8 &&
            (corners.type == Type::Int32 || corners.type == Type::Uint32)) {
            readUsualFaces(element);
            return;
        }
        for (std::size_t row = 0; row < element.count; ++row)
            for (std::size_t i = 0; i < element.properties.size(); ++i)
                i == list ? readCorners(corners) : skip(element.properties[i]);
    }

    // The layout that nearly all writers use: a byte and 32-bit indices, triangles first of all.
    void readUsualFaces(const Element& element) {
        const char* const content = _file.content().data();
        for (std::size_t row = 0; row < element.count; ++row) {
            if (bytesLeft() < 13 || content[_at] != 3) {
                readCorners(element.properties[0]);
                continue;
            }
            const auto a = load<std::uint32_t>(_at + 1), b = load<std::uint32_t>(_at + 5),
                       c = load<std::uint32_t>(_at + 9);
            // As unsigned numbers, negative ones are above any count as well.
            if (std::max({a, b, c}) >= _pointCount) readCorners(element.properties[0]);
            _mesh.triangles.insert(_mesh.triangles.end(), {a, b, c});
            _at += 13;
        }
    }

    // Goes behind the length of a list and gives it back; the entries have been found to be there.
    std::size_t readLength(const Property& property) {
        demandBytes(bytesOf(*property.countType), "length of a list");
        const long long length = loadInteger(*property.countType, _at);
        if (length < 0)
            failAtByte(_at, "expected the length of a list, got " + std::to_string(length));
        _at += bytesOf(*property.countType);
        const auto entries = static_cast<std::size_t>(length);
        demandBytes(entries * bytesOf(property.type), "entries of a list");
        return entries;
    }

    void readCorners(const Property& property) {
        const std::size_t begin = _at;
        const std::size_t count = readLength(property);
        if (count < 3) failAtByte(begin, tooFewCorners(count));
        _corners.clear();
        for (std::size_t i = 0; i < count; ++i, _at += bytesOf(property.type)) {
            const long long index = loadInteger(property.type, _at);
            if (!isIndex(index)) failAtByte(_at, wrongCorner(index));
            _corners.push_back(static_cast<std::uint32_t>(index));
        }
        addPolygon(_mesh, _corners);
    }

    void skip(const Property& property) {
        if (property.countType) {
            const std::size_t length = readLength(property);
            _at += length * bytesOf(property.type);
            return;
        }
        demandBytes(bytesOf(property.type), "a property");
        _at += bytesOf(property.type);
    }

    void skip(const Element& element) override {
        if (!element.hasLists()) {
            _at += element.count * element.bytes;
            return;
        }
        for (std::size_t row = 0; row < element.count; ++row)
            for (const Property& property : element.properties) skip(property);
    }

    void demandBytes(std::size_t bytes, const char* what) const {
        if (bytes > bytesLeft())
            failAtByte(_at, "expected " + std::to_string(bytes) + " bytes as " + what + ", got " +
                                std::to_string(bytesLeft()) + " up to the end of the file");
    }

    bool _bigEndian;
    std::size_t _at;
    std::vector<std::uint32_t> _corners;
};

class TextParser : public BodyParser {
public:
    TextParser(const InputFile& file, const Header& header)
        : BodyParser(file, header), _scanner(file, 0, header.bytes, header.lines) {}

private:
    std::size_t bytesLeft() const override { return _scanner.bytesLeft(); }
    // A number is a digit and what follows it, but for the last line, which may lack its end.
    std::size_t mostEntries(const Element& element) const override {
        return (bytesLeft() + 1) / (2 * element.properties.size());
    }

    template<class Function>
    void forEachLine(const Element& element, Function function) {
        for (std::size_t row = 0; row < element.count; ++row) {
            if (!_scanner.toNextContent())
                _scanner.fail("expected entry " + std::to_string(row + 1) + " of " +
                              std::to_string(element.count) + " of '" + element.name +
                              "', got the end of the file");
            function(row);
            _scanner.expectLineEnd();
        }
    }

    void readPoints(const Element& element, const PointLayout& layout) override {
        reserve(layout);
        // For each property the action on its value, so that a line is read in a single pass.
        enum class Use { None, Coordinate, Normal, Color };
        struct Target {
            Use use = Use::None;
            std::size_t component = 0;
        };
        std::vector<Target> targets(element.properties.size());
        for (std::size_t i = 0; i < 3; ++i) {
            targets[layout.x[i]] = {Use::Coordinate, i};
            if (layout.hasNormals) targets[layout.normal[i]] = {Use::Normal, i};
            if (layout.hasColors) targets[layout.color[i]] = {Use::Color, i};
        }
        if (layout.hasAlpha) targets[layout.color[3]] = {Use::Color, 3};
        forEachLine(element, [&](std::size_t row) {
            for (std::size_t i = 0; i < targets.size(); ++i) {
                const Property& property = element.properties[i];
                const auto [use, component] = targets[i];
                if (use == Use::None) {
                    skip(property);
                    continue;
                }
                const double value = _scanner.real(property.name.c_str());
                if (use == Use::Coordinate)
                    _mesh.points[row][component] = value;
                else if (use == Use::Normal)
                    _mesh.normals[row][component] = static_cast<float>(value);
                else
                    _mesh.colors[row][component] = colorByteOf(property.type, value);
            }
        });
    }

    static unsigned char colorByteOf(Type type, double value) {
        if (isReal(type)) return byteOfFraction(value);
        return byteOfNumber(type == Type::Uint16 ? std::floor(value / 256) : value);
    }

    void readFaces(const Element& element, std::size_t list) override {
        // A face of three corners has four numbers, and one number for each further property.
        const std::size_t triangleBytes = 2 * (element.properties.size() + 3);
        _mesh.triangles.reserve(3 * std::min(element.count, bytesLeft() / triangleBytes));
        std::vector<std::uint32_t> corners;
        forEachLine(element, [&](std::size_t) {
            for (std::size_t i = 0; i < element.properties.size(); ++i) {
                if (i != list) {
                    skip(element.properties[i]);
                    continue;
                }
                const std::size_t count = _scanner.count("number of corners");
                corners.clear();
                for (std::size_t corner = 0; corner < count; ++corner) {
                    const long long index = _scanner.integer("corner of a face");
                    if (!isIndex(index)) _scanner.fail(wrongCorner(index));
                    corners.push_back(static_cast<std::uint32_t>(index));
                }
                if (count < 3) _scanner.fail(tooFewCorners(count));
                addPolygon(_mesh, corners);
            }
        });
    }

    void skip(const Property& property) {
        const std::size_t words = property.countType ? _scanner.count("length of a list") : 1;
        for (std::size_t i = 0; i < words; ++i) _scanner.word(property.name.c_str());
    }

    void skip(const Element& element) override {
        forEachLine(element, [&](std::size_t) {
            for (const Property& property : element.properties) skip(property);
        });
    }

    TextScanner _scanner;
};

class PlyReader : public Reader {
public:
    std::string name() const override { return "PLY mesh"; }
    std::vector<std::string> extensions() const override { return {"ply"}; }
    Recognition recognises(const InputFile& file) const override {
        return file.head().starts_with("ply\n") || file.head().starts_with("ply\r")
                   ? Recognition::Content
                   : Recognition::None;
    }
    Dataset read(const InputFile& file, const ReadOptions&) const override {
        const Header header = HeaderParser(file).parse();
        if (header.encoding == Encoding::Text) return TextParser(file, header).parse();
        return BinaryParser(file, header).parse();
    }
};

} // namespace

std::unique_ptr<const Reader> makePlyReader() {
    return std::make_unique<PlyReader>();
}

} // namespace Mirk
