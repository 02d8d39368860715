#pragma once
// How display objects share the way to the GPU and its cache; stands on PolypCreator.

#include <Polypia/PolypCreator.hpp>
#include <Polypia/Seagrass.hpp>

#include <cstdint>
#include <memory>
#include <vector>

namespace Mirk {

/// What the display objects of one Seagrass have to know of each other when they exchange what they
/// draw. For the render thread.
///
/// One is the polyps that they keep in the cache meanwhile. An object that isn't drawn any more, as
/// it is hidden, out of view or in no scene, can't give them free itself: the others do, once they
/// have been drawn a hundred times without it.
///
/// The other is whose turn it is. Where a frame's allowance isn't enough for all who follow the
/// camera, those that are drawn first would always have it: the one in the greatest need begins.
class Exchanges : public Keel::Interface<Exchanges> {
public:
    static constexpr std::uint64_t patience = 100;

    /// The polyps of pieces that belong together. They may come and go.
    class Lease {
    public:
        explicit Lease(std::vector<Keel::WeakPtr<PolypCreatorBase>> creators);

        bool isKept() const { return _isKept; }
        void end();

    private:
        friend class Exchanges;
        void setKept(bool kept);

        const std::vector<Keel::WeakPtr<PolypCreatorBase>> _creators;
        bool _isKept = false;
        std::uint64_t _frame = 0; // in which it was renewed last
    };
    using LeasePtr = std::shared_ptr<Lease>;

    static Keel::StrongPtr<Exchanges, Keel::InterfaceBase> of(const Seagrass& seagrass);

    // Frames are those of the objects that are drawn, see noteDrawing().

    /// To be told of each drawing, with a number of that object, 0 at first: an object that is
    /// drawn again is in another frame, which is how frames are counted here. Where several viewers
    /// draw it in turn these are more than there are, and patience is less.
    void noteDrawing(std::uint64_t& frame);
    /// Has the lease begin, or go on.
    void renew(const LeasePtr& lease);
    /// How much one that hasn't what it needs is in need of it, in any measure above 0.
    void noteNeed(const void* whose, double need) { _needsOfNow.add(whose, need); }
    /// Whether nobody else was in greater need in the last frame.
    bool isGreatest(const void* whose, double need) const { return need >= _needs.ofOthers(whose); }

private:
    /// The greatest of a frame, and the greatest of all but the one whose that is.
    struct Needs {
        void add(const void* whoseNeed, double need);
        double ofOthers(const void* who) const { return who == whose ? second : greatest; }

        const void* whose = nullptr;
        double greatest = 0.0;
        double second = 0.0;
    };

    std::uint64_t _frame = 0;
    std::vector<std::weak_ptr<Lease>> _leases;
    Needs _needs; // of the last frame
    Needs _needsOfNow;
};

} // namespace Mirk
