#pragma once
// The value by which an object offers itself to be drawn; stands on the object model.

#include <Polypia/export.hpp>
#include <Polypia/fwd.hpp>

#include <sorrel/VObject.hpp>
#include <sorrel/VValueTrait.hpp>

#include <string>

namespace Mirk {

/// A weak reference to an object that can be drawn. Flows out of its output "renderable".
struct POLYPIA_EXPORT VRenderAble {
    Keel::WeakPtr<VObject, VManagedObjectBase> object;
};

/// Another object is a change; one that has died is another than none.
template<>
struct POLYPIA_EXPORT VValueCompareTrait<VRenderAble> {
    static bool isDifferent(const VRenderAble& a, const VRenderAble& b) {
        return a.object.controlBlock() != b.object.controlBlock();
    }
};
/// The name of the object, "" without a live one; for display. Which object it is can't be said by
/// a text: none is read.
template<>
struct POLYPIA_EXPORT VValueTrait<VRenderAble> {
    static std::string Text(const VRenderAble& value);
    static bool setValueFromText(VRenderAble&, const std::string&) { return false; }
};

} // namespace Mirk
