#include "testFiles.hpp"

#include <zlib.h>

#include <array>
#include <cstdio>

namespace {

std::string numbers(const Mirk::Point& point) {
    std::array<char, 100> text;
    std::snprintf(text.data(), text.size(), "%.17g %.17g %.17g", point.x, point.y, point.z);
    return text.data();
}

std::string plyHeader(const std::string& encoding) {
    return "ply\nformat " + encoding +
           " 1.0\ncomment a tetrahedron\nelement vertex 4\nproperty double x\nproperty double y\n"
           "property double z\nelement face 4\nproperty list uchar int "
           "vertex_indices\nend_header\n";
}

} // namespace

std::string gzipped(const std::string& content) {
    z_stream stream{};
    EXPECT_EQ(deflateInit2(&stream, 6, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY), Z_OK);
    std::string packed(deflateBound(&stream, content.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
    stream.avail_in = static_cast<uInt>(content.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

const std::vector<Mirk::Point> Tetrahedron::points = {
    {6378137.000000001, 0.1, 0}, {1, 0, 0}, {0, 1.0 / 3, 1e-9}, {0, 0, 1}};
const std::vector<std::uint32_t> Tetrahedron::triangles = {0, 1, 2, 0, 2, 3, 0, 3, 1, 1, 3, 2};

std::string Tetrahedron::off() {
    std::string text = "OFF\n4 4 6\n";
    for (const Mirk::Point& point : points) text += numbers(point) + "\n";
    for (std::size_t i = 0; i < triangles.size(); i += 3)
        text += "3 " + std::to_string(triangles[i]) + " " + std::to_string(triangles[i + 1]) + " " +
                std::to_string(triangles[i + 2]) + "\n";
    return text;
}

std::string Tetrahedron::obj() {
    std::string text = "# a tetrahedron\no one\n";
    for (const Mirk::Point& point : points) text += "v " + numbers(point) + "\n";
    for (std::size_t i = 0; i < triangles.size(); i += 3)
        text += "f " + std::to_string(triangles[i] + 1) + " " +
                std::to_string(triangles[i + 1] + 1) + " " + std::to_string(triangles[i + 2] + 1) +
                "\n";
    return text;
}

std::string Tetrahedron::plyText() {
    std::string text = plyHeader("ascii");
    for (const Mirk::Point& point : points) text += numbers(point) + "\n";
    for (std::size_t i = 0; i < triangles.size(); i += 3)
        text += "3 " + std::to_string(triangles[i]) + " " + std::to_string(triangles[i + 1]) + " " +
                std::to_string(triangles[i + 2]) + "\n";
    return text;
}

std::string Tetrahedron::plyBinary(bool bigEndian) {
    std::string bytes = plyHeader(bigEndian ? "binary_big_endian" : "binary_little_endian");
    for (const Mirk::Point& point : points)
        for (const double coordinate : {point.x, point.y, point.z})
            bytes += bytesOf(coordinate, bigEndian);
    for (std::size_t i = 0; i < triangles.size(); ++i) {
        if (i % 3 == 0) bytes += '\3';
        bytes += bytesOf(static_cast<std::int32_t>(triangles[i]), bigEndian);
    }
    return bytes;
}

std::string Tetrahedron::stlText() {
    std::string text = "solid a tetrahedron\n";
    for (std::size_t i = 0; i < triangles.size(); i += 3) {
        text += " facet normal 0 0 0\n  outer loop\n";
        for (std::size_t corner = i; corner < i + 3; ++corner)
            text += "   vertex " + numbers(points[triangles[corner]]) + "\n";
        text += "  endloop\n endfacet\n";
    }
    return text + "endsolid a tetrahedron\n";
}

std::string Tetrahedron::stlBinary() {
    std::string bytes = "solid, says a file that is binary all the same";
    bytes.resize(80, ' ');
    bytes += bytesOf(static_cast<std::uint32_t>(triangles.size() / 3));
    for (std::size_t i = 0; i < triangles.size(); i += 3) {
        bytes += std::string(12, '\0');
        for (std::size_t corner = i; corner < i + 3; ++corner) {
            const Mirk::Point& point = points[triangles[corner]];
            for (const double coordinate : {point.x, point.y, point.z})
                bytes += bytesOf(static_cast<float>(coordinate));
        }
        bytes += std::string(2, '\0');
    }
    return bytes;
}
