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
/// camera, those that are drawn first would always have it: those in the greatest need begin.
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

    /// To be told of each drawing ahead of it, with a number of that object, 0 at first, and the
    /// bytes of the allowance that it finds. An object that is drawn again is in another frame, and
    /// so is one that finds more than the last one, which is how frames are counted here. Where
    /// several viewers draw in turn these are more than there are, and leases end earlier.
    void noteDrawing(std::uint64_t& frame, std::int64_t allowance);
    /// The most that anybody has found in this frame: who is refused with that has to wait for a
    /// greater one, and not for its turn.
    std::int64_t greatestAllowance() const { return _greatestAllowance; }
    /// Has the lease begin, or go on.
    void renew(const LeasePtr& lease);

    /// That one waits for so many bytes, in whatever measure of need above 0.
    void noteNeed(const void* whose, double need, std::size_t bytes);
    /// That it is drawn now, or waits no more.
    void endNeed(const void* whose);
    /// Whether somebody waited at the end of the last frame.
    bool isShort() const { return _isShort; }
    /// Whether the allowance is enough for one who needs these bytes and for those who waited in
    /// the last frame in greater need, and haven't been drawn yet in this one.
    bool isTurn(double need, std::size_t bytes, std::int64_t allowance) const;

private:
    struct Need {
        const void* whose;
        double need;
        std::size_t bytes;
    };

    void beginFrame();

    std::uint64_t _frame = 0;
    std::int64_t _greatestAllowance = 0;
    std::int64_t _lastAllowance = 0;
    std::vector<std::weak_ptr<Lease>> _leases;
    bool _isShort = false;
    std::vector<Need> _needs; // of the last frame, the greatest first
    std::vector<Need> _needsOfNow;
};

} // namespace Mirk
