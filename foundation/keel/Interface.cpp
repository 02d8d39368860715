#include <keel/Interface.hpp>

namespace Keel {

InterfaceIterationParameter::~InterfaceIterationParameter() = default;

InterfaceBase::InterfaceBase() = default;
InterfaceBase::InterfaceBase(const InterfaceBase&) = default;
InterfaceBase::~InterfaceBase() = default;

bool InterfaceBase::apply_const(const Intercube&, const StrongPtr<InterfaceIterationParameter>&) {
    return true;
}

bool InterfaceBase::apply(Intercube&, const StrongPtr<InterfaceIterationParameter>&) {
    return true;
}

Intercube::Intercube() noexcept = default;

Intercube::Intercube(const Intercube&) noexcept : Intercube() {}

Intercube::~Intercube() {
    // A dying interface may ask its holder for others: by then it must find the table empty.
    Table dying;
    const std::lock_guard lock(_mutex);
    dying.swap(_interfaces);
    _closed = true;
}

StrongPtr<InterfaceBase> Intercube::findInterface(const std::type_info& type) const {
    const std::lock_guard lock(_mutex);
    const StrongPtr<InterfaceBase>* const found = find(type);
    return found != nullptr ? *found : StrongPtr<InterfaceBase>();
}

void Intercube::addInterface(const StrongPtr<InterfaceBase>& interface) const {
    if (!interface) return;
    StrongPtr<InterfaceBase> replaced = interface;
    const std::lock_guard lock(_mutex);
    if (StrongPtr<InterfaceBase>* const present = find(interface->type())) {
        present->swap(replaced);
    } else if (!_closed) {
        _interfaces.push_back(interface);
    }
}

StrongPtr<InterfaceBase> Intercube::addIfMissing(const StrongPtr<InterfaceBase>& interface) const {
    if (!interface) return interface;
    const std::lock_guard lock(_mutex);
    if (const StrongPtr<InterfaceBase>* const present = find(interface->type())) return *present;
    if (!_closed) _interfaces.push_back(interface);
    return interface;
}

bool Intercube::iterateInterfaces(const StrongPtr<InterfaceIterationParameter>& parameter) const {
    for (const StrongPtr<InterfaceBase>& interface : copyTable()) {
        if (!interface->apply_const(*this, parameter)) return false;
    }
    return true;
}

bool Intercube::iterateInterfaces(const StrongPtr<InterfaceIterationParameter>& parameter) {
    for (const StrongPtr<InterfaceBase>& interface : copyTable()) {
        if (!interface->apply(*this, parameter)) return false;
    }
    return true;
}

Intercube::Table Intercube::copyTable() const {
    const std::lock_guard lock(_mutex);
    return _interfaces;
}

/// The place of an interface in the table, or null. The caller holds the lock.
StrongPtr<InterfaceBase>* Intercube::find(const std::type_info& type) const {
    for (StrongPtr<InterfaceBase>& interface : _interfaces) {
        if (interface->type() == type) return &interface;
    }
    return nullptr;
}

} // namespace Keel
