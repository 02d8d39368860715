#pragma once
// Lights that are what the test says; stands on RenderNamespace.

#include <Polypia/RenderNamespace.hpp>

#include <string>
#include <utility>

/// A light whose direction and colours are uniforms.
inline const std::string toldLightCode =
    "uniform vec3 uLight$$Incidence;\n"
    "uniform vec3 uLight$$Intensity;\n"
    "uniform vec3 uLight$$Specular;\n"
    "void getLight_$$(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, "
    "out vec3 specular_intensity)\n"
    "{\n"
    "    light_incidence = uLight$$Incidence;\n"
    "    intensity = uLight$$Intensity;\n"
    "    specular_intensity = uLight$$Specular;\n"
    "}\n";

class ToldLight : public Mirk::RenderNamespace::LightSource {
public:
    explicit ToldLight(std::string text = toldLightCode) : code(std::move(text)) {}
    std::string getLightFunction() override { return code; }

    std::string code;
};
using ToldLightPtr = Keel::StrongPtr<ToldLight, Mirk::RenderNamespace::LightSource>;

inline ToldLightPtr toldLight(const std::string& code = toldLightCode) {
    return ToldLightPtr(new ToldLight(code));
}
