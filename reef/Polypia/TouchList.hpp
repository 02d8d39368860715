#pragma once
// The objects under a rectangle of the screen, and what they do when touched; stands on chunks.

#include <Polypia/export.hpp>
#include <Polypia/fwd.hpp>

#include <keel/Chunk.hpp>
#include <keel/Interface.hpp>
#include <sorrel/VObject.hpp>

#include <cstdint>
#include <string>
#include <utility>

namespace Mirk {

/// What classes that hear of interaction have in common.
class POLYPIA_EXPORT InteractionReceiver {
public:
    InteractionReceiver();
    // The order of the virtual operations is part of the interface.

    /// For derived classes. Does nothing.
    virtual void interactionHook();
    virtual ~InteractionReceiver();
};

/// Mixed into a display object that wants to be told when it is picked. It is no object of its own:
/// it is found from the display object by dynamic_cast.
class POLYPIA_EXPORT Touchable : public InteractionReceiver {
public:
    Touchable();
    ~Touchable() override;

    /// The object was picked; `identification` is its number in the PickList. Returns whether it
    /// accepts that; here true. On the thread that calls TouchList::pickAction, once for each pixel
    /// that the object covers.
    virtual bool pickAction(unsigned int identification) const;

protected:
    // For derived classes; empty at first. The order is part of the interface.
    Keel::StrongPtr<Keel::InterfaceBase> firstTouchReference;
    std::string touchText;
    Keel::StrongPtr<Keel::InterfaceBase> secondTouchReference;
};

/// Which object is at a pixel: null if none is; and its number in the PickList, 0 if there is none.
using TouchedPixel = std::pair<Keel::StrongPtr<VObject, VManagedObjectBase>, unsigned int>;

/// What a pick has found, pixel by pixel. Keeps the objects alive.
///
/// Pixel (X, Y) stands at Y * Height + X. That a row is as long as the list is high is meant: all
/// who write and read a list agree on it. So make square ones. In a list that is wider than high
/// pixels share places, of which the one written last stays; in one that is higher than wide, the
/// pixels behind the end have no place.
class POLYPIA_EXPORT TouchList : public Keel::Chunk<TouchedPixel> {
public:
    /// Width times Height empty pixels. std::length_error if that is more than there can be, as
    /// with one negative number.
    TouchList(int listWidth, int listHeight);
    ~TouchList() override;

    /// A TouchList of the same size.
    Keel::StrongPtr<Keel::ChunkBase> clone() const override;

    /// A pixel without place is empty; what is written to it is lost.
    const TouchedPixel& operator()(int X, int Y) const;
    TouchedPixel& operator()(int X, int Y);
    /// Empty, whatever the argument.
    TouchedPixel operator()(double) const;
    /// Whether a pixel has a place in the list.
    bool contains(int X, int Y) const noexcept;

    /// Tells each object, pixel by pixel in the order of storage, that it was touched. Returns how
    /// often it was accepted. Objects that aren't Touchable are passed over. The argument has no
    /// meaning.
    int pickAction(int) const;

    const std::int32_t Width;
    const std::int32_t Height;

private:
    std::int64_t placeOf(int X, int Y) const noexcept;

    TouchedPixel _lost; // what operator() gives for a pixel without place
};

static_assert(std::is_same_v<Keel::RootOf_t<TouchList>, TouchList::ReferenceRoot>);

} // namespace Mirk
