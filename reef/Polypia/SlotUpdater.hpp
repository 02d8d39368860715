#pragma once
// Shader values that follow the slots of a display object; stands on RenderParameter and slots.
//
// The class VRenderContext must be complete where an updater is made.

#include <Polypia/RenderParameter.hpp>

#include <sorrel/TypedSlot.hpp>

#include <string>
#include <type_traits>
#include <utility>

namespace Mirk {

/// What the updaters of a slot have in common. The slot is held and not the parameter behind it,
/// which changes when a user connects the slot to something else.
class SlotSource {
public:
    explicit SlotSource(VSlotPtr slot, std::string label = {})
        : _slot(std::move(slot)), _label(std::move(label)) {}

    /// Whether there is something to read from: a slot with a live parameter.
    bool exists() const { return _slot && _slot->parameter(); }
    /// For diagnostics: the label that was given; else the name of the output behind the slot, or
    /// "UnknownInput" if none is connected.
    std::string name() const {
        if (!_label.empty()) return _label;
        return exists() && _slot->isConnected() ? _slot->parameter()->Name() : "UnknownInput";
    }
    template<class T>
    bool read(VRenderContext& context, T& value) const {
        return readSlot<T>(_slot, contextOf<T>(context).pool, value);
    }

private:
    // By way of a template the class is looked up where an updater is made, not here.
    template<class T>
    struct Context {
        using type = VRenderContext;
    };
    template<class T>
    static const typename Context<T>::type& contextOf(VRenderContext& context) {
        return context;
    }

    const VSlotPtr _slot;
    const std::string _label;
};

/// Delivers the value of a slot in the pool of the context, converted by F, an `R F(const T&)`.
/// Without live parameter there is nothing to deliver, which is no failure; a value that is not
/// there, or of another type, is one.
template<class T, class F>
class RenderBasin::RenderParameter::TypedUpdater : public RenderBasin::Updater {
public:
    TypedUpdater(const VSlotPtr& slot, F conversion, const std::string& label = {})
        : _source(slot, label), _conversion(std::move(conversion)) {}

    bool update(VRenderContext& context, RenderParameter& parameter) override {
        if (!_source.exists()) return true;
        T value{};
        if (!_source.template read<T>(context, value)) return false;
        return deliver(parameter, _conversion(value));
    }
    std::string sourceName() const { return _source.name(); }

private:
    const SlotSource _source;
    F _conversion;
};

/// Without conversion.
template<class T>
class RenderBasin::RenderParameter::TypedUpdater<T, void> : public RenderBasin::Updater {
public:
    explicit TypedUpdater(const VSlotPtr& slot) : _source(slot) {}

    bool update(VRenderContext& context, RenderParameter& parameter) override {
        if (!_source.exists()) return true;
        T value{};
        return _source.template read<T>(context, value) && deliver(parameter, value);
    }
    std::string sourceName() const { return _source.name(); }

private:
    const SlotSource _source;
};

/// The same for an `R F(const T&, VRenderContext&)`, whose value depends on the present view.
template<class T, class R, class F>
class RenderBasin::RenderParameter::FunctionalUpdaterWithContext : public RenderBasin::Updater {
public:
    FunctionalUpdaterWithContext(const VSlotPtr& slot, F function)
        : _source(slot), _function(std::move(function)) {}

    bool update(VRenderContext& context, RenderParameter& parameter) override {
        if (!_source.exists()) return true;
        T value{};
        if (!_source.template read<T>(context, value)) return false;
        const R result = _function(value, context);
        return deliver(parameter, result);
    }
    std::string sourceName() const { return _source.name(); }

private:
    const SlotSource _source;
    F _function;
};

/// An updater that delivers the value of a slot as it is.
template<class T>
RenderBasin::UpdaterPtr createSlotUpdater(const TypedSlot<T>& slot) {
    return RenderBasin::UpdaterPtr(new RenderBasin::RenderParameter::TypedUpdater<T, void>(slot));
}
/// An updater that delivers what a function makes of the value: `R F(const T&)`, or
/// `R F(const T&, VRenderContext&)`.
template<class T, class F>
RenderBasin::UpdaterPtr createSlotUpdater(const TypedSlot<T>& slot, F function) {
    using Parameter = RenderBasin::RenderParameter;
    if constexpr (std::is_invocable_v<F, const T&, VRenderContext&>) {
        using R = std::decay_t<std::invoke_result_t<F, const T&, VRenderContext&>>;
        return RenderBasin::UpdaterPtr(
            new Parameter::FunctionalUpdaterWithContext<T, R, F>(slot, std::move(function)));
    } else {
        return RenderBasin::UpdaterPtr(
            new Parameter::TypedUpdater<T, F>(slot, std::move(function)));
    }
}

} // namespace Mirk
