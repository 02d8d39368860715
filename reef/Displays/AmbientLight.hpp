#pragma once
// Light from all sides; stands on DisplayLight.

#include <Displays/DisplayLight.hpp>

#include <string>

namespace Mirk {

/// Reaches all surfaces alike, on both sides, and makes none glint.
class DISPLAYS_EXPORT AmbientLight final : public DisplayLight {
public:
    explicit AmbientLight(const std::string& name);
    ~AmbientLight() override;

    std::string getShaderCode() const override;
};

} // namespace Mirk
