#include "linux/evdev/ContactDecoder.h"
#include "linux/evdev/Touchpad.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <random>
#include <string>

namespace kasto::evdev {
namespace {

using Outcome = ContactDecoder::Outcome;

constexpr TouchpadShape kPad{.x = {100, 1100}, .y = {-50, 950}, .slots = 5, .hasPressure = true};

struct Event {
    int type, code, value;
};
constexpr Event slot(int n) { return {EV_ABS, ABS_MT_SLOT, n}; }
constexpr Event id(int n) { return {EV_ABS, ABS_MT_TRACKING_ID, n}; }
constexpr Event x(int v) { return {EV_ABS, ABS_MT_POSITION_X, v}; }
constexpr Event y(int v) { return {EV_ABS, ABS_MT_POSITION_Y, v}; }
constexpr Event pressure(int v) { return {EV_ABS, ABS_MT_PRESSURE, v}; }
constexpr Event tool(int v) { return {EV_ABS, ABS_MT_TOOL_TYPE, v}; }
constexpr Event key(int code, int down) { return {EV_KEY, code, down}; }
constexpr Event kReport{EV_SYN, SYN_REPORT, 0};
constexpr Event kContact{EV_SYN, SYN_MT_REPORT, 0};
constexpr Event kDropped{EV_SYN, SYN_DROPPED, 0};

// The frames of a stream, one after the other: each contact as "state@x,y" in hundredths of the pad. A "!" is
// where the state was lost.
std::string framesOf(ContactDecoder& decoder, const std::vector<Event>& events) {
    std::string text;
    for (const auto& [type, code, value] : events) {
        input_event event{};
        event.type = static_cast<std::uint16_t>(type);
        event.code = static_cast<std::uint16_t>(code);
        event.value = value;
        const auto outcome = decoder.take(event);
        if (outcome == Outcome::pending) continue;
        text += outcome == Outcome::frame ? "[" : "!";
        if (outcome == Outcome::stateLost) continue;
        for (const auto& contact : decoder.contacts())
            text += std::to_string(contact.state) + "@" + std::to_string(std::lround(contact.x * 100)) + "," +
                    std::to_string(std::lround(contact.y * 100)) + " ";
        text += "]";
    }
    return text;
}

TEST(ContactDecoderTest, TurnsEventsIntoFrames) {
    struct Row {
        const char* what;
        TouchpadShape shape;
        std::vector<Event> events;
        std::string frames;
    };
    const Event light = pressure(0), firm = pressure(40);
    auto twoSlots = kPad, listing = kPad, flat = kPad, huge = kPad;
    twoSlots.slots = 2;
    listing.slots = 0;
    flat.x = {7, 7};
    huge.x = {INT_MIN, INT_MAX};
    const Row rows[] = {
        {"a finger comes, moves and goes; y is upwards",
         kPad,
         {slot(0), id(1), x(600), y(-50), firm, kReport, x(1100), kReport, id(-1), kReport, kReport, kReport},
         "[3@50,100 ][4@100,100 ][5@100,100 ][]"},
        {"a place that stays is not sent again",
         kPad,
         {id(1), x(600), y(450), firm, kReport, id(-1), kReport, id(2), kReport, id(3), kReport},
         "[3@50,50 ][5@50,50 ][3@50,50 ][3@50,50 ]"},
        {"hovering and palms do not touch",
         kPad,
         {id(1), x(100), y(950), light, slot(1), id(2), x(1100), y(950), firm, tool(MT_TOOL_PALM), kReport,
          slot(0), firm, kReport},
         "[2@0,0 2@100,0 ][3@0,0 2@100,0 ]"},
        {"out of range",
         kPad,
         {id(1), x(INT_MAX), y(INT_MIN), firm, slot(99), id(3), x(1), slot(-1), id(4), kReport},
         "[3@100,100 ]"},
        {"one tracking id twice", kPad, {id(7), firm, slot(1), id(7), firm, kReport}, "[3@0,95 3@0,95 ]"},
        {"axes without or beyond range", flat, {id(1), x(9), firm, kReport}, "[3@50,95 ]"},
        {"the widest axis", huge, {id(1), x(0), firm, kReport}, "[3@50,95 ]"},
        {"more fingers than slots",
         twoSlots,
         {id(1), x(100), y(450), firm, slot(1), id(2), x(1100), y(450), firm, key(BTN_TOOL_TRIPLETAP, 1),
          kReport, key(BTN_TOOL_TRIPLETAP, 0), key(BTN_TOOL_DOUBLETAP, 1), kReport},
         "[3@0,50 3@100,50 4@50,50 ][4@0,50 4@100,50 ]"},
        {"a pad that lists its contacts",
         listing,
         {x(100), y(450), firm, kContact, x(600), y(450), firm, kContact, kReport, x(600), y(450), firm,
          kContact, kReport, kContact, kReport, kReport},
         "[3@0,50 3@50,50 ][4@50,50 ][]"},
        {"events were lost: what is known is void until the next frame",
         kPad,
         {id(1), firm, kReport, kDropped, id(-1), x(5), kReport, x(1100), kReport},
         "[3@0,95 ]![4@100,95 ]"},
    };
    for (const auto& row : rows) {
        ContactDecoder decoder(row.shape);
        EXPECT_EQ(framesOf(decoder, row.events), row.frames) << row.what;
    }
}

TEST(ContactDecoderTest, RestoresWhatTheKernelKnowsAndRepeatsRestingFingers) {
    ContactDecoder decoder(kPad);
    framesOf(decoder,
             {id(1), x(100), y(450), pressure(9), slot(1), id(2), pressure(9), kReport, kDropped, kReport});
    const Slot slots[] = {
        {.trackingId = 1, .x = 600, .y = 450, .pressure = 9}, {}, {.trackingId = 8, .pressure = 9}};
    decoder.restore(slots, 2, 2);
    std::vector<int> states;
    for (const auto& contact : decoder.contacts()) states.push_back(contact.state);
    EXPECT_EQ(states, (std::vector{4, 5, 3}));
    decoder.repeat();
    ASSERT_EQ(decoder.contacts().size(), 2u);
    EXPECT_EQ(decoder.contacts()[1].state, 4);
    EXPECT_TRUE(decoder.hasFingers());
    EXPECT_EQ(framesOf(decoder, {id(-1), kReport, slot(0), id(-1), kReport}), "[4@50,50 5@0,95 ][5@50,50 ]");
    EXPECT_FALSE(decoder.hasFingers());
}

TEST(ContactDecoderTest, SurvivesAnyEvents) {
    std::mt19937 random(20261123);
    const int codes[] = {ABS_MT_SLOT,       ABS_MT_TRACKING_ID, ABS_MT_POSITION_X, ABS_MT_POSITION_Y,
                         ABS_MT_PRESSURE,   ABS_MT_TOOL_TYPE,   ABS_MT_DISTANCE,   BTN_TOOL_TRIPLETAP,
                         BTN_TOOL_QUINTTAP, SYN_REPORT,         SYN_MT_REPORT,     SYN_DROPPED};
    int frames = 0;
    for (int round = 0; round < 60; ++round) {
        auto range = [&] { return AxisRange{static_cast<int>(random()), static_cast<int>(random())}; };
        ContactDecoder decoder({range(), range(), static_cast<int>(random() % 70) - 2, round % 2 == 0, 0});
        for (int i = 0; i < 5000; ++i) {
            const int small = static_cast<int>(random() % 70) - 2, any = static_cast<int>(random());
            input_event event{};
            event.type = static_cast<std::uint16_t>(random() % 2 ? EV_ABS : random() % 4);
            event.code =
                static_cast<std::uint16_t>(random() % 8 ? codes[random() % std::size(codes)] : random());
            event.value = random() % 2 ? small : any;
            if (i % 10 == 0) event.type = event.code = EV_SYN;
            const auto outcome = decoder.take(event);
            if (outcome == Outcome::pending) continue;
            if (outcome == Outcome::stateLost)
                decoder.restore(std::vector(random() % 40, Slot{small, any, any}), small, small);
            if (random() % 2) decoder.repeat();
            ++frames;
            ASSERT_LE(decoder.contacts().size(), static_cast<std::size_t>(ContactDecoder::kMostContacts));
            for (const auto& contact : decoder.contacts()) {
                ASSERT_TRUE(contact.x >= 0 && contact.x <= 1 && contact.y >= 0 && contact.y <= 1);
                ASSERT_TRUE(contact.state >= MTContact::kHovering &&
                            contact.state <= MTContact::kBreakingTouch);
            }
        }
    }
    EXPECT_GT(frames, 5000);
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
