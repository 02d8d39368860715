#include <keel/Creature.hpp>

#include <keel/Cache.hpp>

namespace Keel {

Creature::Creature(const WeakPtr<Cache, CacheBase>& cache) : _cache(cache) {}

Creature::~Creature() = default;

void Creature::discardCreation() {
    forget();
}

void Creature::enableCaching(bool pinned) const {
    if (const StrongPtr<Cacheable> object = get()) object->pin(pinned);
}

void Creature::firstReference() {
    const WeakPtr<Creature> self(*this);
    if (const StrongPtr<Cacheable> object = get(); object && object->creator() == self) {
        object->setCreator(self);
    }
    enableCaching(false);
}

// The standard's default: no bucket but one, and a load factor of 1.
NamedCreatures::NamedCreatures() = default;

NamedCreatures::~NamedCreatures() = default;

} // namespace Keel
