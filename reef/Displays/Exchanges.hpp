#pragma once
// How display objects share the way to the GPU and its cache; stands on PolypCreator.

#include <Polypia/PolypCreator.hpp>
#include <Polypia/Seagrass.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

namespace Mirk {

/// Counts the frames of objects that are drawn, from 0: an object that is drawn again is in another
/// one, and so is one that finds more of the allowance than the last one. Where several viewers
/// draw in turn these are more than there are.
class DrawnFrames {
public:
    /// To be told of each drawing ahead of it, with a number of that object, 0 at first, and the
    /// bytes of the allowance that it finds. Whether a frame begins.
    bool note(std::uint64_t& frameOfObject, std::int64_t allowance);
    std::uint64_t present() const { return _present; }

private:
    std::uint64_t _present = 0;
    std::int64_t _lastAllowance = 0;
};

/// Whose turn it is among the display objects of one pool in one context. Where a frame's
/// allowance isn't enough for all, those that are drawn first would always have it: those in the
/// greatest need begin. For the render thread.
class Turns {
public:
    static constexpr int mostFramesHeldUp = 3;

    /// Those of the context's pool; the context keeps them.
    static std::shared_ptr<Turns> of(const VRenderContext& context);

    /// That one is drawn now, and finds so many bytes of the allowance. See DrawnFrames.
    void noteDrawing(const void* whose, std::int64_t allowance);
    /// Whether nobody has found more in this frame and the last one: who is refused with that has
    /// to wait for a greater one, and not for its turn.
    bool isMost(std::int64_t allowance) const {
        return allowance >= std::max(_greatestAllowance, _greatestOfLast);
    }

    /// That one waits for so many bytes, in whatever measure of need.
    void noteNeed(const void* whose, double need, std::size_t bytes);
    /// That nothing of it went up though it was its turn. It may take more than is known ahead:
    /// until something of it does, those in less need leave all of the allowance to it.
    void noteRefusal(const void* whose, double need);
    /// That one takes so many bytes soon, and waits for nothing yet.
    void noteSoon(std::size_t bytes) { _soon += static_cast<double>(bytes); }
    /// Whether somebody waited in the last frames, or the allowance wasn't enough for what all take
    /// soon.
    bool isShort() const { return _isShort; }
    /// Whether the allowance is enough for one who needs these bytes and for those who waited in
    /// the last frame in greater need, and haven't been drawn yet in this one. Those who weren't
    /// drawn count in some more frames, as these may be drawings of a part of all, such as picks,
    /// in which the others don't wait; they may be gone as well, and hold up others in
    /// `mostFramesHeldUp` more of them at most, be they one or many. Not
    /// behind one in greater need who was refused in this frame: a viewer that sees all of them
    /// wait may allow more.
    bool isTurn(double need, std::size_t bytes, std::int64_t allowance);

private:
    struct Need {
        const void* whose;
        double need;
        std::int64_t bytes;
        int framesKept = 0;   ///< in which it wasn't drawn
        int framesHeldUp = 0; ///< those in which others had to wait
    };

    void beginFrame();

    DrawnFrames _frames;
    std::unordered_map<const void*, std::uint64_t> _frameOf; // when each was drawn last
    std::int64_t _greatestAllowance = 0, _greatestOfLast = 0;
    double _soon = 0.0; // bytes
    bool _isShort = false;
    bool _hasHeldUp = false;  // somebody in this frame
    std::vector<Need> _needs; // of the last frames, the greatest first
    std::vector<Need> _needsOfNow;
};
using TurnsPtr = std::shared_ptr<Turns>;

/// What the display objects of one Seagrass have to know of each other when they exchange what they
/// draw: the polyps that they keep in the cache meanwhile. An object that isn't drawn any more, as
/// it is hidden, out of view or in no scene, can't give them free itself: the others do, once they
/// have been drawn a hundred times without it. For the render thread.
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

    /// See DrawnFrames.
    void noteDrawing(std::uint64_t& frame, std::int64_t allowance);
    /// Has the lease begin, or go on.
    void renew(const LeasePtr& lease);

private:
    DrawnFrames _frames;
    std::vector<std::weak_ptr<Lease>> _leases;
};

} // namespace Mirk
