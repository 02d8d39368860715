#include <Polypia/VLightSource.hpp>

namespace Mirk {

VLightSource::VLightSource(const std::string& objectName, int p, const PreferencesPtr& prefs)
    : VEnvironmentRenderObject(objectName, p, prefs) {}

VLightSource::~VLightSource() = default;

} // namespace Mirk
