#pragma once
// Values that are kept up to date for shaders; stands on RenderBasin.

#include <Polypia/RenderBasin.hpp>

#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace Mirk {

/// Delivers a value to a render parameter.
class POLYPIA_EXPORT RenderBasin::Updater : public Keel::ReferenceBase<Updater> {
public:
    Updater();
    ~Updater() override;
    /// False if the value cannot be had, which keeps the polyp from being drawn.
    virtual bool update(VRenderContext& context, RenderParameter& parameter) = 0;
};

/// A tentacle that keeps one named value up to date.
class POLYPIA_EXPORT RenderBasin::RenderParameter
    : public Polyp::SpecializedTentacle<Polyp::ParameterKey> {
public:
    using Updater = RenderBasin::Updater;
    /// Updaters that follow a slot; see SlotUpdater.hpp.
    template<class T, class F>
    class TypedUpdater;
    template<class T, class R, class F>
    class FunctionalUpdaterWithContext;

    RenderParameter();
    ~RenderParameter() override;

    /// The answer of the updater; true if there is none.
    bool updateValue(VRenderContext& context) override;

    // The order of the virtual operations is part of the interface.

    /// Takes a value by its address; false if element type or number of components are not those
    /// that the parameter was made with.
    virtual bool setValue(const void* data, const std::type_info& element, int components) = 0;
    /// The name of the uniform or state; empty for a parameter that is none.
    virtual const std::string& parameterName() const = 0;

    UpdaterPtr updater;
};

/// A named value that a function keeps up to date. Each program of the polyp that declares the
/// uniform gets the value.
class POLYPIA_EXPORT RenderBasin::UniformParameter
    : public Polyp::SpecializedTentacle<Polyp::ParameterKey> {
public:
    using Variant = ProgramVariables::Variant;
    using UpdateFunction = std::function<bool(Variant&, VRenderContext&)>;

    UniformParameter(std::string uniformName, Variant initialValue,
                     UpdateFunction function = UpdateFunction());
    ~UniformParameter() override;

    /// The answer of the function; true if it is not set.
    bool updateValue(VRenderContext& context) override;
    bool activate(const Polyp& polyp) override;
    bool deactivate(const Polyp& polyp) override;

    // The order of the fields is part of the interface.
    std::string name;
    Variant value;
    /// For the use of the backend, 1 at first.
    std::uint64_t backendWord = 1;
    UpdateFunction updateFunction;
};

/// Stores a value under the name of a uniform in each program of the polyp that declares it. The
/// program that is current while parameters are activated is merely the last one.
POLYPIA_EXPORT void storeInPrograms(const Polyp& polyp, const std::string& name,
                                    const RenderNamespace::ProgramVariables::Variant& value);

/// A tentacle from a pair of setup and cleanup: the factory is called when it is activated, and
/// what it returns when it is deactivated. Setting the bool to false ends the wave, and the
/// cleanup of that factory call is then dropped. An empty factory throws std::bad_function_call
/// in the wave; an empty cleanup is none.
POLYPIA_EXPORT RenderBasin::RenderParameterPtr LambdaRenderParameter(
    std::function<std::function<void(const Polyp&, bool&)>(const Polyp&, bool&)> factory);
/// The same for functions that need neither the polyp nor a result.
POLYPIA_EXPORT RenderBasin::RenderParameterPtr
LambdaRenderParameter(std::function<std::function<void()>()> factory);

/// How a C++ value goes to RenderParameter::setValue: as the address of its first element, the type
/// of the elements and their number.
template<class T>
struct RenderValue {
    static_assert(std::is_arithmetic_v<T>, "no known layout for a shader");
    using element = T;
    static const void* address(const T& value) { return &value; }
    static int components(const T&) { return 1; }
};
template<class T, std::size_t N>
struct RenderValue<Skua::FixedArray<T, N>> {
    using element = T;
    static const void* address(const Skua::FixedArray<T, N>& value) { return &value; }
    static int components(const Skua::FixedArray<T, N>&) { return static_cast<int>(N); }
};
template<>
struct RenderValue<Skua::rgba_float_t> {
    using element = float;
    static const void* address(const Skua::rgba_float_t& value) { return &value; }
    static int components(const Skua::rgba_float_t&) { return 4; }
};
template<>
struct RenderValue<Skua::PhysicalSpace::point> {
    using element = double;
    static const void* address(const Skua::PhysicalSpace::point& value) { return &value; }
    static int components(const Skua::PhysicalSpace::point&) { return 3; }
};
template<>
struct RenderValue<std::vector<Skua::Coordinates<Skua::Cartesian3D, float>::point>> {
    using element = Skua::Coordinates<Skua::Cartesian3D, float>::point;
    static const void* address(const std::vector<element>& value) { return value.data(); }
    static int components(const std::vector<element>& value) {
        return static_cast<int>(value.size());
    }
};

/// Hands a value to a parameter.
template<class T>
bool deliver(RenderBasin::RenderParameter& parameter, const T& value) {
    using Value = RenderValue<T>;
    return parameter.setValue(Value::address(value), typeid(typename Value::element),
                              Value::components(value));
}

template<class F>
RenderBasin::UpdaterPtr RenderBasin::createRenderLambda(F function) {
    class LambdaUpdater : public Updater {
    public:
        explicit LambdaUpdater(F source) : _function(std::move(source)) {}
        bool update(VRenderContext& context, RenderParameter& parameter) override {
            return deliver(parameter, _function(context));
        }

    private:
        F _function;
    };
    return UpdaterPtr(new LambdaUpdater(std::move(function)));
}

} // namespace Mirk
