#pragma once
// What an object keeps for each value pool; stands on ValuePool.

#include <sorrel/ValuePool.hpp>

#include <keel/WeakPtr.hpp>

#include <mutex>
#include <utility>
#include <vector>

namespace Mirk {

/// Gives an object one State for each pool in which it is used, and the mutex under which it is
/// drawn and updated.
class SORREL_EXPORT VStateCreatorBase {
public:
    /// What an object keeps for one pool; users add interfaces to it or derive from it.
    class SORREL_EXPORT State : public Keel::ReferenceBase<State>, public Keel::Intercube {
    public:
        State();
        ~State() override;
    };

    VStateCreatorBase();
    VStateCreatorBase(const VStateCreatorBase&) = delete;
    VStateCreatorBase& operator=(const VStateCreatorBase&) = delete;
    virtual ~VStateCreatorBase();

    /// The state for a pool, made by newState() at the first call. Null for a dead pool, or if
    /// newState() gives null. May be called from any thread, also with `mutex` held.
    Keel::StrongPtr<State> myState(const Keel::WeakPtr<ValuePool>& pool) const;
    /// Makes a state. Called without any lock, on several threads at once at worst: then one of the
    /// results is dropped.
    virtual Keel::StrongPtr<State> newState() const;

    /// Held while the object is drawn or updated. Plain, not recursive.
    mutable std::mutex mutex;

private:
    Keel::StrongPtr<State> findState(const Keel::WeakPtr<ValuePool>& pool) const;

    using Table = std::vector<std::pair<Keel::WeakPtr<ValuePool>, Keel::StrongPtr<State>>>;

    mutable std::mutex _tableMutex; // leaf
    mutable Table _states;
};

/// A base of objects that can be saved; see GraphFile.
class SORREL_EXPORT VSaveable {
public:
    virtual ~VSaveable();
};

/// Marks classes whose values may be cached.
class SORREL_EXPORT ValueCacheable {
public:
    virtual ~ValueCacheable();
};

} // namespace Mirk
