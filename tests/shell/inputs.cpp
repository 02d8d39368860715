#include "inputs.hpp"

#include <netcdf.h>
#include <zlib.h>

#include <cmath>
#include <cstdio>
#include <numbers>
#include <stdexcept>

namespace Shell::Test {

namespace {

std::string numbers(const point& p) {
    char text[100];
    std::snprintf(text, sizeof text, "%.17g %.17g %.17g", p.x, p.y, p.z);
    return text;
}

double onGrid(double value) {
    return std::round(value * 1024.0) / 1024.0;
}

std::array<int, 3> mixed(double part) {
    const auto byte = [](double value) { return static_cast<int>(std::lround(255 * value)); };
    return {byte(0.2 + 0.8 * part), byte(0.5), byte(1.0 - 0.7 * part)};
}

void demand(int status) {
    if (status != NC_NOERR) throw std::runtime_error(nc_strerror(status));
}

/// A netCDF file that is being written.
class Netcdf {
public:
    explicit Netcdf(const std::string& path) { demand(nc_create(path.c_str(), NC_CLOBBER, &_id)); }
    ~Netcdf() { nc_close(_id); }
    Netcdf(const Netcdf&) = delete;
    Netcdf& operator=(const Netcdf&) = delete;

    void numbers(const std::string& name, const std::vector<int>& values) {
        put(name, NC_INT, values);
    }
    void shorts(const std::string& name, const std::vector<int>& values) {
        put(name, NC_SHORT, values);
    }

private:
    void put(const std::string& name, nc_type type, const std::vector<int>& values) {
        int dimension = 0;
        int variable = 0;
        demand(nc_def_dim(_id, ("n" + name).c_str(), values.size(), &dimension));
        demand(nc_def_var(_id, name.c_str(), type, 1, &dimension, &variable));
        demand(nc_enddef(_id));
        if (type == NC_INT) {
            demand(nc_put_var_int(_id, variable, values.data()));
        } else {
            std::vector<short> shorts;
            // The bits of unsigned numbers, as the format has no such type.
            for (const int value : values) shorts.push_back(static_cast<short>(value));
            demand(nc_put_var_short(_id, variable, shorts.data()));
        }
        demand(nc_redef(_id));
    }

    int _id = 0;
};

} // namespace

std::string Model::ply() const {
    std::string text = "ply\nformat ascii 1.0\nelement vertex " + std::to_string(points.size()) +
                       "\nproperty double x\nproperty double y\nproperty double z\n";
    if (!colors.empty()) {
        text += "property uchar red\nproperty uchar green\nproperty uchar blue\n";
    }
    text += "element face " + std::to_string(triangles.size()) +
            "\nproperty list uchar int vertex_indices\nend_header\n";
    const auto append = [&text](const std::array<int, 3>& values) {
        for (const int value : values) text += " " + std::to_string(value);
    };
    for (std::size_t i = 0; i < points.size(); ++i) {
        text += numbers(points[i]);
        if (!colors.empty()) append(colors[i]);
        text += "\n";
    }
    for (const auto& corners : triangles) {
        text += "3";
        append(corners);
        text += "\n";
    }
    return text;
}

Model Model::movedBy(const vector& offset) const {
    Model result = *this;
    for (point& p : result.points) p += offset;
    return result;
}

Model Model::scaledBy(double factor) const {
    Model result = *this;
    for (point& p : result.points) p = point() + (p - point()) * factor;
    return result;
}

Model torus() {
    constexpr int around = 36, across = 18;
    Model result;
    for (int i = 0; i < around; ++i) {
        for (int k = 0; k < across; ++k) {
            const double u = 2 * std::numbers::pi * i / around;
            const double v = 2 * std::numbers::pi * k / across;
            const double radius = 2.0 + 0.8 * std::cos(v);
            result.points.push_back({onGrid(radius * std::cos(u)), onGrid(0.8 * std::sin(v)),
                                     onGrid(radius * std::sin(u))});
            result.colors.push_back(mixed(0.5 + 0.5 * std::cos(u)));
            const int nextI = (i + 1) % around * across, nextK = (k + 1) % across;
            result.triangles.push_back({i * across + k, nextI + k, nextI + nextK});
            result.triangles.push_back({i * across + k, nextI + nextK, i * across + nextK});
        }
    }
    return result;
}

Model spiral() {
    constexpr int count = 400;
    Model result;
    for (int i = 0; i < count; ++i) {
        const double part = static_cast<double>(i) / (count - 1);
        const double angle = 10 * std::numbers::pi * part;
        const double radius = 1.0 - part;
        result.points.push_back({onGrid(radius * std::cos(angle)), onGrid(2.0 * part),
                                 onGrid(radius * std::sin(angle))});
        result.colors.push_back(mixed(part));
    }
    return result;
}

Model triangle(const std::array<int, 3>& color) {
    return {{{-1, -1, 0}, {1, -1, 0}, {0, 1, 0}}, {{0, 1, 2}}, {color, color, color}};
}

void writeRiver(const std::string& path, const std::vector<LinePoint>& line) {
    // Two bins from pole to pole, of 180 degrees each; the line is in the eastern one.
    constexpr int degreesOfBin = 180, stepsOfBin = 65535;
    std::vector<int> longitudes, latitudes;
    for (const LinePoint& p : line) {
        longitudes.push_back(p.longitude * stepsOfBin / degreesOfBin);
        latitudes.push_back((p.latitude + 90) * stepsOfBin / degreesOfBin);
    }
    Netcdf file(path);
    file.numbers("Bin_size_in_minutes", {degreesOfBin * 60});
    file.numbers("N_bins_in_360_longitude_range", {2});
    file.numbers("Id_of_first_segment_in_a_bin", {0, 1});
    file.numbers("N_segments_in_a_bin", {1, 0});
    file.numbers("Id_of_first_point_in_a_segment", {0});
    file.numbers("N_points_for_a_segment", {static_cast<int>(line.size())});
    file.numbers("Hierarchial_level_of_a_segment", {1});
    file.shorts("Relative_longitude_from_SW_corner_of_bin", longitudes);
    file.shorts("Relative_latitude_from_SW_corner_of_bin", latitudes);
}

void writeOtherNetcdf(const std::string& path) {
    Netcdf(path).numbers("temperature", {1, 2, 3});
}

std::string packed(const std::string& content) {
    z_stream stream{};
    constexpr int gzipWindow = 15 + 16;
    deflateInit2(&stream, 6, Z_DEFLATED, gzipWindow, 8, Z_DEFAULT_STRATEGY);
    std::string result(deflateBound(&stream, content.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
    stream.avail_in = static_cast<uInt>(content.size());
    stream.next_out = reinterpret_cast<Bytef*>(result.data());
    stream.avail_out = static_cast<uInt>(result.size());
    deflate(&stream, Z_FINISH);
    result.resize(stream.total_out);
    deflateEnd(&stream);
    return result;
}

} // namespace Shell::Test
