#include <Displays/slotHelp.hpp>

#include <Polypia/RenderAble.hpp>
#include <fennel/StatusIndicator.hpp>
#include <sorrel/VValue.hpp>
#include <sorrel/Vprintf.hpp>

#include <array>
#include <string>
#include <utility>

namespace Mirk {

void helpWithCommonSlots(const VObject& object) {
    const std::array<std::pair<const char*, const char*>, 10> texts{{
        {RenderAble::VisibilitySlotName(), "Whether the object is drawn, or a light shines."},
        {"chart", "The chart that the object's data belong to."},
        {"transform", "What moves or bends the object ahead of drawing it."},
        {StatusIndicator::Slotname, "What the object has to say of its data."},
        {"RenderStatus", "Why the object could not be drawn; empty while it can."},
        {"renderable", "The object itself, for the scenes that draw it."},
        {Zelk::rendertime_contribution, "The object's share of the time of a frame."},
        {"rendertime", "How long the object took in the last frame, in seconds."},
        {"viewpoints", "Cameras from which the object is seen well, by their names."},
        {"BoundingBox", "The box around the object's data."},
    }};
    for (const auto& [name, text] : texts) {
        for (const VSlotPtr& slot : {object.findInput(name), object.findOutput(name)}) {
            if (!slot) continue;
            slot->parameter()->setProperty("help",
                                           VValuePtr(new VValue<std::string>(std::string(text))));
        }
    }
}

} // namespace Mirk
