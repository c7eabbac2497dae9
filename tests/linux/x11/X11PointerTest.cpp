#include "XClient.h"
#include "base/Guarded.h"
#include "linux/x11/input/X11Pointer.h"
#include "linux/x11/server/Connection.h"
#include "linux/x11/server/X11Displays.h"
#include "support/PrivateXServer.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>

#include <csignal>

namespace kasto::x11 {
namespace {

using test::PrivateXServer;
using test::waitUntil;
using test::XClient;

class X11PointerTest : public testing::Test {
protected:
    // Holds keys (as xdotool names them) down for as long as `f` takes.
    template <class F>
    void holding(const std::vector<std::string>& keys, F&& f) {
        for (const auto& key : keys) ASSERT_EQ(server.run({"xdotool", "keydown", key}), 0);
        f();
        for (const auto& key : keys) ASSERT_EQ(server.run({"xdotool", "keyup", key}), 0);
    }

    PrivateXServer server;
    std::unique_ptr<X11Displays> displays = *X11Displays::open(server.display());
    std::unique_ptr<X11Pointer> pointer = *X11Pointer::open(server.display(), *displays);
};

TEST_F(X11PointerTest, ModifiersFollowTheServersMapping) {
    const auto heldWith = [&](const std::string& key) {
        std::string held;
        holding({key}, [&] {
            const auto now = pointer->state();
            ASSERT_TRUE(now);
            for (const auto& [name, down] :
                 {std::pair{'m', now->command}, {'o', now->option}, {'c', now->control}, {'f', now->fn}})
                if (down) held += name;
        });
        return held;
    };
    const std::string rightAlt = "108";
    // Each modifier's key; what Super means besides command; what the key right of the space bar means.
    const auto expectAll = [&](const std::string& super, const std::string& right) {
        EXPECT_EQ(heldWith("Super_L"), super);
        EXPECT_EQ(heldWith("Alt_L"), "o");
        EXPECT_EQ(heldWith("Control_L"), "c");
        EXPECT_EQ(heldWith("ISO_Level3_Shift"), "f");
        EXPECT_EQ(heldWith("Shift_L"), "");
        EXPECT_EQ(heldWith(rightAlt), right);
    };
    expectAll("mf", "o");  // without AltGr
    ASSERT_EQ(server.run({"setxkbmap", "de"}), 0);
    expectAll("m", "f");
    ASSERT_EQ(server.run({"setxkbmap", "us,de"}), 0);  // right Alt in one group is AltGr in the other
    expectAll("mf", "o");
    ASSERT_EQ(server.run({"xmodmap", "-e", "clear mod1", "-e", "clear mod4", "-e", "add mod4 = Alt_L Alt_R",
                          "-e", "add mod1 = Super_L"}),
              0);
    expectAll("mf", "o");
}

TEST_F(X11PointerTest, ScrollingIsSeenAndStillReachesTheProgramUnderThePointer) {
    XClient program(server.display());
    const auto window = program.makeWindow({0, 0, 400, 300}, test::WindowKind::overrideRedirect, 0x336699);
    program.listenForPresses(window);
    program.show(window);
    program.movePointer(200, 150);

    Guarded<std::vector<ScrollEvent>> seen;
    auto monitor = pointer->monitorScroll(
        [&](const ScrollEvent& scroll) { seen.with([&](auto& all) { all.push_back(scroll); }); });
    ASSERT_TRUE(monitor);
    const auto count = [&] { return seen.with([](const auto& all) { return all.size(); }); };
    const std::vector<std::string> buttons{"4", "5", "6", "7", "1", "3"};
    holding({"Alt_L", "Control_L"}, [&] {
        for (const auto& button : buttons) ASSERT_EQ(server.run({"xdotool", "click", button}), 0);
        ASSERT_TRUE(waitUntil([&] { return count() == 4; }));
    });
    constexpr double kNotch = ScrollEvent::kPtsPerNotch;
    const Vector expected[] = {{0, kNotch}, {0, -kNotch}, {kNotch, 0}, {-kNotch, 0}};
    const auto all = seen.copy();
    for (std::size_t i = 0; i < all.size(); ++i) {
        EXPECT_EQ(all[i].deltaPts, expected[i]);
        EXPECT_TRUE(all[i].option && all[i].control && !all[i].command && !all[i].fn);
    }

    monitor.reset();
    ASSERT_EQ(server.run({"xdotool", "click", "4"}), 0);
    EXPECT_EQ(program.pressed(), (std::vector{4, 5, 6, 7, 1, 3, 4}));
    EXPECT_EQ(count(), 4u) << "nothing is reported after the monitor's end";

    monitor = pointer->monitorScroll([](const ScrollEvent&) {});
    server.kill();  // which the monitor survives
}

TEST_F(X11PointerTest, AFollowerKnowsEveryChangeWhoeverGrabs) {
    const auto follower = pointer->follow();
    const auto knows = [&](const PointerState& expected) {
        return waitUntil([&] { return follower->state() == expected; });
    };
    const auto xdotool = [&](std::vector<std::string> command) {
        command.insert(command.begin(), "xdotool");
        EXPECT_EQ(server.run(command), 0);
    };
    XClient program(server.display());
    for (const bool isGrabbed : {false, true}) {
        SCOPED_TRACE(isGrabbed ? "grabbed" : "free");
        if (isGrabbed) {
            auto* c = program.raw();
            const auto root = program.root();
            xcb_grab_pointer(c, 0, root, XCB_EVENT_MASK_BUTTON_PRESS, XCB_GRAB_MODE_ASYNC,
                             XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_CURRENT_TIME);
            xcb_grab_keyboard(c, 0, root, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        }
        program.movePointer(300, 200);
        EXPECT_TRUE(knows({.globalPts = {300, 200}}));
        xdotool({"mousemove", "310", "220"});
        EXPECT_TRUE(knows({.globalPts = {310, 220}}));
        xdotool({"mousemove_relative", "5", "6", "mousedown", "1"});
        EXPECT_TRUE(knows({.globalPts = {315, 226}, .left = true}));
        xdotool({"mousemove_relative", "5", "6", "keydown", "Super_L", "mousedown", "3"});
        EXPECT_TRUE(
            knows({.globalPts = {320, 232}, .left = true, .right = true, .command = true, .fn = true}));
        xdotool({"mouseup", "1", "mouseup", "3", "keyup", "Super_L", "keydown", "Control_L"});
        EXPECT_TRUE(knows({.globalPts = {320, 232}, .control = true}));
        xdotool({"keyup", "Control_L"});
        EXPECT_TRUE(knows({.globalPts = {320, 232}}));
    }
    server.kill();
    EXPECT_TRUE(waitUntil([&] { return !follower->state(); }));
}

// A window manager may freeze the pointer's events at a press, until it has decided about the focus.
TEST_F(X11PointerTest, AFollowerKnowsAButtonThatIsHeldBack) {
    const auto follower = pointer->follow();
    const auto isDown = [&] { return follower->state().value_or(PointerState{}).left; };
    XClient manager(server.display());
    xcb_grab_button(manager.raw(), 1, manager.root(), XCB_EVENT_MASK_BUTTON_PRESS, XCB_GRAB_MODE_SYNC,
                    XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_BUTTON_INDEX_1, XCB_MOD_MASK_ANY);
    manager.sync();
    ASSERT_EQ(server.run({"xdotool", "mousemove", "100", "100", "mousedown", "1"}), 0);
    EXPECT_TRUE(waitUntil(isDown));
    ASSERT_EQ(server.run({"xdotool", "mousemove_relative", "10", "0", "mousemove_relative", "10", "0"}), 0);
    for (int i = 0; i < 50; ++i) EXPECT_TRUE(isDown());
    xcb_allow_events(manager.raw(), XCB_ALLOW_REPLAY_POINTER, XCB_CURRENT_TIME);
    manager.sync();
    for (int i = 0; i < 50; ++i) EXPECT_TRUE(isDown());
    ASSERT_EQ(server.run({"xdotool", "mouseup", "1"}), 0);
    EXPECT_TRUE(waitUntil([&] { return !isDown(); }));
    EXPECT_EQ(follower->state()->globalPts, (Point{120, 100}));
}

TEST_F(X11PointerTest, AFollowerAsksAServerThatReportsNothing) {
    // The server has neither RECORD nor, because that needs it, XTEST.
    const PrivateXServer silent(640, 480, {"-extension", "RECORD"});
    const auto asked = X11Pointer::open(silent.display(), *displays).value();
    const auto follower = asked->follow();
    for (const int x : {100, 200, 300}) {
        XClient(silent.display()).movePointer(x, 50);
        EXPECT_TRUE(follower->state() == (PointerState{.globalPts = {static_cast<double>(x), 50}}));
    }
}

TEST_F(X11PointerTest, AFollowerAsksNothingWhileNothingHappens) {
    const auto follower = pointer->follow();
    const auto known = follower->state();
    // A stopped server answers no request, so a request would block here.
    ASSERT_EQ(::kill(server.pid(), SIGSTOP), 0);
    for (int i = 0; i < 20; ++i) EXPECT_TRUE(follower->state() == known);
    ASSERT_EQ(::kill(server.pid(), SIGCONT), 0);
}

}  // namespace
}  // namespace kasto::x11
