// Draws a triangle with the installed libraries, without a window: `consumer FILE.png`.
#include <Polypia/Polypia.hpp>
#include <PolypiaGL/PolypiaGL.hpp>
#include <Writers/PngWriter.hpp>

#include <cstdint>
#include <cstdio>
#include <exception>
#include <vector>

namespace {

constexpr int size = 64;

const char* const vertexShader = R"(#version 330
in vec3 Coordinates;
void main() { gl_Position = vec4(Coordinates, 1.0); }
)";

const char* const fragmentShader = R"(#version 330
uniform vec3 Tint;
out vec4 color;
void main() { color = vec4(Tint, 1.0); }
)";

/// A polyp with a program, three points and the painter that draws them.
Keel::StrongPtr<Mirk::Polyp> makeTriangle(Mirk::RenderBasin& basin) {
    using Skua::PhysicalSpace::point;
    const Keel::StrongPtr<Mirk::Polyp> polyp(new Mirk::Polyp(Keel::WeakPtr<Keel::Creature>()));
    const auto program = basin.createProgram(vertexShader, fragmentShader, "triangle.vert",
                                             "triangle.frag", 1, 1, {}, {});
    (*program)["Tint"] = Skua::FixedArray<float, 3>{1.0F, 0.5F, 0.0F};
    polyp->insert(program);
    const Keel::StrongPtr<Keel::ChunkBase> corners(
        new Keel::Chunk<point>({{-0.8, -0.8, 0.0}, {0.8, -0.8, 0.0}, {0.0, 0.8, 0.0}}));
    const auto coordinates = basin.createCoordinates(corners, "Coordinates");
    polyp->insert(coordinates);
    polyp->insert(coordinates->createPainter(Mirk::RenderNamespace::Triangles));
    polyp->prepareWave();
    return polyp;
}

void draw(const char* file) {
    const auto context = Mirk::EglContext::create();
    const Mirk::GLContext::Scope current(*context);
    const auto seagrass = Keel::make<Mirk::Seagrass>(1 << 20, "consumer");
    Mirk::GLRenderBasin basin(*context, seagrass);
    const Mirk::GLFramebuffer framebuffer(*context, size, size, 1);
    framebuffer.bind();
    framebuffer.clear({0.0F, 0.0F, 0.2F, 1.0F});
    makeTriangle(basin)->wave(~Mirk::Activity_t{0});

    std::vector<std::uint8_t> pixels(size * size * 4);
    framebuffer.readColors(pixels);
    const std::uint8_t* const centre = &pixels[(size / 2 * size + size / 2) * 4];
    std::printf("the pixel in the middle is %d %d %d\n", centre[0], centre[1], centre[2]);
    Mirk::PngWriter(file).write({pixels.data(), size, size, Mirk::PngWriter::PixelFormat::rgbx,
                                 Mirk::PngWriter::RowOrder::bottomFirst});
}

} // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::fprintf(stderr, "usage: consumer FILE.png\n");
        return 2;
    }
    try {
        draw(arguments[1]);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "consumer: %s\n", error.what());
        return 1;
    }
}
