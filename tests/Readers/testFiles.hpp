#pragma once
// Small inputs for the tests of the readers.

#include <Readers/Readers.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

/// A folder that goes with its object.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "readersXXXXXX").string();
        _path = mkdtemp(pattern.data());
    }
    ~TemporaryFolder() { std::filesystem::remove_all(_path); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string path() const { return _path.string(); }
    std::string path(const std::string& name) const { return (_path / name).string(); }
    std::string write(const std::string& name, const std::string& content) const {
        std::ofstream(_path / name, std::ios::binary) << content;
        return path(name);
    }

private:
    std::filesystem::path _path;
};

/// What the readers of this library make of a content that stands in a file of that name.
inline Mirk::Dataset readContent(const std::string& name, const std::string& content) {
    Mirk::ReaderRegistry registry({});
    return registry.read(Mirk::InputFile(name, content));
}

/// The message of the ReaderError, or "no error".
inline std::string errorOf(const std::string& name, const std::string& content) {
    try {
        readContent(name, content);
    } catch (const Mirk::ReaderError& error) {
        return error.what();
    }
    return "no error";
}

inline std::vector<Mirk::Point> pointsOf(const Mirk::Dataset& dataset) {
    return std::visit([](const auto& each) { return each.points->vector(); }, dataset);
}

inline std::vector<std::uint32_t> trianglesOf(const Mirk::Dataset& dataset) {
    return std::get<Mirk::TriangleMesh>(dataset).triangles->vector();
}

inline std::vector<Mirk::Normal> normalsOf(const Mirk::Dataset& dataset) {
    return std::get<Mirk::TriangleMesh>(dataset).normals->vector();
}

inline std::vector<Mirk::Color> colorsOf(const Mirk::Dataset& dataset) {
    return std::get<Mirk::TriangleMesh>(dataset).colors->vector();
}

/// The bytes of a number, the end that is asked for first.
template<class T>
std::string bytesOf(T number, bool bigEndian = false) {
    std::string bytes(sizeof(T), '\0');
    std::memcpy(bytes.data(), &number, sizeof(T));
    if (bigEndian != (std::endian::native == std::endian::big))
        bytes.assign(bytes.rbegin(), bytes.rend());
    return bytes;
}

std::string gzipped(const std::string& content);

/// A tetrahedron with coordinates that no float can hold, in every format.
struct Tetrahedron {
    static const std::vector<Mirk::Point> points;
    static const std::vector<std::uint32_t> triangles;

    static std::string off();
    static std::string obj();
    static std::string plyText();
    static std::string plyBinary(bool bigEndian);
    static std::string stlText();
    /// With coordinates rounded to float.
    static std::string stlBinary();
};
