// Measures the time from a picture in memory to a complete PNG file in the temporary folder, for a
// globe (plain colours, thin lines) and a shaded surface; "libpng" is the reference. Leaves out
// reading the picture back from the graphics card.
#include <Writers/PngWriter.hpp>

#include <benchmark/benchmark.h>
#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr std::size_t width = 1600;
constexpr std::size_t height = 1600;
constexpr double radius = 760;

using Pixels = std::vector<std::uint8_t>;
using Colour = std::array<std::uint8_t, 3>;

void setPixel(Pixels& pixels, std::size_t x, std::size_t y, Colour colour) {
    std::ranges::copy(colour, &pixels[(y * width + x) * 4]);
}

// 400 random walks stand for coastlines.
Pixels globe() {
    Pixels pixels(width * height * 4, 255);
    for (std::size_t y = 0; y < height; ++y)
        for (std::size_t x = 0; x < width; ++x) {
            const bool inside = std::hypot(double(x) - 800, double(y) - 800) < radius;
            setPixel(pixels, x, y, inside ? Colour{30, 60, 110} : Colour{10, 10, 20});
        }
    std::mt19937 generator(1);
    std::uniform_real_distribution<double> uniform(-1, 1);
    for (int walk = 0; walk < 400; ++walk) {
        double x = 800 + 500 * uniform(generator), y = 800 + 500 * uniform(generator);
        double heading = 3 * uniform(generator);
        for (int step = 0; step < 1500 && std::hypot(x - 800, y - 800) < radius; ++step) {
            heading += 0.6 * uniform(generator);
            x += std::cos(heading);
            y += std::sin(heading);
            setPixel(pixels, std::size_t(x), std::size_t(y), {240, 230, 140});
        }
    }
    return pixels;
}

Pixels shadedSurface() {
    Pixels pixels(width * height * 4, 255);
    for (std::size_t y = 0; y < height; ++y)
        for (std::size_t x = 0; x < width; ++x) {
            const double nx = (double(x) - 800) / radius, ny = (double(y) - 800) / radius;
            const double nz = std::sqrt(std::max(0.0, 1 - nx * nx - ny * ny));
            const double bumps = 0.07 * std::sin(40 * nx) * std::sin(40 * ny);
            const double light = std::clamp(0.3 * nx + 0.4 * ny + 0.8 * nz + bumps, 0.0, 1.0);
            const auto grey = static_cast<std::uint8_t>(255 * light);
            setPixel(pixels, x, y, nz > 0 ? Colour{grey, grey, 128} : Colour{30, 30, 30});
        }
    return pixels;
}

std::string outputPath() {
    return (std::filesystem::temp_directory_path() / "PngWriter.bench.png").string();
}

void writePngWriter(benchmark::State& state, const Pixels& pixels,
                    Mirk::PngWriter::PixelFormat format) {
    const Mirk::PngWriter writer(outputPath());
    for (auto _ : state)
        writer.write(
            {pixels.data(), width, height, format, Mirk::PngWriter::RowOrder::bottomFirst});
    state.counters["bytes"] = double(std::filesystem::file_size(outputPath()));
    std::filesystem::remove(outputPath());
}

// Filter and level as given; RGBA to RGB, bottom row first.
void writeLibpng(benchmark::State& state, const Pixels& pixels, int level, int filters) {
    for (auto _ : state) {
        FILE* file = std::fopen(outputPath().c_str(), "wb");
        auto* png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
        auto* info = png_create_info_struct(png);
        png_init_io(png, file);
        png_set_IHDR(png, info, width, height, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_set_compression_level(png, level);
        png_set_filter(png, PNG_FILTER_TYPE_BASE, filters);
        png_write_info(png, info);
        png_set_filler(png, 0, PNG_FILLER_AFTER);
        for (std::size_t y = height; y-- > 0;) png_write_row(png, &pixels[y * width * 4]);
        png_write_end(png, info);
        png_destroy_write_struct(&png, &info);
        std::fclose(file);
    }
    state.counters["bytes"] = double(std::filesystem::file_size(outputPath()));
    std::filesystem::remove(outputPath());
}

void add(const std::string& name, const std::function<void(benchmark::State&)>& run) {
    benchmark::RegisterBenchmark(name.c_str(), run)
        ->UseRealTime() // the work is shared among threads
        ->MeasureProcessCPUTime()
        ->Unit(benchmark::kMillisecond)
        ->Repetitions(9)
        ->ReportAggregatesOnly();
}

} // namespace

int main(int argc, char** argv) {
    const std::pair<const char*, Pixels> pictures[] = {{"globe", globe()},
                                                       {"surface", shadedSurface()}};
    for (const auto& [name, pixels] : pictures) {
        const std::string prefix = std::string(name) + "/";
        add(prefix + "PngWriter rgbx", [&](auto& state) {
            writePngWriter(state, pixels, Mirk::PngWriter::PixelFormat::rgbx);
        });
        add(prefix + "PngWriter rgba", [&](auto& state) {
            writePngWriter(state, pixels, Mirk::PngWriter::PixelFormat::rgba);
        });
        add(prefix + "libpng level 1, up",
            [&](auto& state) { writeLibpng(state, pixels, 1, PNG_FILTER_UP); });
        add(prefix + "libpng as it comes",
            [&](auto& state) { writeLibpng(state, pixels, 6, PNG_ALL_FILTERS); });
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
