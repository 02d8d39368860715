#pragma once
// An object that is a light; stands on VEnvironmentRenderObject.

#include <Polypia/VEnvironmentRenderObject.hpp>

#include <string>

namespace Mirk {

/// By this class a scene tells lights from other objects, see
/// ObjectSelection::getNumberOfActiveLightSources. A backend has lights rendered at the head of a
/// frame; they draw nothing, and aren't picked.
class POLYPIA_EXPORT VLightSource : public VEnvironmentRenderObject {
public:
    /// The arguments are those of VObject, which a derived class constructs.
    VLightSource(const std::string& name, int p, const PreferencesPtr& prefs);
    ~VLightSource() override;
};

static_assert(std::is_same_v<Keel::RootOf_t<VLightSource>, VLightSource::ReferenceRoot>);

} // namespace Mirk
