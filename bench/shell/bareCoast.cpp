// bareCoast FILE PICTURE.png: coastlines over a globe at 1600 x 1600 pixels, by OpenGL, libnetcdf
// and libpng alone. What `polypia render` is compared with; see docs/benchmarks.md.

#include "bare.hpp"

#include <globe.frag.glsl.hpp>
#include <globe.vert.glsl.hpp>
#include <line.frag.glsl.hpp>
#include <line.geom.glsl.hpp>
#include <line.vert.glsl.hpp>

#include <netcdf.h>

#include <cstdint>

namespace {

constexpr double equator = 6378137.0;
constexpr double flattening = 1.0 / 298.257223563;
constexpr double pole = equator * (1.0 - flattening);
constexpr std::uint32_t restart = 0xFFFFFFFFU;
constexpr int picturePixels = 1600;

struct Coast {
    int binsAcross = 0;
    double binDegrees = 0;
    std::vector<int> firstSegments, segmentCounts, firstPoints, infos;
    std::vector<std::uint16_t> longitudes, latitudes;
};

struct Shape {
    std::vector<float> points;
    std::vector<unsigned char> levels;
    std::vector<std::uint32_t> indices;
};

void check(int status) {
    if (status != NC_NOERR) Bare::fail(nc_strerror(status));
}

template<class T>
std::vector<T> variable(int file, const char* name) {
    int id = 0, dimension = 0;
    std::size_t length = 0;
    check(nc_inq_varid(file, name, &id));
    check(nc_inq_vardimid(file, id, &dimension));
    check(nc_inq_dimlen(file, dimension, &length));
    std::vector<T> values(length);
    check(nc_get_var(file, id, values.data()));
    return values;
}

Coast read(const char* path) {
    int file = 0;
    check(nc_open(path, NC_NOWRITE, &file));
    Coast coast;
    coast.binsAcross = variable<int>(file, "N_bins_in_360_longitude_range")[0];
    coast.binDegrees = variable<int>(file, "Bin_size_in_minutes")[0] / 60.0;
    coast.firstSegments = variable<int>(file, "Id_of_first_segment_in_a_bin");
    int segmentCounts = 0; // of 16 bits in the file
    check(nc_inq_varid(file, "N_segments_in_a_bin", &segmentCounts));
    coast.segmentCounts.resize(coast.firstSegments.size());
    check(nc_get_var_int(file, segmentCounts, coast.segmentCounts.data()));
    coast.firstPoints = variable<int>(file, "Id_of_first_point_in_a_segment");
    coast.infos = variable<int>(file, "Embedded_npts_levels_exit_entry_for_a_segment");
    coast.longitudes = variable<std::uint16_t>(file, "Relative_longitude_from_SW_corner_of_bin");
    coast.latitudes = variable<std::uint16_t>(file, "Relative_latitude_from_SW_corner_of_bin");
    nc_close(file);
    return coast;
}

std::array<double, 3> earthCentred(double longitudeDegrees, double latitudeDegrees) {
    const double longitude = longitudeDegrees * (std::numbers::pi / 180.0);
    const double latitude = latitudeDegrees * (std::numbers::pi / 180.0);
    const double sine = std::sin(latitude), cosine = std::cos(latitude);
    constexpr double e2 = flattening * (2.0 - flattening);
    const double n = equator / std::sqrt(1.0 - e2 * sine * sine);
    return {n * cosine * std::cos(longitude), n * cosine * std::sin(longitude),
            n * (1.0 - e2) * sine};
}

void append(std::vector<float>& points, const std::array<double, 3>& p) {
    for (const double coordinate : p) points.push_back(static_cast<float>(coordinate));
}

// A strip for each segment: they meet exactly.
Shape lines(const Coast& coast) {
    Shape shape;
    shape.points.reserve(coast.longitudes.size() * 3);
    shape.levels.reserve(coast.longitudes.size());
    shape.indices.reserve(coast.longitudes.size() + coast.firstPoints.size());
    for (std::size_t bin = 0; bin < coast.firstSegments.size(); ++bin) {
        const int column = static_cast<int>(bin) % coast.binsAcross;
        const int row = static_cast<int>(bin) / coast.binsAcross;
        const double west = column * coast.binDegrees;
        const double south = 90.0 - (row + 1) * coast.binDegrees;
        const auto first = static_cast<std::size_t>(coast.firstSegments[bin]);
        const auto end = first + static_cast<std::size_t>(coast.segmentCounts[bin]);
        for (std::size_t segment = first; segment < end; ++segment) {
            const int info = coast.infos[segment];
            const auto level = static_cast<unsigned char>(info >> 6 & 7);
            if (level == 6) continue; // Antarctica's grounding line
            const auto begin = static_cast<std::size_t>(coast.firstPoints[segment]);
            const auto count = static_cast<std::size_t>(info >> 9);
            for (std::size_t i = begin; i < begin + count; ++i) {
                shape.indices.push_back(static_cast<std::uint32_t>(shape.levels.size()));
                append(shape.points,
                       earthCentred(west + coast.longitudes[i] * coast.binDegrees / 65535,
                                    south + coast.latitudes[i] * coast.binDegrees / 65535));
                shape.levels.push_back(level);
            }
            shape.indices.push_back(restart);
        }
    }
    return shape;
}

Shape globe() {
    constexpr std::uint32_t meridians = 360, parallels = 180;
    Shape shape;
    for (std::uint32_t row = 0; row <= parallels; ++row) {
        for (std::uint32_t column = 0; column <= meridians; ++column) {
            auto p =
                earthCentred(360.0 * column / meridians - 180.0, 90.0 - 180.0 * row / parallels);
            for (double& coordinate : p) coordinate *= 0.999;
            append(shape.points, p);
        }
    }
    for (std::uint32_t row = 0; row < parallels; ++row) {
        for (std::uint32_t column = 0; column < meridians; ++column) {
            const std::uint32_t a = row * (meridians + 1) + column, b = a + meridians + 1;
            shape.indices.insert(shape.indices.end(), {a, b, a + 1, a + 1, b, b + 1});
        }
    }
    return shape;
}

/// A shape on the GPU.
class Drawing {
public:
    Drawing(const Shape& shape, const Bare::Program& program, GLenum primitive)
        : _program(program),
          _primitive(primitive),
          _count(static_cast<GLsizei>(shape.indices.size())) {
        glCreateVertexArrays(1, &_array);
        Bare::attribute(_array, program.attribute("Coordinates"), Bare::buffer(shape.points), 3,
                        GL_FLOAT, 12);
        if (!shape.levels.empty())
            Bare::attribute(_array, program.attribute("Level"), Bare::buffer(shape.levels), 1,
                            GL_UNSIGNED_BYTE, 1);
        glVertexArrayElementBuffer(_array, Bare::buffer(shape.indices));
    }
    void draw() const {
        _program.use();
        glBindVertexArray(_array);
        glDrawElements(_primitive, _count, GL_UNSIGNED_INT, nullptr);
    }

private:
    const Bare::Program& _program;
    GLenum _primitive;
    GLsizei _count;
    GLuint _array = 0;
};

Bare::Program globeProgram() {
    Bare::Program program;
    program.add(GL_VERTEX_SHADER, glsl::globe_vert);
    program.add(GL_FRAGMENT_SHADER, glsl::globe_frag);
    program.link();
    program.use();
    glUniform1f(program.uniform("AxisRatio2"),
                static_cast<float>((equator / pole) * (equator / pole)));
    program.set("EarthCentre", {0, 0, 0});
    return program;
}

Bare::Program lineProgram() {
    Bare::Program program;
    program.add(GL_VERTEX_SHADER, glsl::line_vert);
    program.add(GL_GEOMETRY_SHADER, glsl::line_geom);
    program.add(GL_FRAGMENT_SHADER, Bare::withDefine(glsl::line_frag, "WIDE_LINES 1"));
    program.link();
    program.use();
    const std::array<float, 3> land{0.93F, 0.89F, 0.78F}, lake{0.45F, 0.68F, 0.88F},
        ice{0.80F, 0.90F, 0.97F};
    const std::array<std::array<float, 3>, 8> colors{land, land, lake, land, lake, ice, ice, ice};
    glUniform3fv(program.uniform("LevelColors"), 8, colors[0].data());
    glUniform1f(program.uniform("LineWidth"), 1.2F);
    glUniform2f(program.uniform("ViewportPixels"), picturePixels, picturePixels);
    return program;
}

// The shaders leave out what lies beyond the horizon, here four degrees beyond it.
void hideFarSide(const Bare::Program& program, const Bare::Vector& eye) {
    const Bare::Vector scaled{eye[0] / equator, eye[1] / equator, eye[2] / pole};
    const double distance = std::sqrt(Bare::dot(scaled, scaled));
    const double limit = std::cos(std::acos(1.0 / distance) + 4.0 * std::numbers::pi / 180.0);
    program.use();
    glUniform4f(program.uniform("HiddenSide"), static_cast<float>(scaled[0] / distance / equator),
                static_cast<float>(scaled[1] / distance / equator),
                static_cast<float>(scaled[2] / distance / pole), static_cast<float>(-limit));
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) Bare::fail("usage: bareCoast FILE PICTURE.png");
    Bare::Stages stages;
    stages.begin("read");
    Coast coast = read(argv[1]);
    stages.begin("convert");
    Shape coastShape = lines(coast), globeShape = globe();
    coast = {};

