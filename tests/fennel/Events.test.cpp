#include <fennel/VInteractionEvent.hpp>
#include <fennel/VMultiPointerDevice.hpp>

#include "valueText.hpp"

#include <limits>

namespace {

using Mirk::VInteractionEvent;
using Mirk::VMultiPointerDevice;
using Grabber = Keel::StrongPtr<VInteractionEvent::InteractionGrabber>;
using Pointer = VMultiPointerDevice::Pointer;
using Phase = VMultiPointerDevice::Phase;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

Grabber newGrabber(const std::string& name) {
    return Grabber(new VInteractionEvent::InteractionGrabber(name));
}

VInteractionEvent drag() {
    VInteractionEvent event(VInteractionEvent::Drag, newGrabber("Mouse::MetaViewer"));
    event.x = 0.25;
    event.y = -0.0;
    event.pixelX = 160;
    event.pixelY = -1;
    event.buttons = 5;
    event.modifiers = 2;
    event.wheel = -1.5;
    event.time = 1e9;
    return event;
}

TEST(VInteractionEvent, HasTheFlagsThatDevicesUse) {
    EXPECT_EQ(1ull, VInteractionEvent::Press);
    EXPECT_EQ(2ull, VInteractionEvent::Hover);
    EXPECT_EQ(4ull, VInteractionEvent::Release);
    EXPECT_EQ(8ull, VInteractionEvent::Drag);
    EXPECT_EQ(16ull, VInteractionEvent::Wheel);
}

TEST(VInteractionEvent, KeepsFlagsAndGrabber) {
    const Grabber grabber = newGrabber("Mouse::MetaViewer");
    const VInteractionEvent event(2, grabber);
    EXPECT_EQ(2ull, event.flags);
    EXPECT_TRUE(event.grabber == grabber);
    EXPECT_EQ("Mouse::MetaViewer", event.grabber->name);
}

TEST(VInteractionEvent, HoversByDefault) {
    EXPECT_EQ(2ull, VInteractionEvent().flags);
    EXPECT_FALSE(VInteractionEvent().grabber);
}

TEST(VInteractionEvent, IsEqualIfAllFieldsAreAndTheGrabberIsTheSame) {
    const VInteractionEvent event = drag();
    EXPECT_TRUE(event == VInteractionEvent(event));
    EXPECT_FALSE(differs(event, VInteractionEvent(event)));
    const auto expectChange = [&](auto change) {
        VInteractionEvent other(event);
        change(other);
        EXPECT_FALSE(event == other);
        EXPECT_TRUE(differs(event, other));
    };
    expectChange([](VInteractionEvent& other) { other.flags = VInteractionEvent::Press; });
    expectChange([](VInteractionEvent& other) { other.grabber = newGrabber("Mouse::MetaViewer"); });
    expectChange([](VInteractionEvent& other) { other.grabber = Grabber(); });
    expectChange([](VInteractionEvent& other) { other.x = 0.5; });
    expectChange([](VInteractionEvent& other) { other.y = 0.0; });
    expectChange([](VInteractionEvent& other) { other.pixelX = 0; });
    expectChange([](VInteractionEvent& other) { other.pixelY = 0; });
    expectChange([](VInteractionEvent& other) { other.buttons = 0; });
    expectChange([](VInteractionEvent& other) { other.modifiers = 0; });
    expectChange([](VInteractionEvent& other) { other.wheel = 0.0; });
    expectChange([](VInteractionEvent& other) { other.time = NaN; });
}

TEST(VInteractionEvent, TextNamesItsFields) {
    EXPECT_EQ("flags 2 position 0 0 pixel 0 0 buttons 0 modifiers 0 wheel 0 time 0",
              textOf(VInteractionEvent()));
    EXPECT_EQ("flags 8 grabber \"Mouse::MetaViewer\" position 0.25 -0 pixel 160 -1 buttons 5 "
              "modifiers 2 wheel -1.5 time 1e+09",
              textOf(drag()));
}

TEST(VInteractionEvent, TextIsReadBackAndKeepsTheGrabberOfThatName) {
    const VInteractionEvent event = drag();
    VInteractionEvent target(VInteractionEvent::Press, event.grabber);
    ASSERT_TRUE(read(target, textOf(event)));
    EXPECT_TRUE(event == target);

    const auto fresh = readFrom<VInteractionEvent>(textOf(event));
    EXPECT_EQ(textOf(event), textOf(fresh));
    EXPECT_FALSE(fresh.grabber == event.grabber);
}

TEST(VInteractionEvent, WhatIsLeftOutIsAsInANewEvent) {
    VInteractionEvent event = drag();
    ASSERT_TRUE(read(event, "flags 1 position 0.5 0.75"));
    VInteractionEvent expected(1, Grabber());
    expected.x = 0.5;
    expected.y = 0.75;
    EXPECT_TRUE(expected == event);
}

TEST(VInteractionEvent, RefusesWhatItCanNotReadAndStaysAsItWas) {
    for (const char* const text :
         {"", "2", "flags", "flags -1", "flags 18446744073709551616", "flags press", "position 1",
          "pixel 0.5 1", "grabber", "grabber \"a", "flags 1 grabber a grabber b", "buttons 1 2",
          "grabber a, flags x"}) {
        expectUnreadable(drag(), text);
    }
}

TEST(VMultiPointerDevice, HasNoPointersAtFirst) {
    EXPECT_TRUE(VMultiPointerDevice().pointers.empty());
    EXPECT_TRUE(VMultiPointerDevice() == VMultiPointerDevice());
    EXPECT_EQ("none", textOf(VMultiPointerDevice()));
}

TEST(VMultiPointerDevice, IsEqualIfAllPointersAre) {
    VMultiPointerDevice device;
    device.pointers = {{1, 0.5, 0.25, 1.0, Phase::Began}, {2, NaN, -0.0, 0.5, Phase::Ended}};
    EXPECT_FALSE(differs(device, VMultiPointerDevice(device)));
    const auto expectChange = [&](auto change) {
        VMultiPointerDevice other(device);
        change(other);
        EXPECT_FALSE(device == other);
        EXPECT_TRUE(differs(device, other));
    };
    expectChange([](VMultiPointerDevice& other) { other.pointers.pop_back(); });
    expectChange([](VMultiPointerDevice& other) { other.pointers[0].id = 7; });
    expectChange([](VMultiPointerDevice& other) { other.pointers[1].x = 0.0; });
    expectChange([](VMultiPointerDevice& other) { other.pointers[1].y = 0.0; });
    expectChange([](VMultiPointerDevice& other) { other.pointers[0].pressure = 0.0; });
    expectChange([](VMultiPointerDevice& other) { other.pointers[0].phase = Phase::Moved; });
    expectChange(
        [](VMultiPointerDevice& other) { std::swap(other.pointers[0], other.pointers[1]); });
}

TEST(VMultiPointerDevice, TextIsReadBack) {
    VMultiPointerDevice device;
    device.pointers = {{1, 0.5, 0.25, 1.0, Phase::Began},
                       {INT64_MIN, NaN, -0.0, 0.1, Phase::Cancelled},
                       {3, 0.0, 0.0, 0.0, Phase::Moved},
                       {4, 0.0, 0.0, 0.0, Phase::Stationary},
                       {5, 0.0, 0.0, 0.0, Phase::Ended}};
    EXPECT_TRUE(textOf(device).starts_with("1 at 0.5 0.25 pressure 1 began, -9223372036854775808 "
                                           "at nan -0 pressure 0.1 cancelled, 3 at"));
    expectSameBack(device);
    VMultiPointerDevice none;
    none.pointers = device.pointers;
    ASSERT_TRUE(read(none, " none "));
    EXPECT_TRUE(none.pointers.empty());
}

TEST(VMultiPointerDevice, RefusesWhatItCanNotReadAndStaysAsItWas) {
    VMultiPointerDevice device;
    device.pointers = {{1, 0.5, -0.0, 1.0, Phase::Began}};
    for (const char* const text :
         {"", "1", "none none", "1 at 0.5 0.25 pressure 1", "1 at 0.5 0.25 pressure 1 gone",
          "1 by 0.5 0.25 pressure 1 began", "1 at 0.5 0.25 pressed 1 began",
          "1.5 at 0.5 0.25 pressure 1 began", "1 at x 0.25 pressure 1 began",
          "1 at 0.5 0.25 pressure 1 began none", "1 at 0.5 0.25 pressure 1 began,",
          "1 at 0.5 0.25 pressure 1 began, 2 at 0 0 pressure x began"}) {
        expectUnreadable(device, text);
    }
}

} // namespace
