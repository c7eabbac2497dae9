#include "StreamReceiver.h"
#include "XClient.h"
#include "base/AppIdentity.h"
#include "linux/x11/X11Displays.h"
#include "linux/x11/X11ScreenCapture.h"
#include "platform/OwnWindows.h"
#include "support/PrivateXServer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <random>
#include <thread>

namespace kasto {
namespace {

using test::Pixels;
using test::PrivateXServer;
using test::StreamReceiver;
using test::WindowKind;
using test::XClient;

constexpr int kWidth = 640;
constexpr int kHeight = 400;
constexpr PixelRect kScreen{0, 0, kWidth, kHeight};
constexpr std::uint32_t kOwnColor = 0xffff00ff;  // nothing else on the screen has any red

enum class Desktop { bare, compositingManager, fadingManager };

std::string nameOf(Desktop desktop) {
    if (desktop == Desktop::bare) return "Bare";
    return desktop == Desktop::compositingManager ? "Managed" : "Fading";
}

// A window of somebody else's and what it must look like.
struct Foreign {
    xcb_window_t id;
    PixelRect boundsPx;
    std::vector<std::uint32_t> rgb;
};

class HiddenWindowsTest : public testing::TestWithParam<Desktop> {
protected:
    HiddenWindowsTest() {
        client.setRootColor(kRootColor);
        if (GetParam() == Desktop::compositingManager) server.startCompositingManager();
        if (GetParam() == Desktop::fadingManager) server.startCompositingManager({"--fading"});
        displays = std::move(*X11Displays::open(server.display()));
        // A manager has a background of its own: it is covered.
        addForeign(GetParam() == Desktop::bare ? PixelRect{50, 30, 540, 330} : kScreen);
        addForeign({200, 120, 180, 140});
        EXPECT_TRUE(waitForScreen([this](const Pixels& shown) { return shown == expected(); }));
        receiver.setInspect([this](const ScreenFrame& frame) {
            if (showsOwn(frame)) ++leaks;
        });
    }

    ~HiddenWindowsTest() override { stream.reset(); }

    void start() {
        X11ScreenCapture capture(server.display(), *displays, ownWindows);
        StreamConfiguration configuration;
        configuration.width = kWidth;
        configuration.height = kHeight;
        configuration.minimumFrameIntervalS = 1.0 / 240;
        configuration.showsCursor = false;
        const ContentFilter filter{displays->mainDisplay(), {{std::string(kBundleIdentifier)}}};
        stream = std::move(*capture.makeStream(filter, configuration, receiver));
        ASSERT_TRUE(stream->addStreamOutput(receiver, StreamOutputType::screen, receiver.queue).has_value());
        const auto started = stream->startCapture();
        ASSERT_TRUE(started.has_value()) << started.error().description;
    }

    static bool showsOwn(const ScreenFrame& frame) {
        const auto& plane = frame.pixels->plane(0);
        for (int y = 0; y < plane.height; ++y)
            for (int x = 0; x < plane.width; ++x)
                if (plane.data[y * plane.strideBytes + x * 4 + 2] != 0) return true;
        return false;
    }

    // Frames and backgrounds of others have some red: only the very colour is a leak then.
    void allowOtherReds() {
        receiver.setInspect([this](const ScreenFrame& frame) {
            leaks += std::ranges::count(test::toPixels(frame).rgb, kOwnColor & 0xffffff) > 0;
        });
    }

