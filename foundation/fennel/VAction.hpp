#pragma once
// A request to do something once; stands on keel's pointers and sorrel's value traits.

#include <fennel/fwd.hpp>

#include <keel/StrongPtr.hpp>
#include <sorrel/valueTraits.hpp>

#include <string>
#include <type_traits>

namespace Mirk {

/// The press of a button, as the value of a slot: each new action that is written into the slot
/// fires it, whatever its number is.
class FENNEL_EXPORT VAction : public Keel::ReferenceBase<VAction> {
public:
    explicit VAction(double actionValue);
    ~VAction() override;

    /// How strongly; what it means is up to the slot.
    const double value;
};

/// The number of the action; `none` without one. Reading a number makes a new action, even if it is
/// the number that was there already, so that the slot fires.
template<>
struct FENNEL_EXPORT VValueTrait<VActionPtr> {
    static std::string Text(const VActionPtr& value);
    static bool setValueFromText(VActionPtr& value, const std::string& text);
};
/// Each new action is a change.
template<>
struct FENNEL_EXPORT VValueCompareTrait<VActionPtr> {
    static bool isDifferent(const VActionPtr& a, const VActionPtr& b) { return !(a == b); }
};

static_assert(std::is_same_v<Keel::RootOf_t<VAction>, VAction::ReferenceRoot>);

} // namespace Mirk
