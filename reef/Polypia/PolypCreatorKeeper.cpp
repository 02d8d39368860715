#include <Polypia/PolypCreatorKeeper.hpp>

#include <iterator>
#include <mutex>

namespace Mirk {

PolypCreatorKeeper::PolypCreatorKeeper() = default;

PolypCreatorKeeper::~PolypCreatorKeeper() = default;

PolypCreatorKeeper::CreatorPtr PolypCreatorKeeper::DefaultFactory(const Seagrass& seagrass) {
    return CreatorPtr(new PolypCreator<DefaultPolypInitializer>(seagrass, {}));
}

PolypCreatorKeeper::CreatorPtr PolypCreatorKeeper::operator()(const Seagrass& seagrass,
                                                              const Factory& factory) {
    // Dies behind the lock: the destructors of creators are foreign code.
    Creators dead;
    const std::lock_guard exclusive(lock);
    takeDead(dead);
    CreatorPtr& creator = creators[Keel::WeakPtr<Seagrass>(seagrass)];
    if (!creator) creator = factory(seagrass);
    return creator;
}

/// Moves the entries of caches that have gone. The caller holds the lock.
void PolypCreatorKeeper::takeDead(Creators& dead) {
    // Asked ahead of the sweep: an end in the middle of it is for the next one.
    const std::uint64_t ends = Seagrass::numberOfEnds();
    if (ends == _endsSeen) return;
    _endsSeen = ends;
    for (auto entry = creators.begin(); entry != creators.end();) {
        const auto next = std::next(entry);
        if (!entry->first) dead.insert(creators.extract(entry));
        entry = next;
    }
}

} // namespace Mirk
