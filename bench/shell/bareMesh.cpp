// bareMesh FILE.ply PICTURE.png: a mesh at 1920 x 1080 pixels, by OpenGL and libpng alone. Knows
// no PLY but little end first, points of three doubles and triangles of 32-bit indices. What
// `polypia render` is compared with; see docs/benchmarks.md.

#include "bare.hpp"

#include <mesh.frag.glsl.hpp>
#include <mesh.vert.glsl.hpp>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

constexpr int widthPixels = 1920;
constexpr int heightPixels = 1080;

struct Mesh {
    std::vector<std::array<double, 3>> points;
    std::vector<std::uint32_t> indices;
};

Mesh read(const char* path) {
    std::FILE* const file = std::fopen(path, "rb");
    if (!file) Bare::fail(std::string("cannot read ") + path);
    std::size_t points = 0, triangles = 0;
    char line[200];
    while (std::fgets(line, sizeof line, file) && std::strcmp(line, "end_header\n") != 0) {
        std::sscanf(line, "element vertex %zu", &points);
        std::sscanf(line, "element face %zu", &triangles);
    }
    Mesh mesh;
    mesh.points.resize(points);
    if (std::fread(mesh.points.data(), sizeof mesh.points[0], points, file) != points)
        Bare::fail("the points are not all there");
    mesh.indices.resize(triangles * 3);
    for (std::size_t i = 0; i < triangles; ++i) {
        unsigned char face[13];
        if (std::fread(face, sizeof face, 1, file) != 1 || face[0] != 3)
            Bare::fail("the triangles are not all there");
        std::memcpy(&mesh.indices[i * 3], face + 1, 12);
    }
    std::fclose(file);
    return mesh;
}

/// The points relative to the middle of their bounds, and the radius of the ball round these.
std::vector<float> centred(const std::vector<std::array<double, 3>>& points, double& radius) {
    auto low = points[0], high = points[0];
    for (const auto& p : points) {
        for (std::size_t i = 0; i < 3; ++i) {
            low[i] = std::min(low[i], p[i]);
            high[i] = std::max(high[i], p[i]);
        }
    }
    std::array<double, 3> centre, half;
    for (std::size_t i = 0; i < 3; ++i) {
        centre[i] = (low[i] + high[i]) / 2.0;
        half[i] = high[i] - centre[i];
    }
    radius = std::sqrt(Bare::dot(half, half));
    std::vector<float> result;
    result.reserve(points.size() * 3);
    for (const auto& p : points)
        for (std::size_t i = 0; i < 3; ++i) result.push_back(static_cast<float>(p[i] - centre[i]));
    return result;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) Bare::fail("usage: bareMesh FILE.ply PICTURE.png");
    Bare::Stages stages;
    stages.begin("read");
    Mesh mesh = read(argv[1]);
    stages.begin("convert");
    double radius = 0;
    std::vector<float> points = centred(mesh.points, radius);
    mesh.points = {};

    stages.begin("context");
    Bare::makeContext();
    Bare::Program program;
    program.add(GL_VERTEX_SHADER, glsl::mesh_vert);
    program.add(GL_FRAGMENT_SHADER, glsl::mesh_frag);
    program.link();
    const Bare::Picture picture(widthPixels, heightPixels);
    const double aspect = static_cast<double>(widthPixels) / heightPixels;
    Bare::setView(program, Bare::view({1902.28, 1633.87, 5188.04}, {71.03, 64.22, -44.13},
                                      {0.0, 1.0, 0.0}, radius, aspect));

    stages.begin("draw");
    GLuint array = 0;
    glCreateVertexArrays(1, &array);
    Bare::attribute(array, program.attribute("Coordinates"), Bare::buffer(points), 3, GL_FLOAT, 12);
    glVertexArrayElementBuffer(array, Bare::buffer(mesh.indices));
    const auto count = static_cast<GLsizei>(mesh.indices.size());
    points = {};
    mesh.indices = {};

    picture.clear();
    glBindVertexArray(array);
    glDrawElements(GL_TRIANGLES, count, GL_UNSIGNED_INT, nullptr);
    glFinish();
    stages.begin("read back");
    const std::vector<unsigned char> pixels = picture.read();
    stages.begin("encode");
    Bare::writePng(argv[2], pixels, widthPixels, heightPixels);
    stages.printTotal();
}
