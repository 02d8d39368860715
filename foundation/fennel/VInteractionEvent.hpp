#pragma once
// What a pointer did in a viewer; stands on keel's pointers and sorrel's value traits.

#include <fennel/fwd.hpp>

#include <keel/StrongPtr.hpp>
#include <sorrel/valueTraits.hpp>

#include <string>

namespace Mirk {

/// One event of a pointer.
class FENNEL_EXPORT VInteractionEvent {
public:
    /// The bits of `flags`.
    enum Flag : unsigned long long {
        Press = 1,
        /// The pointer moves, or rests, and nothing is pressed: the neutral event.
        Hover = 2,
        Release = 4,
        /// It moves while something is pressed.
        Drag = 8,
        Wheel = 16
    };

    /// Owns the pointer from a press to the release: all events between carry the same one.
    class FENNEL_EXPORT InteractionGrabber : public Keel::ReferenceBase<InteractionGrabber> {
    public:
        explicit InteractionGrabber(const std::string& grabberName);
        ~InteractionGrabber() override;

        const std::string name;
    };

    /// A hover without a grabber.
    VInteractionEvent();
    VInteractionEvent(unsigned long long eventFlags,
                      const Keel::StrongPtr<InteractionGrabber>& eventGrabber);
    VInteractionEvent(const VInteractionEvent&);
    VInteractionEvent(VInteractionEvent&&) noexcept;
    VInteractionEvent& operator=(const VInteractionEvent&);
    VInteractionEvent& operator=(VInteractionEvent&&) noexcept;
    ~VInteractionEvent();

    /// All fields are the same, numbers by bits, and the grabber is the same object.
    bool operator==(const VInteractionEvent& other) const;

    unsigned long long flags = Hover;
    /// May be null.
    Keel::StrongPtr<InteractionGrabber> grabber;
    /// Place in the viewer, from 0 at the left and bottom to 1 at the right and top.
    double x = 0.0;
    double y = 0.0;
    /// The same in pixels, from the lower left one.
    int pixelX = 0;
    int pixelY = 0;
    /// Bits of the buttons that are down: 1 left, 2 middle, 4 right, and so on.
    unsigned buttons = 0;
    /// Bits of the keys that are down: 1 shift, 2 control, 4 alt, 8 meta.
    unsigned modifiers = 0;
    /// Notches of the wheel; positive away from the user.
    double wheel = 0.0;
    /// Seconds, from a start that only the device knows.
    double time = 0.0;
};

/// `flags 2 grabber "…" position 0 0 pixel 0 0 buttons 0 modifiers 0 wheel 0 time 0`, the grabber
/// only if there is one. Reads the fields in any order, but one must be there; what is left out, is
/// as in VInteractionEvent(). Reading the name of the grabber that is there keeps it; another name
/// makes a new one.
template<>
struct FENNEL_EXPORT VValueTrait<VInteractionEvent> {
    static std::string Text(const VInteractionEvent& value);
    static bool setValueFromText(VInteractionEvent& value, const std::string& text);
};
template<>
struct FENNEL_EXPORT VValueCompareTrait<VInteractionEvent> {
    static bool isDifferent(const VInteractionEvent& a, const VInteractionEvent& b) {
        return !(a == b);
    }
};

} // namespace Mirk
