#include <Polypia/RenderNamespace.hpp>

#include <Polypia/shaderText.hpp>

#include <Lighting.glsl.hpp>

#include <algorithm>
#include <type_traits>

namespace Mirk {

namespace {

using Variables = RenderNamespace::ProgramVariables;

template<class Map>
bool haveSameNames(const Map& a, const Map& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const auto& x, const auto& y) { return x.first == y.first; });
}

/// Whether there are the same names with the same types.
bool haveSameForm(const Variables& a, const Variables& b) {
    bool areSame =
        std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& x, const auto& y) {
            return x.first == y.first && x.second.index() == y.second.index();
        });
    a.forEachKind([&](const auto& values) {
        using Value = typename std::remove_reference_t<decltype(values)>::mapped_type;
        areSame = areSame && haveSameNames(values, b.values<Value>());
    });
    return areSame;
}

} // namespace

bool RenderNamespace::ProgramVariables::hasNoKinds() const {
    bool none = true;
    forEachKind([&](const auto& values) { none = none && values.empty(); });
    return none;
}

RenderNamespace::LightSource::LightSource() = default;

RenderNamespace::LightSource::~LightSource() = default;

std::unique_lock<std::recursive_mutex> RenderNamespace::LightSource::lockVariables() const {
    return std::unique_lock(_variablesMutex);
}

RenderNamespace::ProgramVariables RenderNamespace::LightSource::copyVariables() const {
    const auto lock = lockVariables();
    return *this;
}

bool RenderNamespace::LightSource::replaceVariables(const ProgramVariables& variables) {
    const auto lock = lockVariables();
    // They may be a changed copy of the present ones, with what was set in place.
    const bool isOtherForm =
        !haveSameForm(_lastReplacement, variables) && !haveSameForm(*this, variables);
    _lastReplacement = variables;
    static_cast<ProgramVariables&>(*this) = variables;
    return isOtherForm;
}

/// Has a set filled anew, in whichever way that ends.
class RenderNamespace::Lighting::Refilling {
public:
    explicit Refilling(Lighting& lighting)
        : _lighting(lighting), _isWithin(std::exchange(lighting._isRefilling, true)) {
        _before.swap(lighting);
    }
    Refilling(const Refilling&) = delete;
    Refilling& operator=(const Refilling&) = delete;
    ~Refilling() {
        _lighting._isRefilling = _isWithin;
        if (static_cast<const Set&>(_lighting) != _before) _lighting.noteComposition();
    }

private:
    Lighting& _lighting;
    const bool _isWithin;
    Set _before;
};

const std::string RenderNamespace::Lighting::placeholder = "$$";

RenderNamespace::Lighting::Lighting() = default;

RenderNamespace::Lighting::~Lighting() = default;

std::string RenderNamespace::Lighting::prefix() {
    return "\n\n#ifndef\tZELK_LIGHTSOURCES // definition is version number\n"
           "#define ZELK_LIGHTSOURCES 1\n\n" +
           std::string(glsl::Lighting);
}

std::string RenderNamespace::Lighting::postfix(unsigned int numberOfFunctions) {
    std::string code =
        "\n\nconst int NumberOfLightSourceFunctions = " + std::to_string(numberOfFunctions) +
        ";\n\n";
    // The members stay undefined: LightFunction() has to be called for a shader to compile.
    if (numberOfFunctions == 0) {
        code += "\n// No light sources available.\nvec3\tgetLightAtVertex(vec3 Vertex)\n{\n"
                "LightAtVertex TotalDarkness;\n\treturn LightFunction(TotalDarkness, Vertex);\n"
                "}\n\n";
        return code + "#endif\t// ZELK_LIGHTSOURCES\n\n";
    }
    for (unsigned int i = 0; i < numberOfFunctions; ++i) {
        code += "void getLight_" + std::to_string(i) +
                "(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, "
                "out vec3 specular_intensity);\n";
    }
    code += "\n\nvec3\tgetLightAtVertex(vec3 vertex)\n{\nvec3 light = vec3(0,0,0);\n\n";
    for (unsigned int i = 0; i < numberOfFunctions; ++i) {
        code += "\t{\n\tLightAtVertex L;\n\t getLight_" + std::to_string(i) +
                "(vertex, L.light_incidence, L.intensity, L.specular_intensity);\n"
                "\tlight += LightFunction(L, vertex);\n\t}\n";
    }
    return code + "\n\treturn light;\n}\n\n#endif\t// ZELK_LIGHTSOURCES\n\n";
}

unsigned int RenderNamespace::Lighting::defineLightFunctions(std::string& code) const {
    unsigned int index = 0;
    for (const LightsByCreation::Light& light : *this) {
        const SourcePtr source(light);
        if (source) code += getEffectiveLightName(source->getLightFunction(), index);
        ++index;
    }
    return index;
}

std::string RenderNamespace::Lighting::getEffectiveLightName(const std::string& name,
                                                             unsigned int index) {
    return replacedText(name, placeholder, std::to_string(index));
}

bool RenderNamespace::Lighting::isYoungerThan(const Keel::Ageable& age) const {
    return std::any_of(begin(), end(), [&](const LightsByCreation::Light& light) {
        const SourcePtr source(light);
        return source && source->isYoungerThan(age);
    });
}

void RenderNamespace::Lighting::enable(const SourcePtr& source) {
    if (!source) return;
    LightingStamp = Keel::Ageable::newAge();
    const bool isNew = insert(source).second;
    if (isNew && !_isRefilling) _compositionAge = LightingStamp;
}

void RenderNamespace::Lighting::refill(const std::function<void()>& fill) {
    const Refilling scope(*this);
    fill();
}

std::vector<RenderNamespace::Lighting::SourcePtr> RenderNamespace::Lighting::hold() {
    std::vector<SourcePtr> sources;
    sources.reserve(size());
    for (auto light = begin(); light != end();) {
        if (SourcePtr source(*light); source) {
            sources.push_back(std::move(source));
            ++light;
        } else {
            light = erase(light);
            noteComposition();
        }
    }
    return sources;
}

void RenderNamespace::Lighting::noteComposition() {
    LightingStamp = Keel::Ageable::newAge();
    _compositionAge = LightingStamp;
}

bool LightsByCreation::operator()(const Light& a, const Light& b) const noexcept {
    const auto serial = [](const Light& light) {
        return light.controlBlock() != nullptr ? light.controlBlock()->serial() : 0;
    };
    return serial(a) < serial(b);
}

} // namespace Mirk
