#pragma once
// A tentacle that does next to nothing, but what it does is seen; stands on Polyp.

#include <Polypia/Polyp.hpp>

/// In a source of its own: where its operations can be seen, calls of them are not virtual.
class CountingTentacle : public Mirk::Polyp::Tentacle {
public:
    CountingTentacle(int key, int& active);

    bool activate(const Mirk::Polyp& polyp) override;
    bool deactivate(const Mirk::Polyp& polyp) override;

private:
    int& _active;
};
