#include <Readers/meshBuilder.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace Mirk {
namespace {

void addFan(std::vector<std::uint32_t>& triangles, const std::vector<std::uint32_t>& corners) {
    for (std::size_t i = 2; i < corners.size(); ++i)
        triangles.insert(triangles.end(), {corners[0], corners[i - 1], corners[i]});
}

std::vector<std::uint32_t> cornersOfFan(const std::uint32_t* fan, std::size_t count) {
    std::vector<std::uint32_t> corners{fan[0], fan[1]};
    corners.reserve(count);
    for (std::size_t i = 2; i < count; ++i) corners.push_back(fan[3 * (i - 2) + 2]);
    return corners;
}

void splitFan(MeshVectors& mesh, const MeshVectors::Fan& fan,
              const std::vector<std::uint32_t>& corners) {
    const std::vector<std::size_t> places = splitPolygon(mesh.points, corners);
    if (places.empty()) return;
    const auto reorder = [&](std::vector<std::uint32_t>& list) {
        if (list.size() < fan.begin + places.size()) return;
        std::uint32_t* const out = list.data() + fan.begin;
        const std::vector<std::uint32_t> each = cornersOfFan(out, fan.corners);
        std::transform(places.begin(), places.end(), out,
                       [&](std::size_t place) { return each[place]; });
    };
    reorder(mesh.triangles);
    reorder(mesh.cornerNormals);
}

} // namespace

void addPolygon(MeshVectors& mesh, const std::vector<std::uint32_t>& corners,
                const std::vector<std::uint32_t>& normals) {
    const MeshVectors::Fan fan{mesh.triangles.size(), corners.size()};
    addFan(mesh.triangles, corners);
    if (!normals.empty()) {
        mesh.cornerNormals.resize(fan.begin, noNormal);
        addFan(mesh.cornerNormals, normals);
    }
    if (corners.size() <= 3) return;
    if (*std::max_element(corners.begin(), corners.end()) < mesh.points.size())
        splitFan(mesh, fan, corners);
    else
        mesh.unsplit.push_back(fan);
}

void splitLatePolygons(MeshVectors& mesh) {
    for (const MeshVectors::Fan& fan : mesh.unsplit)
        splitFan(mesh, fan, cornersOfFan(mesh.triangles.data() + fan.begin, fan.corners));
    mesh.unsplit.clear();
}

Dataset meshOrCloud(MeshVectors&& mesh) {
    splitLatePolygons(mesh);
    PointSet cloud;
    cloud.points = makeChunk(std::move(mesh.points));
    if (!mesh.normals.empty()) cloud.normals = makeChunk(std::move(mesh.normals));
    if (!mesh.colors.empty()) cloud.colors = makeChunk(std::move(mesh.colors));
    if (mesh.triangles.empty()) return cloud;
    return TriangleMesh{std::move(cloud), makeChunk(std::move(mesh.triangles))};
}

unsigned char byteOfFraction(double fraction) {
    return byteOfNumber(fraction * 255);
}

unsigned char byteOfNumber(double number) {
    return static_cast<unsigned char>(std::lround(std::clamp(number, 0.0, 255.0)));
}

std::vector<Color> colorsOfNumbers(const std::vector<std::array<float, 4>>& numbers) {
    const bool bytes = std::any_of(numbers.begin(), numbers.end(), [](const auto& color) {
        return *std::max_element(color.begin(), color.end()) > 1;
    });
    const auto toByte = bytes ? byteOfNumber : byteOfFraction;
    std::vector<Color> colors;
    colors.reserve(numbers.size());
    for (const auto& [red, green, blue, alpha] : numbers) {
        const unsigned char opacity = alpha < 0 ? 255 : toByte(alpha);
        colors.push_back({toByte(red), toByte(green), toByte(blue), opacity});
    }
    return colors;
}

bool isFinite(const Point& point) {
    return std::isfinite(point.x) && std::isfinite(point.y) && std::isfinite(point.z);
}

std::string textOf(const Point& point) {
    char text[100];
    std::snprintf(text, sizeof text, "(%g, %g, %g)", point.x, point.y, point.z);
    return text;
}

std::string wrongIndex(long long got, long long first, long long last) {
    return "expected an index from " + std::to_string(first) + " to " + std::to_string(last) +
           ", got " + std::to_string(got);
}

std::string tooMany(std::size_t count, const std::string& what, std::size_t bytes,
                    std::size_t most) {
    return "expected " + std::to_string(count) + " " + what + ", but the " + std::to_string(bytes) +
           " bytes that follow hold at most " + std::to_string(most);
}

std::string beyondIndices(std::size_t count) {
    return "expected at most " + std::to_string(mostPoints) + " points, got " +
           std::to_string(count);
}

} // namespace Mirk
