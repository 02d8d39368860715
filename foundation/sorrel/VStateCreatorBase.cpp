#include <sorrel/VStateCreatorBase.hpp>

#include <algorithm>
#include <iterator>

namespace Mirk {

VStateCreatorBase::State::State() = default;
VStateCreatorBase::State::~State() = default;
VStateCreatorBase::VStateCreatorBase() = default;
VStateCreatorBase::~VStateCreatorBase() = default;
VSaveable::~VSaveable() = default;
ValueCacheable::~ValueCacheable() = default;

Keel::StrongPtr<VStateCreatorBase::State> VStateCreatorBase::newState() const {
    return Keel::StrongPtr<State>(new State);
}

Keel::StrongPtr<VStateCreatorBase::State>
VStateCreatorBase::findState(const Keel::WeakPtr<ValuePool>& pool) const {
    const auto found = std::find_if(_states.begin(), _states.end(),
                                    [&](const auto& entry) { return entry.first == pool; });
    return found != _states.end() ? found->second : Keel::StrongPtr<State>();
}

Keel::StrongPtr<VStateCreatorBase::State>
VStateCreatorBase::myState(const Keel::WeakPtr<ValuePool>& pool) const {
    if (!pool) return {};
    {
        const std::lock_guard lock(_tableMutex);
        if (Keel::StrongPtr<State> state = findState(pool)) return state;
    }
    const Keel::StrongPtr<State> made = newState();
    if (!made) return {};
    // The states of dead pools die behind the lock.
    Table swept;
    const std::lock_guard lock(_tableMutex);
    if (Keel::StrongPtr<State> state = findState(pool)) return state;
    const auto firstDead = std::stable_partition(
        _states.begin(), _states.end(), [](const auto& entry) { return bool(entry.first); });
    swept.assign(std::make_move_iterator(firstDead), std::make_move_iterator(_states.end()));
    _states.erase(firstDead, _states.end());
    _states.emplace_back(pool, made);
    return made;
}

} // namespace Mirk
