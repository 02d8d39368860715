// Pictures of display objects as a whole, against those of data/references/displays.

#include "../shell/image.hpp"
#include "displayPictures.hpp"

#include <cmath>
#include <cstdint>
#include <numbers>

using namespace Pictures;

namespace {

class DisplayReferences : public DisplayPictures {
protected:
    void SetUp() override {
        DisplayPictures::SetUp();
        // Other drivers choose other samples in a pixel.
        if (glContext && glContext->renderer().find("llvmpipe") == std::string::npos) {
            GTEST_SKIP() << "the references are pictures of llvmpipe, this is "
                         << glContext->renderer();
        }
    }

    /// Draws with four samples for each pixel.
    void expectReference(const std::string& name, const Eye& eye) {
        const Shell::Test::Image actual = upright(draw(eye, 4));
        const std::string kept = PICTURES "/" + name;
        actual.write(kept + "-actual.png");
        const auto expected = Shell::Test::Image::read(REFERENCES "/" + name + ".png");
        const Shell::Test::Limits limits;
        const auto found = compare(actual, expected, limits);
        if (found.isWithin(limits)) return;
        if (found.sameSize) differenceImage(actual, expected).write(kept + "-difference.png");
        FAIL() << found.pixelsBeyond << " of " << found.pixels << " pixels differ by more than "
               << limits.channel << ", all by " << found.mean << " in the mean; see " << kept
               << "-actual.png and -difference.png; the worst:" << found.worst;
    }

    /// Hills with a dent, coloured by their height.
    static TriangleMesh hills() {
        TriangleMesh data = squareOf(24);
        std::vector<Color> colors;
        for (point& p : data.points->elements()) {
            p.z = 0.3 * std::sin(3 * p.x) * std::cos(2.5 * p.y) + 0.2 * p.x * p.y;
            const auto height = static_cast<unsigned char>(std::lround(128 + 200 * p.z));
            colors.push_back({height, 160, static_cast<unsigned char>(255 - height), 255});
        }
        data.colors = makeChunk(std::move(colors));
        return data;
    }
    /// A ball of radius 1, with so many rows from pole to pole.
    static TriangleMesh ballOf(std::uint32_t rows) {
        TriangleMesh data = squareOf(rows);
        for (point& p : data.points->elements()) {
            const double longitude = std::numbers::pi * p.x, latitude = std::numbers::pi / 2 * p.y;
            p = {std::cos(latitude) * std::cos(longitude), std::cos(latitude) * std::sin(longitude),
                 std::sin(latitude)};
        }
        std::vector<Normal> normals;
        for (const point& p : data.points->elements()) {
            normals.push_back(
                {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)});
        }
        data.normals = makeChunk(std::move(normals));
        return data;
    }
    /// From the front and above.
    static Eye slanted(double distance) {
        Eye eye = eyeAt({0.4 * distance, -0.6 * distance, 0.7 * distance}, 0.1, 10 * distance);
        eye.camera.lookAt = {0, 0, 0};
        eye.camera.up = {0, 0, 1};
        eye.camera.fieldOfView = 45.0;
        return eye;
    }
    static std::vector<point> spiral(int turns, int number) {
        std::vector<point> points;
        for (int i = 0; i < number; ++i) {
            const double part = static_cast<double>(i) / (number - 1);
            const double angle = 2 * std::numbers::pi * turns * part;
            points.push_back({part * std::cos(angle), part * std::sin(angle), 0.5 - part});
        }
        return points;
    }

private:
    static Shell::Test::Image upright(const Image& picture) {
        Shell::Test::Image image(size, size);
        for (int y = 0; y < size; ++y) {
            for (int x = 0; x < size; ++x) {
                const Pixel pixel = picture.at(x, size - 1 - y);
                for (std::size_t i = 0; i < 3; ++i) {
                    image.at(x, y)[i] = static_cast<std::uint8_t>(pixel[i]);
                }
            }
        }
        return image;
    }
};

