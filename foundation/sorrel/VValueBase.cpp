#include <sorrel/VValueBase.hpp>

#include <sorrel/VManagedObject.hpp>

namespace Mirk {

VValueBase::VValueBase() = default;
VValueBase::VValueBase(const VValueBase& other) : ReferenceBase(other) {}
VValueBase::~VValueBase() = default;

VValuePtr VValueBase::component(const std::string&) const {
    return {};
}

Keel::StrongPtr<Keel::InterfaceBase> VValueBase::getInterface() const {
    return {};
}

void VValueBase::setSource(const Keel::WeakPtr<VManagedObject, VManagedObjectBase>& source) {
    const std::lock_guard lock(_mutex);
    _source = source;
}

Keel::WeakPtr<VManagedObject, VManagedObjectBase> VValueBase::source() const {
    const std::lock_guard lock(_mutex);
    return _source;
}

void VValueBase::setContainerValue(const Keel::WeakPtr<VValueBase>& container) {
    const std::lock_guard lock(_mutex);
    _container = container;
}

Keel::WeakPtr<VValueBase> VValueBase::containerValue() const {
    const std::lock_guard lock(_mutex);
    return _container;
}

} // namespace Mirk
