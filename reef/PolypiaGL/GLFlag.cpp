#include <PolypiaGL/GLFlag.hpp>

#include <PolypiaGL/glHeaders.hpp>

#include <utility>

namespace Mirk {

std::optional<unsigned> GLFlag::capability(std::string_view name) {
    constexpr std::array<std::pair<std::string_view, unsigned>, 9> known{{
        {"GL_BLEND", GL_BLEND},
        {"GL_CULL_FACE", GL_CULL_FACE},
        {"GL_DEPTH_CLAMP", GL_DEPTH_CLAMP},
        {"GL_DEPTH_TEST", GL_DEPTH_TEST},
        {"GL_LINE_SMOOTH", GL_LINE_SMOOTH},
        {"GL_MULTISAMPLE", GL_MULTISAMPLE},
        {"GL_POLYGON_OFFSET_FILL", GL_POLYGON_OFFSET_FILL},
        {"GL_POLYGON_OFFSET_LINE", GL_POLYGON_OFFSET_LINE},
        {"GL_SAMPLE_ALPHA_TO_COVERAGE", GL_SAMPLE_ALPHA_TO_COVERAGE},
    }};
    for (const auto& [text, number] : known) {
        if (text == name) return number;
    }
    return {};
}

GLFlag::GLFlag(unsigned number, bool enabled) : _capability(number), _enabled(enabled) {}

GLFlag::~GLFlag() = default;

void GLFlag::set(bool enabled) const {
    if (enabled) {
        glEnable(_capability);
    } else {
        glDisable(_capability);
    }
}

bool GLFlag::activate(const Polyp&) {
    _previous.push_back(glIsEnabled(_capability) == GL_TRUE);
    set(_enabled);
    return true;
}

bool GLFlag::deactivate(const Polyp&) {
    if (_previous.empty()) return true;
    set(_previous.back());
    _previous.pop_back();
    return true;
}

GLPolygonOffset::GLPolygonOffset(float factor, float units)
    : GLFlag(GL_POLYGON_OFFSET_FILL, true), _factor(factor), _units(units) {}

GLPolygonOffset::~GLPolygonOffset() = default;

bool GLPolygonOffset::activate(const Polyp& polyp) {
    std::array<float, 2> present{};
    glGetFloatv(GL_POLYGON_OFFSET_FACTOR, &present[0]);
    glGetFloatv(GL_POLYGON_OFFSET_UNITS, &present[1]);
    _previous.push_back(present);
    glPolygonOffset(_factor, _units);
    return GLFlag::activate(polyp);
}

bool GLPolygonOffset::deactivate(const Polyp& polyp) {
    if (_previous.empty()) return true;
    const auto [factor, units] = _previous.back();
    _previous.pop_back();
    glPolygonOffset(factor, units);
    return GLFlag::deactivate(polyp);
}

} // namespace Mirk
