#include "linux/evdev/ContactDecoder.h"
#include "linux/evdev/Touchpad.h"

#include <gtest/gtest.h>
#include <libevdev/libevdev.h>

#include <climits>
#include <cmath>
#include <map>
#include <random>
#include <sstream>
#include <string>

namespace kasto::evdev {
namespace {

using Outcome = ContactDecoder::Outcome;

constexpr TouchpadShape kPad{.x = {100, 1100}, .y = {-50, 950}, .slots = 5, .pressureTellsTouch = true};

const std::map<std::string, std::pair<int, int>> kEvents{
    {"slot", {EV_ABS, ABS_MT_SLOT}},       {"id", {EV_ABS, ABS_MT_TRACKING_ID}},
    {"x", {EV_ABS, ABS_MT_POSITION_X}},    {"y", {EV_ABS, ABS_MT_POSITION_Y}},
    {"force", {EV_ABS, ABS_MT_PRESSURE}},  {"tool", {EV_ABS, ABS_MT_TOOL_TYPE}},
    {"two", {EV_KEY, BTN_TOOL_DOUBLETAP}}, {"three", {EV_KEY, BTN_TOOL_TRIPLETAP}},
    {"|", {EV_SYN, SYN_REPORT}},           {"contact", {EV_SYN, SYN_MT_REPORT}},
    {"dropped", {EV_SYN, SYN_DROPPED}},    {"distance", {EV_ABS, ABS_MT_DISTANCE}},
    {"five", {EV_KEY, BTN_TOOL_QUINTTAP}}};

// The frames that a stream of events such as "x=5 |" makes, one after the other, with each contact written as
// "state@x,y" in hundredths of the pad. A "!" is where the state was lost.
std::string framesOf(ContactDecoder& decoder, const std::string& events) {
    std::string text;
    std::istringstream words(events);
    for (std::string word; words >> word;) {
        const auto [type, code] = kEvents.at(word.substr(0, word.find('=')));
        input_event event{};
        event.type = static_cast<std::uint16_t>(type);
        event.code = static_cast<std::uint16_t>(code);
        event.value = word.contains('=') ? std::stoi(word.substr(word.find('=') + 1)) : 0;
        const auto outcome = decoder.take(event);
        if (outcome == Outcome::pending) continue;
        text += outcome == Outcome::frame ? "[" : "!";
        if (outcome == Outcome::stateLost) continue;
        for (const auto& contact : decoder.contacts())
            text += std::to_string(static_cast<int>(contact.state)) + "@" +
                    std::to_string(std::lround(contact.x * 100)) + "," +
                    std::to_string(std::lround(contact.y * 100)) + " ";
        text += "]";
    }
    return text;
}

TEST(ContactDecoderTest, TurnsEventsIntoFrames) {
    auto twoSlots = kPad, listing = kPad, flat = kPad, huge = kPad;
    twoSlots.slots = 2;
    listing.slots = 0;
    flat.x = {7, 7};
    huge.x = {INT_MIN, INT_MAX};
    const std::tuple<TouchpadShape, const char*, const char*> rows[] = {
        // A finger comes, moves and goes; y is upwards.
        {kPad, "slot=0 id=1 x=600 y=-50 force=40 | x=1100 | id=-1 | | |",
         "[3@50,100 ][4@100,100 ][5@100,100 ][]"},
        // The kernel does not send a position again that has not changed.
        {kPad, "id=1 x=600 y=450 force=40 | id=-1 | id=2 | id=3 |",
         "[3@50,50 ][5@50,50 ][3@50,50 ][3@50,50 ]"},
        // Hovering and palms do not touch (a tool of 2 is a palm).
        {kPad, "id=1 x=100 y=950 force=0 slot=1 id=2 x=1100 y=950 force=40 tool=2 | slot=0 force=40 |",
         "[2@0,0 2@100,0 ][3@0,0 2@100,0 ]"},
        // Out of range.
        {kPad, "id=1 x=2147483647 y=-2147483648 force=40 slot=99 id=3 x=1 slot=-1 id=4 |", "[3@100,100 ]"},
        // One tracking id twice.
        {kPad, "id=7 force=40 slot=1 id=7 force=40 |", "[3@0,95 3@0,95 ]"},
        // Axes without range, and with the widest there is.
        {flat, "id=1 x=9 force=40 |", "[3@50,95 ]"},
        {huge, "id=1 x=0 force=40 |", "[3@50,95 ]"},
        // More fingers than slots.
        {twoSlots, "id=1 x=100 y=450 force=40 slot=1 id=2 x=1100 y=450 force=40 three=1 | three=0 two=1 |",
         "[3@0,50 3@100,50 4@50,50 ][4@0,50 4@100,50 ]"},
        // A pad that lists its contacts.
        {listing,
         "x=100 y=450 force=40 contact x=600 y=450 force=40 contact | x=600 y=450 force=40 contact | contact "
         "| |",
         "[3@0,50 3@50,50 ][4@50,50 ][]"},
        // The kernel dropped events: nothing counts until the next frame.
        {kPad, "id=1 force=40 | dropped id=-1 x=5 | x=1100 |", "[3@0,95 ]![4@100,95 ]"},
    };
    for (const auto& [shape, events, frames] : rows) {
        ContactDecoder decoder(shape);
        EXPECT_EQ(framesOf(decoder, events), frames) << events;
    }
}

TEST(ContactDecoderTest, RestoresWhatTheKernelKnowsAndRepeatsRestingFingers) {
    ContactDecoder decoder(kPad);
    framesOf(decoder, "id=1 x=100 y=450 force=9 slot=1 id=2 force=9 | dropped |");
    const Slot slots[] = {
        {.trackingId = 1, .x = 600, .y = 450, .pressure = 9}, {}, {.trackingId = 8, .pressure = 9}};
    decoder.restore(slots, 2, 2);
    using enum Contact::State;
    std::vector<Contact::State> states;
    for (const auto& contact : decoder.contacts()) states.push_back(contact.state);
    EXPECT_EQ(states, (std::vector{touching, breakingTouch, makingTouch}));
    decoder.repeat();
    ASSERT_EQ(decoder.contacts().size(), 2u);
    EXPECT_EQ(decoder.contacts()[1].state, touching);
    EXPECT_TRUE(decoder.hasFingers());
    EXPECT_EQ(framesOf(decoder, "id=-1 | slot=0 id=-1 |"), "[4@50,50 5@0,95 ][5@50,50 ]");
    EXPECT_FALSE(decoder.hasFingers());
}

TEST(ContactDecoderTest, SurvivesAnyEvents) {
    std::mt19937 random(20261123);
    int frames = 0;
    for (int round = 0; round < 60; ++round) {
        auto range = [&] { return AxisRange{static_cast<int>(random()), static_cast<int>(random())}; };
        ContactDecoder decoder({range(), range(), static_cast<int>(random() % 70) - 2, round % 2 == 0, 0});
        for (int i = 0; i < 5000; ++i) {
            const int small = static_cast<int>(random() % 70) - 2, any = static_cast<int>(random());
            input_event event{};
            event.type = static_cast<std::uint16_t>(random() % 2 ? EV_ABS : random() % 4);
            const auto known = std::next(kEvents.begin(), static_cast<int>(random() % kEvents.size()));
            event.code = static_cast<std::uint16_t>(random() % 8 ? known->second.second : random());
            event.value = random() % 2 ? small : any;
            if (i % 10 == 0) event.type = event.code = EV_SYN;
            const auto outcome = decoder.take(event);
            if (outcome == Outcome::pending) continue;
            if (outcome == Outcome::stateLost)
                decoder.restore(std::vector(random() % 40, Slot{small, any, any}), small, small);
            if (random() % 2) decoder.repeat();
            ++frames;
            ASSERT_LE(decoder.contacts().size(), static_cast<std::size_t>(ContactDecoder::kMaxContacts));
            for (const auto& contact : decoder.contacts()) {
                ASSERT_TRUE(contact.x >= 0 && contact.x <= 1 && contact.y >= 0 && contact.y <= 1);
                ASSERT_TRUE(contact.state >= Contact::State::hovering &&
                            contact.state <= Contact::State::breakingTouch);
            }
        }
    }
    EXPECT_GT(frames, 5000);
}

TEST(TouchpadTest, UsesPressureOnlyWhereItTellsTouchingFromHovering) {
    struct Row {
        const char* what;
        bool expected;
        int resolution;  // of the pressure axis; negative without one
        bool hasSize;
        bool isPressurePad;
    };
    for (const auto& row :
         {Row{"pressure only", true, 0, false, false}, Row{"no pressure", false, -1, false, false},
          Row{"force in units", false, 1, false, false}, Row{"sizes too", false, 0, true, false},
          Row{"pressure pad", false, 0, false, true}}) {
        const std::unique_ptr<libevdev, decltype(&libevdev_free)> device(libevdev_new(), libevdev_free);
        input_absinfo axis{.value = 0, .minimum = 2, .maximum = 255, .fuzz = 0, .flat = 0, .resolution = 0};
        libevdev_enable_event_code(device.get(), EV_ABS, ABS_MT_POSITION_X, &axis);
        if (row.hasSize) libevdev_enable_event_code(device.get(), EV_ABS, ABS_MT_TOUCH_MAJOR, &axis);
        axis.resolution = row.resolution;
        if (row.resolution >= 0) libevdev_enable_event_code(device.get(), EV_ABS, ABS_MT_PRESSURE, &axis);
        if (row.isPressurePad) libevdev_enable_property(device.get(), 0x07);
        const auto shape = shapeOf(device.get());
        EXPECT_EQ(shape.pressureTellsTouch, row.expected) << row.what;
        EXPECT_EQ(shape.x.maximum, 255);
    }
}

TEST(TouchpadTest, RefusesWhatIsNoTouchpad) {
    for (const auto* path : {"/dev/null", "/dev", "/nothing/here", ""}) {
        const auto opened = Touchpad::open(path);
        ASSERT_FALSE(opened) << path;
        EXPECT_TRUE(opened.error().description.starts_with(path)) << opened.error().description;
    }
}

}  // namespace
}  // namespace kasto::evdev
