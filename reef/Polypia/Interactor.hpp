#pragma once
// The sign that interaction is going on; stands on the counted pointers.

#include <Polypia/export.hpp>
#include <Polypia/fwd.hpp>

#include <keel/ReferenceBase.hpp>

#include <cstdint>

namespace Mirk {

/// Held by whoever interacts with a viewer. The render contexts refer to it weakly: as long as it
/// lives, interaction is going on.
class POLYPIA_EXPORT Interactor : public Keel::ReferenceBase<Interactor> {
public:
    Interactor();
    ~Interactor() override;

    /// For the use of the viewer, 0 at first.
    std::uint64_t state = 0;
};

} // namespace Mirk