    stages.begin("context");
    Bare::makeContext();
    const Bare::Program ofGlobe = globeProgram(), ofLines = lineProgram();
    const Bare::Picture picture(picturePixels, picturePixels);
    const Bare::Vector eye{21947149.6, 4665010.7, 11845331.3}, focalPoint{2025.1, 430.5, -3920.0};
    const Bare::View view = Bare::view(eye, focalPoint, {0.0, 0.0, 1.0}, equator, 1.0);
    hideFarSide(ofGlobe, eye);
    hideFarSide(ofLines, eye);
    Bare::setView(ofGlobe, view);
    Bare::setView(ofLines, view);

    stages.begin("draw");
    const Drawing globeDrawing(globeShape, ofGlobe, GL_TRIANGLES);
    const Drawing coastDrawing(coastShape, ofLines, GL_LINE_STRIP);
    globeShape = coastShape = {};

    picture.clear();
    glEnable(GL_PRIMITIVE_RESTART_FIXED_INDEX);
    globeDrawing.draw();
    coastDrawing.draw();
    glFinish();
    stages.begin("read back");
    const std::vector<unsigned char> pixels = picture.read();
    stages.begin("encode");
    Bare::writePng(argv[2], pixels, picturePixels, picturePixels);
    stages.printTotal();
}
