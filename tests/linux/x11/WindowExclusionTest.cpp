#include "ScreenTest.h"
#include "base/AppIdentity.h"
#include "support/WaitUntil.h"

#include <xcb/composite.h>

#include <algorithm>

namespace kasto::test {

using namespace x11;
namespace {

constexpr std::uint32_t kOwnColor = 0xffff00ff;  // nothing else on the screen has any red

std::ptrdiff_t ownIn(const Pixels& pixels) { return std::ranges::count(pixels.rgb, kOwnColor & 0xffffff); }

// A desktop without a compositing manager ("Bare"), with one, or with one that fades windows in and out. Its
// twin is a screen on which the windows of other clients do the same, but which has no own windows.
class WindowExclusionTest : public ScreenTest, public testing::WithParamInterface<std::string> {
protected:
    WindowExclusionTest() {
        xcb_composite_redirect_subwindows(twin.raw(), twin.root(), XCB_COMPOSITE_REDIRECT_AUTOMATIC);
        for (auto* each : {&client, &twin}) each->setRootColor(0x003355);
        if (GetParam() == "Managed") server.startCompositingManager();
        if (GetParam() == "Fading") server.startCompositingManager({"--fading"});
        // A compositing manager paints a background of its own, so it is covered.
        addForeign(isBare ? PixelRect{50, 30, 540, 330} : kScreen);
        addForeign({200, 120, 180, 140});
        EXPECT_TRUE(waitUntil([this] { return shown() == expected(); }));
        receiver.inspect = [this](const ScreenFrame& frame) {
            const auto pixels = toPixels(frame);
            const auto isRed = [](std::uint32_t rgb) { return (rgb & 0xff0000) != 0; };
            leaks += areOthersRed ? ownIn(pixels) > 0 : std::ranges::any_of(pixels.rgb, isRed);
        };
    }

    ~WindowExclusionTest() override {
        stream.reset();
        receiver.queue.drain();
    }

    void start() {
        ASSERT_NO_FATAL_FAILURE(ScreenTest::start(kConfiguration, {{std::string(kBundleIdentifier)}}));
    }

    void exclude(xcb_window_t window, std::optional<std::vector<PixelRect>> painted = {}) {
        ownWindows.set({.nativeId = window, .sharing = SharingType::none, .paintedPx = std::move(painted)});
    }
    // A window of the program that must not be recorded.
    xcb_window_t makePanel(const PixelRect& bounds, WindowKind kind = WindowKind::overrideRedirect) {
        const auto panel = own.makeWindow(bounds, kind, kOwnColor);
        exclude(panel);
        return panel;
    }

    void addForeign(const PixelRect& bounds) {
        const auto color = static_cast<std::uint32_t>(0x2040 + 0x3000 * foreign.size());
        foreign.push_back({client.showWindow(bounds, color), twin.showWindow(bounds, color), bounds});
    }
    struct Foreign {
        xcb_window_t id, twinsId;
        PixelRect boundsPx;
    };
    void fill(const Foreign& window, const PixelRect& rect, std::uint32_t color) {
        client.fill(window.id, rect, color);
        twin.fill(window.twinsId, rect, color);
    }
    void moveUpper(int x, int y) {
        client.move(foreign[1].id, x, y);
        twin.move(foreign[1].twinsId, x, y);
    }

    // Draws somewhere in a foreign window, or moves the upper one.
    void disturb() {
        const auto& target = foreign[random() % 2];
        const auto color = random() & 0xffff;
        fill(target,
             {below(target.boundsPx.width), below(target.boundsPx.height), 1 + below(120), 1 + below(60)},
             color);
        if (below(4) != 0) return;
        moveUpper(below(kWidth) - 60, below(kHeight) - 60);
        // A window that is not redirected loses what leaves the screen, so it is drawn again.
        fill(foreign[1], kScreen, color);
    }

    Pixels expected() const { return twin.screen(kScreen); }

