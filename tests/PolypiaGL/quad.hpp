#pragma once
// A display object of a single colour, and an eye that sees it pixel by pixel; stands on
// GLRenderContext.

#include "glBasin.hpp"

#include <Polypia/Seagrass.hpp>
#include <PolypiaGL/GLRenderContext.hpp>

#include <cmath>
#include <functional>
#include <numbers>
#include <string>

namespace Mirk::GLTest {

/// In pixels from the middle of the picture, on the plane at a height above its ground.
struct Rectangle {
    double left = -8, bottom = -8, right = 8, top = 8;
    double height = 0;
};

/// Inserts what a polyp of one program needs, which reads the views of the context.
inline void completePolyp(Polyp& polyp, VRenderContext& context,
                          const RenderBasin::ProgramPtr& program,
                          const RenderBasin::PainterPtr& painter) {
    program->bindUniformBlock(GLRenderContext::MultiViewBlock,
                              context.getUniformBuffer(GLRenderContext::MultiViewBlock));
    polyp.insert(program);
    polyp.insert(painter);
    polyp.prepareWave();
    context.setNumberOfViews(polyp);
}

/// A rectangle of one colour.
class Quad : public RenderAble {
public:
    explicit Quad(const std::string& objectName, int layer = 0)
        : VObject(objectName, layer, {}), RenderAble(objectName, layer, {}) {}

    /// On any thread: the polyp is left to the render thread.
    ~Quad() override {
        const Keel::StrongPtr<Seagrass> live(_seagrass);
        if (live) live->scheduleDeletion(std::move(_polyp));
    }

    using RenderAble::environment_render;
    bool environment_render(VRenderContext& context) const override {
        ++draws;
        if (action && !action()) return false;
        const RenderBasin::ProgramPtr program = prepare(context);
        const auto f = [](double number) { return static_cast<float>(number); };
        (*program)["Rectangle"] = Skua::FixedArray<float, 4>{f(rectangle.left), f(rectangle.bottom),
                                                             f(rectangle.right), f(rectangle.top)};
        (*program)["Height"] = f(rectangle.height);
        (*program)["Color"] = color;
        (*program)["HolePixels"] = f(holePixels);
        context.updateTranslatedViews(*_polyp, {0, 0, 0}, 0);
        return _polyp->wave(~0U) >= 0;
    }
    BoundingBallPtr getBoundingBall(const ValuePoolPtr&) const override {
        if (!hasBounds) return {};
        const auto box = Keel::StrongPtr<Skua::BoundingBox, Keel::InterfaceBase>(
            new Skua::BoundingBox({rectangle.left, rectangle.bottom, rectangle.height},
                                  {rectangle.right, rectangle.top, rectangle.height}));
        return box;
    }
    void setVisible(const ValuePoolPtr& pool, bool isVisible) {
        writeSlot(findInput(VisibilitySlotName()), pool, isVisible);
    }

    Rectangle rectangle;
    Skua::FixedArray<float, 4> color{1, 1, 1, 1};
    /// Width and height of a hole in the middle.
    double holePixels = 0;
    bool hasBounds = true;
    mutable int draws = 0;
    std::function<bool()> action;

private:
    RenderBasin::ProgramPtr prepare(VRenderContext& context) const {
        if (_polyp && context.isValid(*_polyp)) return RenderBasin::ProgramPtr(_program);
        _seagrass = context.getSeagrass();
        _polyp = PolypPtr(new Polyp(Keel::WeakPtr<Keel::Creature>()));
        const std::string views = context.defineMultiView(context.EyeViews.size(), true, 0);
        const RenderBasin::ProgramPtr program =
            context.createProgram("#version 330\n#define VERTEX_SHADER 1\n" + views + R"(
uniform vec4 Rectangle;
uniform float Height;
out vec2 place;
void main() {
    zelk_setViewID();
    place = mix(Rectangle.xy, Rectangle.zw, vec2(gl_VertexID & 1, gl_VertexID >> 1));
    gl_Position = multiview_transform(mkRelativeVertex(vec4(place, Height, 1.0)));
}
)",
                                  R"(#version 330
in vec2 place;
uniform vec4 Rectangle;
uniform float HolePixels;
uniform vec4 Color;
out vec4 color;
void main() {
    vec2 fromMiddle = abs(place - 0.5 * (Rectangle.xy + Rectangle.zw));
    if (max(fromMiddle.x, fromMiddle.y) < 0.5 * HolePixels) discard;
    color = Color;
}
)",
                                  "quad.vert", "quad.frag", 1, 1, {}, {});
        completePolyp(*_polyp, context, program, context.createPainter(TriangleStrip, 4));
        _program = program;
        return program;
    }

    mutable PolypPtr _polyp;
    mutable Keel::WeakPtr<RenderBasin::Program, Polyp::Tentacle> _program;
    mutable Keel::WeakPtr<Seagrass> _seagrass;
};
using QuadPtr = Keel::StrongPtr<Quad, VManagedObjectBase>;

/// Orthographic: one pixel of the picture is one unit of the world.
inline GLRenderContext::Eye eyeFromAbove(double separation = 0.0) {
    GLRenderContext::Eye eye;
    eye.camera.position = {0, 0, 100};
    eye.camera.lookAt = {0, 0, 0};
    eye.camera.up = {0, 1, 0};
    eye.camera.fieldOfView = 2.0 * std::atan(size / 2.0 / 100.0) * 180.0 / std::numbers::pi;
    eye.near = 1;
    eye.far = 200;
    eye.orthographic = true;
    eye.separation = separation;
    eye.focus = 100;
    return eye;
}

} // namespace Mirk::GLTest
