#pragma once
// Owners of cached objects; stands on interfaces, ages and Cacheable.

#include <keel/Ageable.hpp>
#include <keel/Cacheable.hpp>
#include <keel/Interface.hpp>

#include <string>
#include <type_traits>
#include <unordered_map>

namespace Keel {

/// The owner of a cached object: it can give the object up when the cache asks for it. Its age is
/// Ooooold until somebody stamps it.
class KEEL_EXPORT Creature : public ReferenceBase<Creature>, public Intercube, public Ageable {
public:
    /// Without cache, or when the cache has died, the object is accounted for nowhere.
    explicit Creature(const WeakPtr<Cache, CacheBase>& cache);
    ~Creature() override;

    // The order of the virtual operations is part of the interface.

    /// Gives up the object if the owner allows it. Returns whether something was given up. Called
    /// by the cache on any thread, without lock. Must not throw, as a failure would reach whoever
    /// needed the room.
    virtual bool forget() = 0;
    /// The object, or an empty pointer.
    virtual StrongPtr<Cacheable> get() const = 0;
    virtual bool hasData() const = 0;

    const WeakPtr<Cache, CacheBase>& cache() const noexcept { return _cache; }
    /// Gives up the object at the wish of its user.
    void discardCreation();
    /// True pins the present object of this owner, so that the cache leaves it alone; false makes
    /// it subject to eviction again, which is how objects start. Counts as a use of the object.
    /// Called with false at the first strong pointer to the owner, when an object that it has from
    /// the start is enrolled, and to be called so by a creator that has stored a new object.
    void enableCaching(bool pinned) const;

    void firstReference();

private:
    const WeakPtr<Cache, CacheBase> _cache;
};

/// Owners by name, such as those of the parts of an object, hung on the owner of the whole.
class KEEL_EXPORT NamedCreatures {
public:
    using Table = std::unordered_map<std::string, StrongPtr<Creature>>;

    NamedCreatures();
    virtual ~NamedCreatures();

    Table& namedCreatures() noexcept { return _creatures; }
    const Table& namedCreatures() const noexcept { return _creatures; }

private:
    Table _creatures;
};

static_assert(std::is_same_v<RootOf_t<Creature>, Creature::ReferenceRoot>);

} // namespace Keel