    // A manager shows what was drawn a moment later.
    bool waitForScreen(const std::function<bool(const Pixels&)>& condition) const {
        for (int i = 0; i < 500; ++i) {
            if (condition(client.screen(kScreen))) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }

    void addForeign(const PixelRect& bounds) {
        const auto color = static_cast<std::uint32_t>(0x2040 + 0x3000 * foreign.size());
        foreign.push_back({client.makeWindow(bounds, WindowKind::overrideRedirect, color), bounds,
                           std::vector(static_cast<std::size_t>(bounds.width * bounds.height), color)});
        client.show(foreign.back().id);
    }

    // Draws somewhere in a window of somebody else's, or moves the upper one.
    void disturb(std::mt19937& random) {
        const auto below = [&](int limit) {
            return static_cast<int>(random() % static_cast<unsigned>(limit));
        };
        auto& target = foreign[random() % 2];
        const auto& bounds = target.boundsPx;
        const auto rect =
            PixelRect{below(bounds.width), below(bounds.height), 1 + below(120), 1 + below(60)}.intersection(
                {0, 0, bounds.width, bounds.height});
        const auto color = random() & 0xffff;
        for (int y = rect.y; y < rect.maxY(); ++y)
            std::fill_n(target.rgb.begin() + y * bounds.width + rect.x, rect.width, color);
        client.fill(target.id, rect, color);
        if (below(4) != 0) return;
        auto& upper = foreign[1];
        upper.boundsPx.x = below(kWidth) - 60;
        upper.boundsPx.y = below(kHeight) - 60;
        client.move(upper.id, upper.boundsPx.x, upper.boundsPx.y);
        // An unredirected window loses what leaves the screen; a client draws it again.
        const PixelRect all{0, 0, upper.boundsPx.width, upper.boundsPx.height};
        std::ranges::fill(upper.rgb, color);
        client.fill(upper.id, all, color);
    }

    Pixels expected() const {
        Pixels pixels{kWidth, kHeight, std::vector<std::uint32_t>(kWidth * kHeight, kRootColor)};
        for (const auto& window : foreign) {
            const auto seen = window.boundsPx.intersection(kScreen);
            for (int y = seen.y; y < seen.maxY(); ++y)
                for (int x = seen.x; x < seen.maxX(); ++x)
                    pixels.rgb[static_cast<std::size_t>(y * kWidth + x)] =
                        window.rgb[static_cast<std::size_t>((y - window.boundsPx.y) * window.boundsPx.width +
                                                            x - window.boundsPx.x)];
        }
        return pixels;
    }

    static constexpr std::uint32_t kRootColor = 0x003355;
    PrivateXServer server{kWidth, kHeight};
    XClient client{server.display()};
    XClient own{server.display()};
    OwnWindows ownWindows;
    std::unique_ptr<X11Displays> displays;
    std::vector<Foreign> foreign;
    std::atomic<int> leaks = 0;
    StreamReceiver receiver;
    std::unique_ptr<ScreenStream> stream;
};

TEST_P(HiddenWindowsTest, AnOutlineThatComesAndGoesIsNeverRecorded) {
    const PixelRect bounds{80, 60, 300, 200};
    const auto outline = own.makeWindow(bounds, WindowKind::overrideRedirect, kOwnColor);
    own.shape(outline, {{0, 0, 300, 6}, {0, 194, 300, 6}, {0, 6, 6, 188}, {294, 6, 6, 188}});
    ownWindows.set({.nativeId = outline, .sharing = SharingType::none, .paintedPx = {}});
    ASSERT_NO_FATAL_FAILURE(start());
    std::mt19937 random(11);
    for (int i = 0; i < 240; ++i) {
        const auto step = random() % 6;
        if (step == 0) own.hide(outline);
        if (step == 1) own.show(outline);
        if (step == 2) own.raise(outline);
        if (step == 3) own.move(outline, static_cast<int>(random() % 400), static_cast<int>(random() % 250));
        disturb(random);
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 6));
        if (i % 40 != 39) continue;
        own.show(outline);
        ASSERT_TRUE(receiver.waitForPicture(expected())) << i;
    }
    EXPECT_EQ(leaks, 0);
    EXPECT_EQ(receiver.falseReports(), 0u);
    EXPECT_GT(receiver.count(), 20u);

