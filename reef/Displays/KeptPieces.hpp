#pragma once
// What display objects keep from being evicted, and until when; stands on PolypCreator.

#include <Polypia/PolypCreator.hpp>
#include <Polypia/Seagrass.hpp>

#include <cstdint>
#include <memory>
#include <vector>

namespace Mirk {

/// The polyps that the display objects of one Seagrass keep in its cache, as they are of no use in
/// parts. An object that isn't drawn any more, as it is hidden, out of view or in no scene, can't
/// give them free itself: the others do, once they have been drawn a hundred times without it. For
/// the render thread.
class KeptPieces : public Keel::Interface<KeptPieces> {
public:
    static constexpr std::uint64_t patience = 100;

    /// The polyps of pieces that belong together. They may come and go.
    class Lease {
    public:
        explicit Lease(std::vector<Keel::WeakPtr<PolypCreatorBase>> creators);

        bool isKept() const { return _isKept; }
        void end();

    private:
        friend class KeptPieces;
        void setKept(bool kept);

        const std::vector<Keel::WeakPtr<PolypCreatorBase>> _creators;
        bool _isKept = false;
        std::uint64_t _frame = 0; // in which it was renewed last
    };
    using LeasePtr = std::shared_ptr<Lease>;

    static Keel::StrongPtr<KeptPieces, Keel::InterfaceBase> of(const Seagrass& seagrass);

    /// To be told of each drawing, with a number of that object, 0 at first: an object that is
    /// drawn again is in another frame, which is how frames are counted here. Where several viewers
    /// draw it in turn these are more than there are, and patience is less.
    void noteDrawing(std::uint64_t& frame);
    /// Has the lease begin, or go on.
    void renew(const LeasePtr& lease);

private:
    std::uint64_t _frame = 0;
    std::vector<std::weak_ptr<Lease>> _leases;
};

} // namespace Mirk
