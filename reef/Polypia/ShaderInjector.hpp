#pragma once
// Pieces of shader code that stand for a value of an object; stands on the counted pointers.

#include <Polypia/export.hpp>
#include <Polypia/fwd.hpp>

#include <keel/ReferenceBase.hpp>

#include <string>

namespace Mirk {

/// A replaceable piece of GLSL, for shaders that are given one as a value. A stage without code
/// gets the empty text.
class POLYPIA_EXPORT ShaderInjectorBase : public Keel::ReferenceBase<ShaderInjectorBase> {
public:
    ShaderInjectorBase();

    // The number of the virtual operations is part of the interface: one for each stage that
    // Programmable has a place for, in that order.

    ~ShaderInjectorBase() override = 0;
    virtual std::string vertex_shader(VRenderContext& context) const = 0;
    virtual std::string geometry_shader(VRenderContext& context) const = 0;
    virtual std::string third_shader(VRenderContext& context) const = 0;
    virtual std::string fragment_shader(VRenderContext& context) const = 0;
    virtual std::string fifth_shader(VRenderContext& context) const = 0;

    // What a kind of piece says when nobody replaces it; derived classes hide these.

    static std::string default_vertex_shader(VRenderContext& context);
    static std::string default_geometry_shader(VRenderContext& context);
    static std::string default_fragment_shader(VRenderContext& context);
};

/// Answers for the stages with the static operations of T, the class that derives from it.
template<class T>
class POLYPIA_EXPORT ShaderInjector : public ShaderInjectorBase {
public:
    std::string vertex_shader(VRenderContext& context) const override {
        return T::default_vertex_shader(context);
    }
    std::string geometry_shader(VRenderContext& context) const override {
        return T::default_geometry_shader(context);
    }
    std::string third_shader(VRenderContext&) const override { return {}; }
    std::string fragment_shader(VRenderContext& context) const override {
        return T::default_fragment_shader(context);
    }
    std::string fifth_shader(VRenderContext&) const override { return {}; }
};

} // namespace Mirk
