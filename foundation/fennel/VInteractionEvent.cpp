#include <fennel/VInteractionEvent.hpp>

#include <fennel/recordText.hpp>

#include <utility>

namespace Mirk {

namespace {

using Place = Skua::FixedArray<double, 2>;
using Pixel = Skua::FixedArray<int, 2>;
using Numbers = Skua::FixedArray<double, 4>;

} // namespace

VInteractionEvent::InteractionGrabber::InteractionGrabber(const std::string& grabberName)
    : name(grabberName) {}
VInteractionEvent::InteractionGrabber::~InteractionGrabber() = default;

VInteractionEvent::VInteractionEvent() = default;
VInteractionEvent::VInteractionEvent(unsigned long long eventFlags,
                                     const Keel::StrongPtr<InteractionGrabber>& eventGrabber)
    : flags(eventFlags), grabber(eventGrabber) {}
VInteractionEvent::VInteractionEvent(const VInteractionEvent&) = default;
VInteractionEvent::VInteractionEvent(VInteractionEvent&&) noexcept = default;
VInteractionEvent& VInteractionEvent::operator=(const VInteractionEvent&) = default;
VInteractionEvent& VInteractionEvent::operator=(VInteractionEvent&&) noexcept = default;
VInteractionEvent::~VInteractionEvent() = default;

bool VInteractionEvent::operator==(const VInteractionEvent& other) const {
    return flags == other.flags && grabber == other.grabber && pixelX == other.pixelX &&
           pixelY == other.pixelY && buttons == other.buttons && modifiers == other.modifiers &&
           !VValueCompareTrait<Numbers>::isDifferent({x, y, wheel, time},
                                                     {other.x, other.y, other.wheel, other.time});
}

std::string VValueTrait<VInteractionEvent>::Text(const VInteractionEvent& value) {
    std::string text = "flags " + numberText(value.flags);
    if (value.grabber) text += " grabber " + quoted(value.grabber->name);
    return text + " position " + numberText(value.x) + ' ' + numberText(value.y) + " pixel " +
           numberText(value.pixelX) + ' ' + numberText(value.pixelY) + " buttons " +
           numberText(value.buttons) + " modifiers " + numberText(value.modifiers) + " wheel " +
           numberText(value.wheel) + " time " + numberText(value.time);
}

bool VValueTrait<VInteractionEvent>::setValueFromText(VInteractionEvent& value,
                                                      const std::string& text) {
    VInteractionEvent read;
    Place place{};
    Pixel pixel{};
    const TextField grabber{"grabber", 1, [&](std::span<const TextWord> words) {
                                const std::string& name = words.front().text;
                                const bool same = value.grabber && value.grabber->name == name;
                                read.grabber =
                                    same ? value.grabber
                                         : Keel::StrongPtr<VInteractionEvent::InteractionGrabber>(
                                               new VInteractionEvent::InteractionGrabber(name));
                                return true;
                            }};
    const bool readable =
        readFields(text, {textField("flags", read.flags), grabber, textField("position", place),
                          textField("pixel", pixel), textField("buttons", read.buttons),
                          textField("modifiers", read.modifiers), textField("wheel", read.wheel),
                          textField("time", read.time)});
    if (!readable) return false;
    read.x = place[0];
    read.y = place[1];
    read.pixelX = pixel[0];
    read.pixelY = pixel[1];
    value = std::move(read);
    return true;
}

} // namespace Mirk
