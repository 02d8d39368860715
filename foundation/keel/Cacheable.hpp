#pragma once
// Objects that a cache accounts for; stands on the counted pointers.

#include <keel/WeakPtr.hpp>

#include <atomic>
#include <cstddef>
#include <mutex>
#include <string>
#include <type_traits>
#include <typeinfo>

namespace Keel {

/// An object that belongs to a creator and whose cost is accounted for by the creator's cache.
///
/// It is enrolled in the cache at its first strong pointer, or when it gets a creator after that,
/// but not before the creator's first strong pointer, and stays enrolled until it dies or is
/// evicted. It keeps its cache alive. An object without creator, or whose creator has no cache, is
/// in no cache.
class KEEL_EXPORT Cacheable : public ReferenceBase<Cacheable> {
public:
    Cacheable();
    explicit Cacheable(const WeakPtr<Creature>& creator);
    Cacheable(const Cacheable&) = delete;
    Cacheable& operator=(const Cacheable&) = delete;
    ~Cacheable() override;

    // The order of the virtual operations is part of the interface.

    /// Cost in bytes. By default 0.
    virtual std::size_t memsize() const;
    /// Deferred initialisation, at the first strong pointer, when virtual calls reach the derived
    /// class. By default does nothing.
    virtual void DeferredConstructor();
    /// What kind of object this is, for the book-keeping of the cache. By default its dynamic type.
    virtual const std::type_info& DomainType() const;
    /// What kind of creator made it. By default the creator's dynamic type, or typeid(void).
    virtual const std::type_info& CreatorType() const;

    std::string name() const;
    void setName(const std::string& name);

    /// Moves the object to the recent end of its queue. Any thread, without lock.
    void markAsUsed() const noexcept;
    /// Gives the object to another creator, or to none: then it stays accounted for, but evicting
    /// it asks nobody to forget it. Not for moving an object to a creator of another cache.
    void setCreator(const WeakPtr<Creature>& creator);
    WeakPtr<Creature> creator() const;
    /// A pinned object is never evicted. Objects start unpinned.
    void pin(bool pinned) const;
    /// Whether a cache accounts for the object at present.
    bool isEnrolled() const;

    /// Runs DeferredConstructor() and enrols the object; called at the first strong pointer.
    void CacheableDeferredConstructor();
    /// Takes the object out of its cache; called on the last strong release, ahead of the
    /// destructor.
    void PreDestructor();

    void firstReference() { CacheableDeferredConstructor(); }
    void lastReference() { PreDestructor(); }

protected:
    /// Tells the cache that the cost is now `bytes`; others may be evicted for it.
    void reportMemsize(std::size_t bytes);

private:
    void enrol();

    mutable std::mutex _mutex; // guards _name, _creator and enrolment; ahead of the cache's own
    std::string _name;
    WeakPtr<Creature> _creator;
    StrongPtr<Cache, CacheBase> _cache; // set once, before _entry
    std::atomic<CacheEntry*> _entry{nullptr};
};

/// An object whose cost changes while it lives. Any thread may report a size, one at a time for
/// one object.
class KEEL_EXPORT MutableCacheable : public Cacheable {
public:
    explicit MutableCacheable(const WeakPtr<Creature>& creator);
    ~MutableCacheable() override;

    /// The size that was recorded last; 0 at first.
    std::size_t memsize() const override;
    /// The size at this moment, in bytes.
    virtual std::size_t computeMemsize() const = 0;

    /// Records what computeMemsize() tells and reports it to the cache, which may evict others for
    /// it, but not this object.
    void adjustCurrentMemsize();
    /// Records a size ahead of time, such as that of the object which this one replaces, so that a
    /// budget can be asked before the memory is taken.
    void expectMemsize(std::size_t bytes);

private:
    std::atomic<std::size_t> _recordedBytes{0};
};

static_assert(std::is_same_v<RootOf_t<Cacheable>, Cacheable::ReferenceRoot>);
static_assert(std::is_same_v<RootOf_t<MutableCacheable>, MutableCacheable::ReferenceRoot>);

} // namespace Keel
