#include <PolypiaGL/glParameter.hpp>

#include <cstring>
#include <vector>

namespace Mirk::GL {

namespace {

using Variant = RenderNamespace::ProgramVariables::Variant;
using FloatPoint = Skua::Coordinates<Skua::Cartesian3D, float>::point;

constexpr const char* blendFunctionName = "glBlendFunc";

template<class T>
Variant variantOf(const T* data, int components) {
    const auto array = [data]<std::size_t N>(Skua::FixedArray<T, N> values) {
        std::memcpy(values.data(), data, sizeof values);
        return Variant(values);
    };
    switch (components) {
    case 1:
        return Variant(*data);
    case 2:
        return array(Skua::FixedArray<T, 2>());
    case 3:
        return array(Skua::FixedArray<T, 3>());
    default:
        return array(Skua::FixedArray<T, 4>());
    }
}

Variant variantOf(const void* data, const std::type_info& element, int components) {
    if (element == typeid(int)) return variantOf(static_cast<const int*>(data), components);
    if (element == typeid(float)) return variantOf(static_cast<const float*>(data), components);
    if (element == typeid(double)) return variantOf(static_cast<const double*>(data), components);
    const auto* const points = static_cast<const FloatPoint*>(data);
    return std::vector<FloatPoint>(points, points + components);
}

/// Blend factors that callers number by themselves: 0x1000 plus the position in this table. All
/// others are OpenGL's own.
unsigned blendFactor(int number) {
    constexpr std::array<unsigned, 6> factors{GL_ZERO,      GL_ONE,
                                              GL_SRC_COLOR, GL_ONE_MINUS_SRC_COLOR,
                                              GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA};
    constexpr int base = 0x1000;
    if (number < base || number >= base + static_cast<int>(factors.size())) {
        return static_cast<unsigned>(number);
    }
    return factors[static_cast<std::size_t>(number - base)];
}

} // namespace

bool isParameterType(const std::string& name, const std::type_info& element, int components) {
    if (name == blendFunctionName) return element == typeid(int) && components == 2;
    if (element == typeid(FloatPoint)) return components >= 1;
    const bool known =
        element == typeid(int) || element == typeid(float) || element == typeid(double);
    return known && components >= 1 && components <= 4;
}

GLParameter::GLParameter(MachinePtr machine, std::string name,
                         const RenderBasin::UpdaterPtr& source, const std::type_info& element,
                         int components)
    : _machine(std::move(machine)),
      _name(std::move(name)),
      _element(&element),
      _components(components),
      _isBlendFunction(_name == blendFunctionName) {
    updater = source;
}

bool GLParameter::setValue(const void* data, const std::type_info& element, int components) {
    if (element != *_element || components != _components || data == nullptr) return false;
    _value = variantOf(data, element, components);
    _hasValue = true;
    return true;
}

bool GLParameter::activate(const Polyp& polyp) {
    if (!_hasValue) return true;
    if (!_isBlendFunction) {
        storeInPrograms(polyp, _name, _value);
        return true;
    }
    activateBlending();
    _machine->check("RenderParameter::activate", [&] { restoreBlending(); });
    return true;
}

void GLParameter::activateBlending() {
    constexpr std::array<GLenum, 4> state{GL_BLEND_SRC_RGB, GL_BLEND_DST_RGB, GL_BLEND_SRC_ALPHA,
                                          GL_BLEND_DST_ALPHA};
    Blending caller{glIsEnabled(GL_BLEND) == GL_TRUE, {}};
    for (std::size_t i = 0; i < state.size(); ++i) glGetIntegerv(state[i], &caller.factors[i]);
    _callers.push_back(caller);
    const auto& factors = std::get<Skua::FixedArray<int, 2>>(_value);
    glEnable(GL_BLEND);
    glBlendFunc(blendFactor(factors[0]), blendFactor(factors[1]));
}

void GLParameter::restoreBlending() {
    const auto [isEnabled, factors] = _callers.back();
    _callers.pop_back();
    if (!isEnabled) glDisable(GL_BLEND);
    glBlendFuncSeparate(static_cast<GLenum>(factors[0]), static_cast<GLenum>(factors[1]),
                        static_cast<GLenum>(factors[2]), static_cast<GLenum>(factors[3]));
}

bool GLParameter::deactivate(const Polyp&) {
    // Without a value when the wave came by, nothing was set.
    if (_callers.empty()) return true;
    restoreBlending();
    _machine->report("RenderParameter::deactivate");
    return true;
}

} // namespace Mirk::GL