    const bool isBare = GetParam() == "Bare";
    PrivateXServer twinServer{kWidth, kHeight};
    XClient twin{twinServer.display()};
    XClient own{server.display()};
    std::vector<Foreign> foreign;
    std::atomic<int> leaks = 0;
    bool areOthersRed = false;  // only the exact colour counts as a leak then
};

TEST_P(WindowExclusionTest, AnOutlineThatComesAndGoesIsNeverRecorded) {
    const auto outline = makePanel({80, 60, 300, 200});
    own.shape(outline, {{0, 0, 300, 6}, {0, 194, 300, 6}, {0, 6, 6, 188}, {294, 6, 6, 188}});
    start();
    for (int i = 0; i < 240; ++i) {
        const auto step = random() % 6;
        if (step == 0) own.hide(outline);
        if (step == 1) own.show(outline);
        if (step == 2) own.restack(outline, XCB_STACK_MODE_ABOVE);
        if (step == 3) own.move(outline, below(400), below(250));
        disturb();
        letPass(random() % 6);
        if (i % 40 != 39) continue;
        own.show(outline);
        ASSERT_TRUE(receiver.waitForPicture(expected())) << i;
    }
    EXPECT_EQ(receiver.falseReports, 0);
    EXPECT_GT(receiver.count, 20u);

    // On the screen the outline is visible all the time.
    EXPECT_TRUE(waitUntil([&] { return shown() != expected(); }));
    own.destroy(outline);
    ownWindows.remove(outline);
    ASSERT_TRUE(receiver.waitForPicture(expected()));
    EXPECT_EQ(leaks, 0);
}

TEST_P(WindowExclusionTest, AWindowThatIsVisibleAtTheStartIsNotRecordedUntilItIsShared) {
    const auto panel = makePanel({100, 80, 200, 150});
    own.show(panel);
    letPass(100);
    start();
    // What the panel covered before the start was not kept by the server and is drawn again.
    for (const auto& window : foreign) fill(window, kScreen, 0x4080);
    EXPECT_TRUE(receiver.waitForPicture(expected()));
    EXPECT_EQ(leaks, 0);
    ownWindows.set({.nativeId = panel, .sharing = SharingType::readOnly, .paintedPx = {}});
    fill(foreign[0], kScreen, 0x4081);
    EXPECT_TRUE(receiver.waitFor([](const ScreenFrame& frame) { return ownIn(toPixels(frame)) > 0; }));
}

// Although the server reports far more of the screen as damaged than the window touches.
TEST_P(WindowExclusionTest, AnExcludedWindowThatDrawsMakesNoPictures) {
    const std::vector<PixelRect> sides{{10, 10, 600, 4}, {10, 380, 600, 4}};
    const auto overlay = own.makeWindow(kScreen, isBare ? WindowKind::overrideRedirect : WindowKind::argb,
                                        isBare ? kOwnColor : 0);
    const auto step = [&](int i) {
        const std::vector<PixelRect> dashes{{10 + i, 10, 8, 4}, {600 - i, 380, 8, 4}};
        if (isBare) {
            own.shape(overlay, dashes);
        } else {
            for (const auto& side : sides) own.fill(overlay, side, 0);
            for (const auto& dash : dashes) own.fill(overlay, dash, kOwnColor);
        }
        letPass(5);
    };
    step(0);
    exclude(overlay, sides);
    start();
    own.show(overlay);
    // After its appearance, all root damage counts as foreign for a while.
    for (int i = 0; i < 300; ++i) step(i);
    const auto before = receiver.count.load();
    for (int i = 0; i < 300; ++i) step(i);
    EXPECT_EQ(receiver.count, before);

    // Drawing of other clients is recorded, also under the overlay and wherever it paints next.
    PixelRect painted;
    for (int i = 0; i < 320; ++i) {
        if (isBare) {
            step(i);
        } else {
            const PixelRect next{below(600), below(360), 30, 30};
            exclude(overlay, std::vector{painted, next, sides[0], sides[1]});
            own.fill(overlay, painted, 0);
            own.fill(overlay, next, kOwnColor);
            exclude(overlay, std::vector{next, sides[0], sides[1]});
            painted = next;
        }
        disturb();
        letPass(random() % 8);
        ASSERT_TRUE(i % 40 != 39 || receiver.waitForPicture(expected())) << i;
    }
    EXPECT_EQ(leaks, 0);
    EXPECT_EQ(receiver.falseReports, 0);
}

TEST_P(WindowExclusionTest, AManagedWindowIsLeftOutWithItsFrame) {
    server.startWindowManager();
    const auto panel = makePanel({150, 100, 200, 150}, WindowKind::managed);
    areOthersRed = true;
    start();
    for (int i = 0; i < 60; ++i) {
        if (i % 20 == 0) {
            own.show(panel);
            for (const auto id : {foreign[1].id, foreign[0].id}) client.restack(id, XCB_STACK_MODE_BELOW);
        }
        if (i % 4 == 0) own.move(panel, below(300), 40 + below(150));
        disturb();
        letPass(random() % 10);
        if (i % 20 == 19) {
            ASSERT_TRUE(waitUntil([&] { return ownIn(shown()) > 0; }));
            ASSERT_TRUE(receiver.waitForPicture(expected())) << i;
            // The window manager removes the frame later than the window is hidden and taken off the list.
            own.hide(panel);
            ownWindows.remove(panel);
            ASSERT_TRUE(receiver.waitForPicture(expected())) << i;
            exclude(panel);
        }
    }
    EXPECT_EQ(leaks, 0);
}

INSTANTIATE_TEST_SUITE_P(Desktops, WindowExclusionTest, testing::Values("Bare", "Managed", "Fading"),
                         [](const auto& info) { return info.param; });

// Compositing managers start and end: the underlay stays right all the time.
class ChangingDesktopTest : public WindowExclusionTest {};

TEST_P(ChangingDesktopTest, AManagerMayStartAndEndMeanwhile) {
    for (auto* each : {&client, &twin})
        each->restack(each->showWindow(kScreen, 0x2040), XCB_STACK_MODE_BELOW);
    const auto panel = makePanel({100, 80, 200, 150});
    areOthersRed = true;
    start();
    own.show(panel);
    for (int round = 0; round < 4; ++round) {
        round % 2 == 0 ? server.startCompositingManager() : server.endCompositingManager();
        for (int i = 0; i < 20; ++i) {
            disturb();
            letPass(3);
        }
        EXPECT_TRUE(receiver.waitForPicture(expected())) << round;
    }
    EXPECT_EQ(leaks, 0);
}

// A software cursor can make the server lose the damage of a window that moves under it.
TEST_P(ChangingDesktopTest, AWindowThatMovesUnderThePointerLeavesNoTrace) {
    own.show(makePanel({500, 20, 60, 60}));
    client.movePointer(300, 200);
    start();
    for (int i = 0; i < 40; ++i) {
        moveUpper(160 + i * 37 % 130, 90 + i * 23 % 100);
        ASSERT_TRUE(receiver.waitForPicture(expected())) << i;
    }
    EXPECT_EQ(leaks, 0);
}

INSTANTIATE_TEST_SUITE_P(Bare, ChangingDesktopTest, testing::Values("Bare"));

}  // namespace
}  // namespace kasto::test
