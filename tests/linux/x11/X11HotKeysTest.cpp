#include "XClient.h"
#include "input/HotKey.h"
#include "input/KeyCodes.h"
#include "linux/x11/input/X11HotKeys.h"
#include "support/PrivateXServer.h"

#include <gtest/gtest.h>
#include <poll.h>

namespace kasto::test {

using namespace x11;
namespace {

// A program with hot keys, as far as its loop goes.
struct Program {
    explicit Program(const std::string& display) : connection(*Connection::open(display)) {}

    // Hands the events on until nothing more comes.
    void handleEvents() {
        xcb_flush(connection.raw());
        pollfd incoming{xcb_get_file_descriptor(connection.raw()), POLLIN, 0};
        constexpr int kQuietMs = 150;
        do {
            while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection.raw())})
                hotKeys.handleEvent(event.get());
        } while (poll(&incoming, 1, kQuietMs) > 0);
    }

    Connection connection;
    X11HotKeys hotKeys{connection.raw()};
};

class X11HotKeysTest : public testing::Test {
protected:
    X11HotKeysTest() {
        hotKey->onPress = [this] { ++presses; };
    }

    void type(const std::string& keys) {
        ASSERT_EQ(server.run({"xdotool", "key", "--delay", "20", keys}), 0);
        program.handleEvents();
    }

    PrivateXServer server;
    Program program{server.display()};
    std::unique_ptr<HotKey> hotKey = HotKey::make(program.hotKeys, kToggleChord);
    int presses = 0;
};

TEST_F(X11HotKeysTest, AnswersTheExactChordInEveryLockState) {
    type("ctrl+alt+super+r");
    EXPECT_EQ(presses, 1);
    for (const auto* other : {"ctrl+alt+r", "ctrl+alt+super+shift+r", "r", "ctrl+alt+super+e"}) type(other);
    EXPECT_EQ(presses, 1) << "only the exact chord counts";
    int expected = 1;
    for (const auto* lock : {"Caps_Lock", "Num_Lock", "Caps_Lock"}) {
        type(lock);
        type("ctrl+alt+super+r");
        EXPECT_EQ(presses, ++expected) << "after " << lock;
    }
}

TEST_F(X11HotKeysTest, AHeldKeyIsOnePress) {
    ASSERT_EQ(server.run({"xdotool", "keydown", "ctrl",  "keydown", "alt", "keydown", "super", "keydown",
                          "r",       "sleep",   "1.2",   "keyup",   "r",   "keydown", "r",     "keyup",
                          "r",       "keyup",   "super", "keyup",   "alt", "keyup",   "ctrl"}),
              0);
    program.handleEvents();
    EXPECT_EQ(presses, 2) << "one press held until it repeats, and one more";
}

TEST_F(X11HotKeysTest, FollowsTheLayout) {
    // The letter's own place, also where it is another one, in a second group, and on a layout without the
    // letter.
    for (const auto& [layout, key] :
         {std::pair{"dvorak", "32"}, {"us,ru", "27"}, {"ru", "27"}, {"us", "27"}}) {
        ASSERT_EQ(server.run({"setxkbmap", layout}), 0);
        program.handleEvents();
        presses = 0;
        ASSERT_EQ(server.run({"xdotool", "keydown", "37", "keydown", "64", "keydown", "133", "key", key,
                              "keyup", "133", "keyup", "64", "keyup", "37"}),
                  0);
        program.handleEvents();
        EXPECT_EQ(presses, 1) << layout;
    }
}

TEST_F(X11HotKeysTest, OneOwnerAtATime) {
    Program other(server.display());
    EXPECT_FALSE(HotKey::make(other.hotKeys, kToggleChord));
    hotKey.reset();
    program.handleEvents();
    EXPECT_TRUE(HotKey::make(other.hotKeys, kToggleChord));
}

TEST_F(X11HotKeysTest, KeepsFnRightClickFromOtherProgramsForAWhile) {
    XClient other(server.display());
    const auto window = other.showWindow({0, 0, 200, 200}, 0);
    const std::uint32_t mask = XCB_EVENT_MASK_BUTTON_PRESS;
    other.sync(xcb_change_window_attributes(other.raw(), window, XCB_CW_EVENT_MASK, &mask));
    const auto clicksSeen = [&](const std::string& key) {
        EXPECT_EQ(
            server.run({"xdotool", "mousemove", "100", "100", "keydown", key, "click", "3", "keyup", key}),
            0);
        program.handleEvents();
        int seen = 0;
        while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(other.raw())})
            seen += (event->response_type & 0x7f) == XCB_BUTTON_PRESS;
        return seen;
    };
    EXPECT_EQ(clicksSeen("ISO_Level3_Shift"), 1);
    auto kept = program.hotKeys.keepFnRightClick();
    EXPECT_EQ(clicksSeen("ISO_Level3_Shift"), 0);
    EXPECT_EQ(clicksSeen("Control_L"), 1);
    kept.reset();
    EXPECT_EQ(clicksSeen("ISO_Level3_Shift"), 1);
}

}  // namespace
}  // namespace kasto::test
