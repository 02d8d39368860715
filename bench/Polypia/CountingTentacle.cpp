#include "CountingTentacle.hpp"

CountingTentacle::CountingTentacle(int key, int& active) : Tentacle(key, ~0UL), _active(active) {}

bool CountingTentacle::activate(const Mirk::Polyp&) {
    ++_active;
    return true;
}

bool CountingTentacle::deactivate(const Mirk::Polyp&) {
    --_active;
    return true;
}
