#pragma once
// What the lights of this library have in common; stands on ShaderLightSource.

#include <Displays/export.hpp>

#include <Polypia/ShaderLightSource.hpp>
#include <rookery/PhysicalSpace.hpp>
#include <sorrel/TypedSlot.hpp>

#include <string>

namespace Mirk {

/// A light of a colour and an intensity, which multiplies it. Surfaces add up what they get of each
/// light; what is beyond 1 is shown as 1. Values below 0, and what is no number, are taken as 0. A
/// light that is dark counts as a light: what surfaces have without any steps aside. It is switched
/// off by its visibility, in each pool for itself. Moving or colouring a light compiles nothing.
class DISPLAYS_EXPORT DisplayLight : public ShaderLightSource {
public:
    using point = Skua::PhysicalSpace::point;
    using vector = Skua::PhysicalSpace::vector;

    ~DisplayLight() override;

    /// Alpha is not used.
    const TypedSlot<Skua::rgba_float_t>& color() const noexcept { return _color; }
    const TypedSlot<double>& intensity() const noexcept { return _intensity; }

    /// Sets "Light$$Intensity".
    void updateLight(ProgramVariables& uniforms, VRequest& request) override;

protected:
    using Triple = Skua::FixedArray<double, 3>;

    explicit DisplayLight(const std::string& name);

    /// Colour times intensity, up to 1e100.
    Triple radiance(const ValuePoolPtr& pool) const;
    /// As shaders may have it.
    static Triple limited(const Triple& light);

private:
    const TypedSlot<Skua::rgba_float_t> _color;
    const TypedSlot<double> _intensity;
};

/// One that comes from somewhere, and so makes surfaces glint: "specular" is how much as compared
/// to its intensity. How much a surface makes of that, and how small the glint is, is the
/// surface's.
class DISPLAYS_EXPORT GlintingLight : public DisplayLight {
public:
    ~GlintingLight() override;

    const TypedSlot<double>& specular() const noexcept { return _specular; }

    /// Sets "Light$$Specular" as well.
    void updateLight(ProgramVariables& uniforms, VRequest& request) override;

protected:
    explicit GlintingLight(const std::string& name);

    /// Sets both, for a light of that radiance.
    void setRadiance(ProgramVariables& uniforms, const ValuePoolPtr& pool,
                     const Triple& light) const;
    /// The vector made to have length 1. Without a direction, as zero has none, the light is dark.
    static void setDirection(ProgramVariables& uniforms, const vector& direction);
    static void darken(ProgramVariables& uniforms);

private:
    const TypedSlot<double> _specular;
};

} // namespace Mirk
