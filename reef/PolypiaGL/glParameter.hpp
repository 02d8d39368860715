#pragma once
// Render parameters and flags; internal to the backend, stands on Machine.

#include <Polypia/RenderParameter.hpp>
#include <Polypia/RenderTentacles.hpp>
#include <PolypiaGL/glMachine.hpp>

#include <array>
#include <string>
#include <vector>

namespace Mirk::GL {

/// Whether a parameter of this name, element type and number of components can be made.
bool isParameterType(const std::string& name, const std::type_info& element, int components);

/// Keeps the last value, and stores it in each program of the polyp that declares the uniform. The
/// name "glBlendFunc" stands for the blend function: two ints, switched on for the rest of the
/// wave.
class GLParameter : public RenderBasin::RenderParameter {
public:
    GLParameter(MachinePtr machine, std::string name, const RenderBasin::UpdaterPtr& updater,
                const std::type_info& element, int components);

    bool activate(const Polyp& polyp) override;
    bool deactivate(const Polyp& polyp) override;
    bool setValue(const void* data, const std::type_info& element, int components) override;
    const std::string& parameterName() const override { return _name; }

private:
    using Variant = RenderNamespace::ProgramVariables::Variant;

    /// What to go back to.
    struct Blending {
        bool isEnabled;
        std::array<int, 4> factors; ///< source and target of the colours, then of alpha
    };

    void activateBlending();
    void restoreBlending();

    MachinePtr _machine;
    std::string _name;
    const std::type_info* _element;
    int _components;
    Variant _value;
    bool _isBlendFunction;
    bool _hasValue = false;
    std::vector<Blending> _callers; // one for each time that blending is active
};

} // namespace Mirk::GL