TEST_F(DisplayReferences, Points) {
    const std::vector<point> points = spiral(3, 60);
    std::vector<Color> colors;
    for (std::size_t i = 0; i < points.size(); ++i) {
        colors.push_back(
            {static_cast<unsigned char>(4 * i), 255, static_cast<unsigned char>(255 - 4 * i), 255});
    }
    add<PointCloud>(cloud(points, colors))->pointSize().set({}, 5.0);
    expectReference("points", slanted(3.1));
}

TEST_F(DisplayReferences, Lines) {
    Polylines lines =
        polylines({{1, spiral(3, 100)}, {2, {{-0.8, -0.8, 0}, {0.8, 0.8, 0.5}, {0.8, -0.8, 0}}}});
    lines.coordinates = CoordinateSystem::Geographic;
    add<LineSet>(lines, true)->lineWidth().set({}, 3.0);
    expectReference("lines", slanted(3.1));
}

TEST_F(DisplayReferences, FlatSurface) {
    add<TriangleSurface>(hills());
    expectReference("surface-flat", slanted(3.7));
}

TEST_F(DisplayReferences, SmoothSurface) {
    add<TriangleSurface>(hills())->smooth().set({}, true);
    expectReference("surface-smooth", slanted(3.7));
}

TEST_F(DisplayReferences, SurfaceWithEdges) {
    TriangleMesh data = squareOf(6);
    for (point& p : data.points->elements()) p.z = 0.3 * p.x * p.x - 0.2 * p.y;
    const auto object = add<TriangleSurface>(data);
    object->edges().set({}, true);
    object->edgeWidth().set({}, 1.5);
    expectReference("surface-edges", slanted(3.7));
}

TEST_F(DisplayReferences, BallInSeveralLights) {
    const auto ball = add<TriangleSurface>(ballOf(24));
    ball->smooth().set({}, true);
    ball->specular().set({}, 0.5);
    add<AmbientLight>()->intensity().set({}, 0.08);
    const auto left = add<DirectionalLight>();
    left->direction().set({}, {1, 1, -0.2});
    left->color().set({}, {1.0F, 0.15F, 0.1F, 1.0F});
    const auto lamp = add<PositionalLight>();
    lamp->position().set({}, {1.2, 0.2, 1.2});
    lamp->color().set({}, {0.2F, 1.0F, 0.3F, 1.0F});
    lamp->quadratic().set({}, 1.0);
    lamp->intensity().set({}, 1.5);
    const auto spot = add<SpotLight>();
    spot->position().set({}, {0.9, -3.0, 0.3});
    spot->direction().set({}, {-0.2, 1.0, -0.2});
    spot->cone().set({}, 9.0);
    spot->exponent().set({}, 20.0);
    spot->color().set({}, {0.3F, 0.4F, 1.0F, 1.0F});
    spot->intensity().set({}, 1.2);
    expectReference("lit-ball", slanted(3.0));
}

TEST_F(DisplayReferences, Box) {
    const auto box = add<BoundingBoxDisplay>();
    box->box().set({}, SharedBoundingBox(Keel::StrongPtr<Skua::BoundingBox, Keel::InterfaceBase>(
                           new Skua::BoundingBox({-1, -0.7, -0.5}, {1, 0.7, 0.5}))));
    box->lineWidth().set({}, 2.0);
    expectReference("box", slanted(3.7));
}

TEST_F(DisplayReferences, Globe) {
    add<GlobeDisplay>();
    add<LineSet>(parallel(30, -180, 180), true)->lineWidth().set({}, 2.0);
    add<LineSet>(parallel(-60, -180, 180), true);
    expectReference("globe", slanted(2.8 * earth));
}

TEST_F(DisplayReferences, BentGridWithItsBox) {
    const auto object = add<TriangleSurface>(squareOf(12));
    TransformOperator ball;
    ball.functor = Keel::StrongPtr<TransformOperator::Functor>(new Ball);
    object->transformSlot().set({}, ball);
    object->edges().set({}, true);
    draw(slanted(4.8)); // for the bounds
    const auto box = add<BoundingBoxDisplay>();
    const TransformOperator::BoundingBoxPtr flat(object->getBoundingBall(context->pool));
    box->box().set({}, SharedBoundingBox(object->transformBBox(context->pool, flat)));
    expectReference("bent-grid", slanted(4.8));
}

} // namespace
