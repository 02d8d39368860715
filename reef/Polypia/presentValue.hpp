#pragma once
// Reading a slot without leaving a value of its own in the pool; stands on VParameter.

#include <sorrel/VParameter.hpp>

namespace Mirk {

/// The value of a parameter in a pool, or the global one if it has none there. Makes no local
/// value: with one for each object and pool, a change of the global one would have to reach them
/// all, and who merely looks would pay for it.
inline VValuePtr presentValue(const VParameter& parameter, const ValuePoolPtr& pool) {
    VValuePtr value;
    if (parameter.holdsLocalValues()) value = parameter.getLocalValue(pool, {}, false);
    return value ? value : parameter.DefaultValue();
}

/// Reads that value. False, and `target` is unchanged, if it is of another type.
template<class T>
bool readPresentValue(const VParameter& parameter, const ValuePoolPtr& pool, T& target) {
    const VValuePtr value = presentValue(parameter, pool);
    const VTypedValueBase<T>* const typed = typedValue<T>(value.get());
    if (typed == nullptr) return false;
    typed->get(target);
    return true;
}

} // namespace Mirk
