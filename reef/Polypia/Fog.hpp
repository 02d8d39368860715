#pragma once
// What lies between a surface and who looks at it, in fragment shaders; stands on ShaderInjector.

#include <Polypia/ShaderInjector.hpp>

#include <keel/StrongPtr.hpp>
#include <sorrel/VValueTrait.hpp>

#include <string>
#include <type_traits>

namespace Mirk {

/// No fog. A fog derives from this and answers fragment_shader() with another function of the same
/// declaration:
///
///     vec4 Fog(vec4 SurfaceColor, in RelativeVertex P, vec3 Observer, vec3 LookAt)
///
/// A fragment shader that takes part has it behind the text of LayeredMultiViews, which defines
/// RelativeVertex, calls it with what it would draw, and draws what comes back.
class POLYPIA_EXPORT Fog : public ShaderInjector<Fog> {
public:
    Fog();
    ~Fog() override;

    static std::string default_fragment_shader(VRenderContext& context);
};

using FogPtr = Keel::StrongPtr<Fog>;

/// "(fog)"; no fog can be made from text.
template<>
struct POLYPIA_EXPORT VValueTrait<FogPtr> {
    static std::string Text(const FogPtr& value);
    static bool setValueFromText(FogPtr& value, const std::string& text);
};
/// Another fog is a change, whatever its text.
template<>
struct POLYPIA_EXPORT VValueCompareTrait<FogPtr> {
    static bool isDifferent(const FogPtr& a, const FogPtr& b) { return !(a == b); }
};

static_assert(std::is_same_v<Keel::RootOf_t<Fog>, Fog::ReferenceRoot>);

} // namespace Mirk
