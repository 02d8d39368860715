#pragma once
// What tests of display objects on a driver stand on: pictures of them, and data to be shown;
// stands on GLRenderContext.

#include "../PolypiaGL/glRenderFixture.hpp"
#include "displayData.hpp"

#include <Displays/Displays.hpp>
#include <Polypia/ObjectSelection.hpp>
#include <PolypiaGL/GLFramebuffer.hpp>
#include <rookery/Geodesy.hpp>
#include <sorrel/VRequest.hpp>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Pictures {

using namespace Mirk;

using point = Skua::PhysicalSpace::point;
using vector = Skua::PhysicalSpace::vector;
using Eye = GLRenderContext::Eye;
using Pixel = std::array<int, 3>;

inline constexpr int size = 64; // of the pictures, in pixels
inline constexpr Pixel magenta{255, 0, 255};
inline constexpr double earth = Skua::WGS84::semiMajorAxisMetres;

/// The picture of one eye, rows from the bottom.
struct Image {
    Pixel at(int x, int y) const {
        const auto first = static_cast<std::size_t>((y * size + x) * 4);
        return {bytes[first], bytes[first + 1], bytes[first + 2]};
    }
    bool isDrawn(int x, int y) const { return at(x, y) != magenta; }
    int drawnPixels() const {
        int number = 0;
        for (int i = 0; i < size * size; ++i) number += isDrawn(i % size, i / size) ? 1 : 0;
        return number;
    }

    std::vector<std::uint8_t> bytes;
};

/// At a place, looking along -z with 90 degrees, so that at a distance of d the picture shows -d
/// to d.
inline Eye eyeAt(const point& place, double near, double far) {
    Eye eye;
    eye.camera.position = place;
    eye.camera.lookAt = place - vector{0, 0, near};
    eye.camera.up = {0, 1, 0};
    eye.camera.fieldOfView = 90.0;
    eye.near = near;
    eye.far = far;
    return eye;
}

class DisplayPictures : public GLTest::RenderTest {
protected:
    void TearDown() override {
        objects.clear();
        endContext();
        targets.clear();
        RenderTest::TearDown();
    }

    template<class Display, class... Arguments>
    Keel::StrongPtr<Display, VManagedObjectBase> add(Arguments&&... arguments) {
        const Keel::StrongPtr<Display, VManagedObjectBase> object(
            new Display("object", std::forward<Arguments>(arguments)...));
        objects.push_back(object);
        return object;
    }

    /// A frame of all objects, one picture for each eye.
    std::vector<Image> draw(const std::vector<Eye>& eyes, int samples = 1) {
        targets.clear();
        std::vector<const GLFramebuffer*> places;
        for (std::size_t i = 0; i < eyes.size(); ++i) {
            targets.push_back(std::make_unique<GLFramebuffer>(*glContext, size, size, samples));
            targets.back()->clear({1.0F, 0.0F, 1.0F, 1.0F});
            places.push_back(targets.back().get());
        }
        context->setTargets(places);
        drawObjects(eyes);
        std::vector<Image> images;
        for (const auto& target : targets) images.push_back(imageOf(*target));
        return images;
    }
    /// The same in one pass.
    std::vector<Image> drawInLayers(const std::vector<Eye>& eyes, int samples) {
        // Programs are made anew.
        seagrass->lawn();
        const GLLayeredFramebuffer whole(*glContext, size, size, samples,
                                         static_cast<int>(eyes.size()), GL::Pass::Layers);
        std::vector<Image> images;
        for (unsigned i = 0; i < eyes.size(); ++i) whole.view(i).clear({1.0F, 0.0F, 1.0F, 1.0F});
        context->setTargets(whole);
        drawObjects(eyes);
        for (unsigned i = 0; i < eyes.size(); ++i) images.push_back(imageOf(whole.view(i)));
        context->setTargets(std::vector<const GLFramebuffer*>());
        return images;
    }
    static Image imageOf(const GLFramebuffer& target) {
        Image image{std::vector<std::uint8_t>(std::size_t{size} * size * 4)};
        target.readColors(image.bytes);
        return image;
    }
    void drawObjects(const std::vector<Eye>& eyes) {
        context->setEyes(eyes);
        VRequest request(context->pool);
        ObjectSelection selection;
        for (const RenderAblePtr& object : objects) {
            request.process(*object, 1.0);
            selection.insert(0, Keel::WeakPtr<VObject, VManagedObjectBase>(object));
        }
        double seconds = 0.0;
        result = context->renderObjects(selection, seconds, 0, 0);
        for (const auto& failure : context->failures()) ADD_FAILURE() << failure.report;
    }
    Image draw(const Eye& eye, int samples = 1) { return draw(std::vector<Eye>{eye}, samples)[0]; }

