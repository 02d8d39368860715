#pragma once
// Light from a point in all directions; stands on PlacedLight.

#include <Displays/PlacedLight.hpp>

#include <string>

namespace Mirk {

/// A lamp.
class DISPLAYS_EXPORT PositionalLight final : public PlacedLight {
public:
    explicit PositionalLight(const std::string& name);
    ~PositionalLight() override;

    std::string getShaderCode() const override;
};

} // namespace Mirk
