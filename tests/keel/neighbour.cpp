#include "neighbour.hpp"

std::uint64_t serialOfNewShared() {
    return Keel::make<Shared>()->serialNumber();
}

Keel::Ageable::Age ageOfYoungest() {
    struct Thing : Keel::Ageable {
    } thing;
    return thing.rejuvenate();
}

bool findsSharedNote(const Keel::Intercube& cube) {
    return bool(cube.findInterface<SharedNote>());
}