    /// With corners left and right at the bottom and in the middle at the top.
    static TriangleMesh triangle(const point& middle, double halfWidth, const Color& color) {
        return mesh({middle + vector{-halfWidth, -halfWidth, 0},
                     middle + vector{halfWidth, -halfWidth, 0}, middle + vector{0, halfWidth, 0}},
                    {0, 1, 2}, {color, color, color});
    }
    /// On the earth, along the parallel.
    static Polylines parallel(double latitude, double from, double to) {
        std::vector<point> points;
        for (double longitude = from; longitude <= to; longitude += 1.0) {
            points.push_back(Skua::toEarthCentred({longitude, latitude, 0.0}));
        }
        return polylines({{1, points}});
    }

    std::vector<std::unique_ptr<GLFramebuffer>> targets;
    std::vector<RenderAblePtr> objects;
    VRenderContext::RenderResult result = 0;
};

/// Between two points that the eye at (0, 0, 2) sees 16 pixels apart for each unit.
inline Polylines flatLine(const point& from, const point& to) {
    Polylines data = polylines({{1, {from, to}}});
    data.coordinates = CoordinateSystem::Geographic;
    return data;
}

/// A square of the plane z = 0 with corners at -1 and 1, in so many rows.
inline TriangleMesh squareOf(std::uint32_t rows) {
    std::vector<point> points;
    std::vector<std::uint32_t> triangles;
    for (std::uint32_t row = 0; row <= rows; ++row) {
        for (std::uint32_t column = 0; column <= rows; ++column) {
            points.push_back({2.0 * column / rows - 1, 2.0 * row / rows - 1, 0});
        }
    }
    for (std::uint32_t row = 0; row < rows; ++row) {
        for (std::uint32_t column = 0; column < rows; ++column) {
            const std::uint32_t a = row * (rows + 1) + column, b = a + rows + 1;
            for (const std::uint32_t i : {a, a + 1, b + 1, a, b + 1, b}) triangles.push_back(i);
        }
    }
    return mesh(points, triangles);
}

/// Bends the square from -1 to 1 round a ball of radius 1: x and y become longitude and latitude.
class Ball : public TransformOperator::Functor {
public:
    using BoxPtr = TransformOperator::BoundingBoxPtr;

    std::string myShaderFunctions(VRenderContext&) const override {
        return R"(
vec4 zelk_transform_vertex_WorldToEye(RelativeVertex theVertex)
{
    vec2 angle = WorldVertex(theVertex).xy * vec2(3.14159265, 1.57079633);
    vec3 bent = vec3(cos(angle.y) * cos(angle.x), cos(angle.y) * sin(angle.x), sin(angle.y));
    return zelk_transform_vertex_WorldToEye_Default(
        mkRelativeVertex(vec4(bent + theVertexOffset.xyz, 1.0)));
}
vec4 zelk_transform_vertex_EyeToScreen(vec4 theVertex_in_EyeSpace)
{
    return zelk_transform_vertex_EyeToScreen_Default(theVertex_in_EyeSpace);
}
vec3 zelk_transform_normal_WorldToEye(vec3 TheNormal)
{
    return zelk_transform_normal_WorldToEye_Default(TheNormal);
}
)";
    }
    BoxPtr transformedBBox(const ValuePoolPtr&, const BoxPtr&) const override {
        return BoxPtr(new Skua::BoundingBox({-1, -1, -1}, {1, 1, 1}));
    }
};

} // namespace Pictures