    // Visible to everybody else all the time.
    EXPECT_TRUE(waitForScreen([&](const Pixels& shown) { return shown != expected(); }));
    own.destroy(outline);
    ownWindows.remove(outline);
    ASSERT_TRUE(receiver.waitForPicture(expected()));
    EXPECT_EQ(leaks, 0);
}

TEST_P(HiddenWindowsTest, AWindowThatIsVisibleAtTheStartIsNotRecorded) {
    const auto panel = own.makeWindow({100, 80, 200, 150}, WindowKind::overrideRedirect, kOwnColor);
    ownWindows.set({.nativeId = panel, .sharing = SharingType::none, .paintedPx = {}});
    own.show(panel);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    ASSERT_NO_FATAL_FAILURE(start());
    // What it covered has to be drawn once more where nothing kept it.
    for (const auto& window : foreign) {
        const PixelRect all{0, 0, window.boundsPx.width, window.boundsPx.height};
        client.fill(window.id, all, window.rgb.front());
    }
    EXPECT_TRUE(receiver.waitForPicture(expected()));
    EXPECT_EQ(leaks, 0);
}

TEST_P(HiddenWindowsTest, ASharedWindowIsRecordedLikeAnyOther) {
    const auto panel = own.makeWindow({100, 80, 200, 150}, WindowKind::overrideRedirect, kOwnColor);
    ownWindows.set({.nativeId = panel, .sharing = SharingType::readOnly, .paintedPx = {}});
    own.show(panel);
    ASSERT_NO_FATAL_FAILURE(start());
    EXPECT_TRUE(receiver.waitFor([](const ScreenFrame& frame) { return showsOwn(frame); }));
}

// However large the part of the screen that is reported as damaged for it.
TEST_P(HiddenWindowsTest, AHiddenWindowThatDrawsMakesNoPictures) {
    const bool isBare = GetParam() == Desktop::bare;
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
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    };
    step(0);
    ownWindows.set({.nativeId = overlay, .sharing = SharingType::none, .paintedPx = sides});
    ASSERT_NO_FATAL_FAILURE(start());
    own.show(overlay);
    // What the overlay's appearance sets off comes to rest.
    for (int i = 0; i < 300; ++i) step(i);
    const auto before = receiver.count();
    for (int i = 0; i < 300; ++i) step(i);
    EXPECT_EQ(receiver.count(), before);

    // What others draw is seen, also where the overlay is.
    std::mt19937 random(7);
    for (int i = 0; i < 30; ++i) {
        disturb(random);
        step(i);
        if (i % 10 == 9) {
            ASSERT_TRUE(receiver.waitForPicture(expected())) << i;
        }
    }
    EXPECT_EQ(leaks, 0);
    EXPECT_EQ(receiver.falseReports(), 0u);
}

// Of a window inside a window manager's frame the frame is seen, and in its place what lies beneath.
TEST_P(HiddenWindowsTest, AManagedWindowLeavesItsFrameBehind) {
    server.startWindowManager();
    const auto panel = own.makeWindow({150, 100, 200, 150}, WindowKind::managed, kOwnColor);
    ownWindows.set({.nativeId = panel, .sharing = SharingType::none, .paintedPx = {}});
    allowOtherReds();
    ASSERT_NO_FATAL_FAILURE(start());
    own.show(panel);
    for (const auto id : {foreign[1].id, foreign[0].id}) client.lower(id);
    ASSERT_TRUE(waitForScreen([&](const Pixels& shown) {
        return std::ranges::count(shown.rgb, kOwnColor & 0xffffff) == 200 * 150;
    }));
    std::mt19937 random(3);
    for (int i = 0; i < 60; ++i) {
        if (i % 4 == 0)
            own.move(panel, static_cast<int>(random() % 300), 40 + static_cast<int>(random() % 150));
        disturb(random);
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 10));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    const std::unique_ptr<xcb_translate_coordinates_reply_t, decltype(&std::free)> at(
        xcb_translate_coordinates_reply(
            own.raw(), xcb_translate_coordinates(own.raw(), panel, own.root(), 0, 0), nullptr),
        std::free);
    const auto differing = [&, wanted = expected()](const Pixels& pixels) {
        int inside = 0;
        int outside = 0;
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x) {
                const bool isInside =
                    x >= at->dst_x && y >= at->dst_y && x < at->dst_x + 200 && y < at->dst_y + 150;
                if (pixels.at(x, y) != wanted.at(x, y)) ++(isInside ? inside : outside);
            }
        return std::pair(inside, outside);
    };
    EXPECT_TRUE(receiver.waitFor(
        [&](const ScreenFrame& frame) { return differing(test::toPixels(frame)).first == 0; }));
    EXPECT_GT(differing(test::toPixels(receiver.last())).second, 500);
    EXPECT_EQ(leaks, 0);
}

