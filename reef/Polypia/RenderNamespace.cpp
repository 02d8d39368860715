#include <Polypia/RenderNamespace.hpp>

namespace Mirk {

bool RenderNamespace::ProgramVariables::hasNoKinds() const {
    bool none = true;
    forEachKind([&](const auto& values) { none = none && values.empty(); });
    return none;
}

RenderNamespace::LightSource::LightSource() = default;

RenderNamespace::LightSource::~LightSource() = default;

RenderNamespace::Lighting::Lighting() = default;

RenderNamespace::Lighting::~Lighting() = default;

bool LightsByCreation::operator()(const Light& a, const Light& b) const noexcept {
    const auto serial = [](const Light& light) {
        return light.controlBlock() != nullptr ? light.controlBlock()->serial() : 0;
    };
    return serial(a) < serial(b);
}

} // namespace Mirk
