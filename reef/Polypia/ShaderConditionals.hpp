#pragma once
// Configurations of shader text by inputs of an object; stands on slots and PolypCreator.

#include <Polypia/PolypCreator.hpp>
#include <Polypia/export.hpp>

#include <keel/WeakPtr.hpp>
#include <sorrel/VSlot.hpp>

#include <functional>
#include <map>
#include <string>

namespace Mirk {

/// Macros that are defined while inputs of an object say so. The owner hands getShaderDefines() to
/// Programmable::CompileShader as a local prefix, asks hasValidShaderDefines() whether the program
/// is still right, and makes it anew if not. Who owns it fills the two maps.
class POLYPIA_EXPORT ShaderConditionals {
public:
    using Slot = Keel::WeakPtr<VSlot, VSlot>;

    /// Slots in the order in which they were made, so that the same object says the same text in
    /// each run.
    struct POLYPIA_EXPORT SlotOrder {
        bool operator()(const Slot& a, const Slot& b) const;
    };

    /// "#define NAME 1" for each macro that is on: a bool that is true, or a double of which the
    /// slot's predicate is. Of other types, and without predicate, nothing is defined. Shaders ask
    /// by `#ifdef`.
    std::string getShaderDefines(const ValuePoolPtr& pool) const;
    /// False if an input of the conditions was changed after the polyp was made, whatever its value
    /// is now.
    bool hasValidShaderDefines(const PolypCreatorContext& context) const;

    // The order of the fields is part of the interface.

    /// Names of macros.
    std::map<Slot, std::string, SlotOrder> Conditions;
    std::map<Slot, std::function<bool(double)>, SlotOrder> Predicates;

private:
    bool isOn(const Slot& slot, const ValuePoolPtr& pool) const;
};

} // namespace Mirk
