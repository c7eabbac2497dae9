#include "XClient.h"
#include "input/HotKey.h"
#include "input/KeyCodes.h"
#include "linux/x11/input/X11HotKeys.h"
#include "linux/x11/input/Xkb.h"
#include "support/PrivateXServer.h"

#include <gtest/gtest.h>
#include <poll.h>

namespace kasto::test {

using namespace x11;
namespace {

// A program with hot keys and the part of an event loop that they need.
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

    void run(const std::vector<std::string>& command) {
        ASSERT_EQ(server.run(command), 0);
        program.handleEvents();
    }
    void setLayout(const std::string& layout) { run({"setxkbmap", layout}); }
    void makeSecondGroupActive() {
        XClient client(server.display());
        xcb_xkb_use_extension(client.raw(), 1, 0);
        client.sync(xcb_xkb_latch_lock_state(client.raw(), XCB_XKB_ID_USE_CORE_KBD, 0, 0, 1, 1, 0, 0, 0));
        program.handleEvents();
    }
    // How often the hot key is pressed by a key, given by its place, with control, Alt and Super.
    int pressesOf(const std::string& keycode) {
        presses = 0;
        run({"xdotool", "keydown", "37", "keydown", "64", "keydown", "133", "key", keycode, "keyup", "133",
             "keyup", "64", "keyup", "37"});
        return presses;
    }

    PrivateXServer server;
    Program program{server.display()};
    std::unique_ptr<HotKey> hotKey = HotKey::make(program.hotKeys, kToggleChord);
    int presses = 0;
};

TEST_F(X11HotKeysTest, AnswersTheExactChordInEveryLockState) {
    const auto type = [&](const char* keys) { run({"xdotool", "key", "--delay", "20", keys}); };
    for (const auto* other : {"ctrl+alt+r", "ctrl+alt+super+shift+r", "r", "ctrl+alt+super+e"}) type(other);
    EXPECT_EQ(presses, 0) << "only the exact chord counts";
    int expected = 0;
    for (const auto* lock : {"Escape", "Caps_Lock", "Num_Lock", "Caps_Lock"}) {
        type(lock);
        type("ctrl+alt+super+r");
        EXPECT_EQ(presses, ++expected) << "after " << lock;
    }
}

TEST_F(X11HotKeysTest, AHeldKeyIsOnePress) {
    run({"xdotool", "keydown", "ctrl",  "keydown", "alt", "keydown", "super", "keydown",
         "r",       "sleep",   "1.2",   "keyup",   "r",   "keydown", "r",     "keyup",
         "r",       "keyup",   "super", "keyup",   "alt", "keyup",   "ctrl"});
    EXPECT_EQ(presses, 2) << "one press held until it repeats, and one more";
}

TEST_F(X11HotKeysTest, FollowsTheLayout) {
    const std::string r = "27", o = "32";  // their places on a US keyboard; Dvorak has its R at the latter
    setLayout("dvorak");
    EXPECT_EQ(pressesOf(o), 1);
    EXPECT_EQ(pressesOf(r), 0);
    setLayout("ru");
    EXPECT_EQ(pressesOf(r), 1) << "the letter's place, on a layout without it";
    setLayout("us,dvorak");
    EXPECT_EQ(pressesOf(r), 1);
    EXPECT_EQ(pressesOf(o), 0) << "that key has the letter in the other group";
    makeSecondGroupActive();
    EXPECT_EQ(pressesOf(r), 0);
    EXPECT_EQ(pressesOf(o), 1);
    setLayout("us,ru");
    makeSecondGroupActive();
    EXPECT_EQ(pressesOf(r), 1) << "the active group lacks the letter, the other has it";
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
    other.listenForPresses(other.showWindow({0, 0, 200, 200}, 0));
    other.movePointer(100, 100);
    const auto isSeen = [&](const std::string& key, const std::string& second = "Shift_R") {
        run({"xdotool", "keydown", key, "keydown", second, "click", "3", "keyup", second, "keyup", key});
        return !other.pressed().empty();
    };
    const std::string rightAlt = "108";
    EXPECT_TRUE(isSeen("ISO_Level3_Shift"));
    auto kept = program.hotKeys.keepFnRightClick();
    for (const auto* held : {"Shift_L", "Super_L", "Caps_Lock"})
        EXPECT_FALSE(isSeen("ISO_Level3_Shift", held)) << held;
    EXPECT_FALSE(isSeen("Super_L")) << "fn, on a keyboard without AltGr";
    EXPECT_TRUE(isSeen("Control_L"));
    setLayout("de");
    EXPECT_FALSE(isSeen(rightAlt)) << "AltGr";
    EXPECT_TRUE(isSeen("Super_L"));
    kept.reset();
    EXPECT_TRUE(isSeen(rightAlt));
}

}  // namespace
}  // namespace kasto::test