INSTANTIATE_TEST_SUITE_P(Desktops, HiddenWindowsTest,
                         testing::Values(Desktop::bare, Desktop::compositingManager, Desktop::fadingManager),
                         [](const auto& info) { return nameOf(info.param); });

// Managers come and go: what was under the window stays right through it.
class ChangingDesktopTest : public HiddenWindowsTest {};

TEST_P(ChangingDesktopTest, AManagerMayStartAndEndMeanwhile) {
    const auto cover = client.makeWindow(kScreen, WindowKind::overrideRedirect, 0x2040);
    foreign.insert(foreign.begin(), {cover, kScreen, std::vector<std::uint32_t>(kWidth * kHeight, 0x2040)});
    client.show(cover);
    client.lower(cover);
    const auto panel = own.makeWindow({100, 80, 200, 150}, WindowKind::overrideRedirect, kOwnColor);
    ownWindows.set({.nativeId = panel, .sharing = SharingType::none, .paintedPx = {}});
    allowOtherReds();
    ASSERT_NO_FATAL_FAILURE(start());
    own.show(panel);
    std::mt19937 random(23);
    for (int round = 0; round < 4; ++round) {
        if (round % 2 == 0) {
            server.startCompositingManager();
        } else {
            server.endCompositingManager();
        }
        for (int i = 0; i < 20; ++i) {
            disturb(random);
            std::this_thread::sleep_for(std::chrono::milliseconds(3));
        }
        EXPECT_TRUE(receiver.waitForPicture(expected())) << round;
    }
    EXPECT_EQ(leaks, 0);
}

// A software cursor can make the server lose damage of what moves beneath it.
TEST_P(ChangingDesktopTest, AWindowThatMovesUnderThePointerLeavesNoTrace) {
    const auto panel = own.makeWindow({500, 20, 60, 60}, WindowKind::overrideRedirect, kOwnColor);
    ownWindows.set({.nativeId = panel, .sharing = SharingType::none, .paintedPx = {}});
    own.show(panel);
    client.movePointer(300, 200);
    ASSERT_NO_FATAL_FAILURE(start());
    auto& bounds = foreign[1].boundsPx;
    for (int i = 0; i < 40; ++i) {
        bounds.x = 160 + i * 37 % 130;
        bounds.y = 90 + i * 23 % 100;
        client.move(foreign[1].id, bounds.x, bounds.y);
        ASSERT_TRUE(receiver.waitForPicture(expected())) << i;
    }
    EXPECT_EQ(leaks, 0);
}

INSTANTIATE_TEST_SUITE_P(Desktops, ChangingDesktopTest, testing::Values(Desktop::bare),
                         [](const auto& info) { return nameOf(info.param); });

class PaintedRegionTest : public HiddenWindowsTest {};

TEST_P(PaintedRegionTest, WhatATransparentOverlayPaintsIsNeverRecorded) {
    const auto overlay = own.makeWindow(kScreen, WindowKind::argb, 0);
    std::vector<PixelRect> painted;
    const auto say = [&](std::vector<PixelRect> rects) {
        ownWindows.set({.nativeId = overlay, .sharing = SharingType::none, .paintedPx = std::move(rects)});
    };
    say({});
    own.show(overlay);
    ASSERT_NO_FATAL_FAILURE(start());
    std::mt19937 random(5);
    for (int i = 0; i < 200; ++i) {
        const PixelRect next{static_cast<int>(random() % 600), static_cast<int>(random() % 360), 30, 30};
        auto both = painted;
        both.push_back(next);
        say(both);
        for (const auto& rect : painted) own.fill(overlay, rect, 0);
        own.fill(overlay, next, kOwnColor);
        say({next});
        painted = {next};
        disturb(random);
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 8));
        if (i % 40 != 39) continue;
        ASSERT_TRUE(receiver.waitForPicture(expected())) << i;
    }
    EXPECT_EQ(leaks, 0);
    EXPECT_GT(receiver.count(), 20u);
}

INSTANTIATE_TEST_SUITE_P(Desktops, PaintedRegionTest, testing::Values(Desktop::compositingManager),
                         [](const auto& info) { return nameOf(info.param); });

}  // namespace
}  // namespace kasto
