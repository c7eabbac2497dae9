#include "StreamReceiver.h"
#include "XClient.h"
#include "base/AppIdentity.h"
#include "linux/x11/Monitors.h"
#include "linux/x11/X11Displays.h"
#include "linux/x11/X11ScreenAccess.h"
#include "linux/x11/X11ScreenCapture.h"
#include "linux/x11/X11ScreenStream.h"
#include "platform/OwnWindows.h"
#include "support/PrivateXServer.h"

#include <gtest/gtest.h>
#include <xcb/xfixes.h>

#include <cstdlib>
#include <memory>
#include <mutex>
#include <random>
#include <thread>

namespace kasto {
namespace {

using test::Pixels;
using test::PrivateXServer;
using test::StreamReceiver;
using test::toPixels;
using test::WindowKind;
using test::XClient;

class X11ScreenStreamTest : public testing::Test {
protected:
    static constexpr int kWidth = 640;
    static constexpr int kHeight = 480;
    static constexpr PixelRect kScreen{0, 0, kWidth, kHeight};

    X11ScreenStreamTest() {
        auto opened = X11Displays::open(server.display());
        if (opened) displays = std::move(*opened);
    }

    StreamConfiguration configuration() const {
        StreamConfiguration made;
        made.width = kWidth;
        made.height = kHeight;
        made.minimumFrameIntervalS = 1.0 / 200;
        made.showsCursor = false;
        return made;
    }

    Result<void> start(const StreamConfiguration& wanted) {
        X11ScreenCapture capture(server.display(), *displays, ownWindows);
        auto made = capture.makeStream({.display = displays->mainDisplay(), .excludedApplications = {}},
                                       wanted, receiver);
        if (!made) return std::unexpected(made.error());
        stream = std::move(*made);
        if (auto added = stream->addStreamOutput(receiver, StreamOutputType::screen, receiver.queue); !added)
            return added;
        return stream->startCapture();
    }

    PrivateXServer server{kWidth, kHeight};
    XClient client{server.display()};
    OwnWindows ownWindows;
    std::unique_ptr<X11Displays> displays;
    StreamReceiver receiver;
    std::unique_ptr<ScreenStream> stream;
};

TEST_F(X11ScreenStreamTest, SmallChangesAreReportedSmallAndNothingIsSentWhenIdle) {
    const auto window = client.makeWindow(kScreen, WindowKind::overrideRedirect, 0x336699);
    client.show(window);
    ASSERT_TRUE(start(configuration()).has_value());
    ASSERT_TRUE(receiver.waitForPicture(client.screen(kScreen)));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const auto before = receiver.count();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(receiver.count(), before);
    client.fill(window, {100, 50, 20, 10}, 0xff0000);
    ASSERT_TRUE(receiver.waitFor([&](const ScreenFrame& frame) { return frame.generation > before; }));
    EXPECT_EQ(receiver.last().changedPx, (std::vector<PixelRect>{{100, 50, 20, 10}}));
}

TEST_F(X11ScreenStreamTest, HeldPicturesNeverChangeAndOutliveTheStream) {
    const auto window = client.makeWindow(kScreen, WindowKind::overrideRedirect, 0x112233);
    client.show(window);
    std::vector<std::pair<ScreenFrame, Pixels>> held;  // the queue's own until the stream has stopped
    receiver.setInspect([&](const ScreenFrame& frame) {
        if (held.size() < 5) held.emplace_back(frame, toPixels(frame));
    });
    ASSERT_TRUE(start(configuration()).has_value());
    for (int i = 0; i < 60; ++i) {
        client.fill(window, {i * 7 % 600, i * 5 % 440, 30, 30}, 0x010305u * static_cast<unsigned>(i + 1));
        std::this_thread::sleep_for(std::chrono::milliseconds(4));
    }
    // With all but a few pictures held the newest still comes through.
    ASSERT_TRUE(receiver.waitForPicture(client.screen(kScreen)));
    ASSERT_TRUE(stream->stopCapture().has_value());
    stream.reset();
    receiver.queue.drain();
    ASSERT_EQ(held.size(), 5u);
    for (const auto& [frame, pixels] : held) EXPECT_EQ(toPixels(frame), pixels) << frame.generation;
}

TEST_F(X11ScreenStreamTest, CatchesUpAfterEveryPictureWasHeld) {
    const auto window = client.makeWindow(kScreen, WindowKind::overrideRedirect, 0x445566);
    client.show(window);
    std::mutex mutex;
    std::vector<ScreenFrame> held;
    receiver.setInspect([&](const ScreenFrame& frame) {
        const std::scoped_lock locked(mutex);
        held.push_back(frame);
    });
    auto wanted = configuration();
    wanted.queueDepth = 4;
    ASSERT_TRUE(start(wanted).has_value());
    const auto draw = [&](int i) {
        client.fill(window, {i * 10 % 600, i * 10 % 440, 25, 25}, 0xffaa00u + static_cast<unsigned>(i));
        std::this_thread::sleep_for(std::chrono::milliseconds(6));
    };
    for (int i = 0; i < 500 && receiver.count() < 4; ++i) draw(i);
    for (int i = 0; i < 10; ++i) draw(i);
    {
        const std::scoped_lock locked(mutex);
        EXPECT_EQ(held.size(), 4u);
        held.clear();
    }
    EXPECT_TRUE(receiver.waitForPicture(client.screen(kScreen)));
    stream.reset();
    receiver.queue.drain();
    held.clear();
    EXPECT_EQ(receiver.falseReports(), 0u);
}

// The cursor over the clean screen, as the server tells its image.
Pixels withCursor(const XClient& client, Pixels screen) {
    auto* c = client.raw();
    std::free(xcb_xfixes_query_version_reply(c, xcb_xfixes_query_version(c, 5, 0), nullptr));
    const std::unique_ptr<xcb_xfixes_get_cursor_image_reply_t, decltype(&std::free)> cursor(
        xcb_xfixes_get_cursor_image_reply(c, xcb_xfixes_get_cursor_image(c), nullptr), std::free);
    const auto* argb = xcb_xfixes_get_cursor_image_cursor_image(cursor.get());
    for (int y = 0; y < cursor->height; ++y) {
        for (int x = 0; x < cursor->width; ++x) {
            const auto source = argb[y * cursor->width + x];
            const int sx = cursor->x - cursor->xhot + x;
            const int sy = cursor->y - cursor->yhot + y;
            // The server's own cursors are either opaque or not there at a pixel.
            if (source >> 24 != 255 || sx < 0 || sy < 0 || sx >= screen.width || sy >= screen.height)
                continue;
            screen.rgb[static_cast<std::size_t>(sy * screen.width + sx)] = source & 0xffffff;
        }
    }
    return screen;
}

class ReadWayTest : public X11ScreenStreamTest, public testing::WithParamInterface<x11::ReadWay> {};

TEST_P(ReadWayTest, FollowsRandomDrawingPixelForPixel) {
    client.setRootColor(0x204060);
    const auto window = client.makeWindow({40, 30, 500, 400}, WindowKind::overrideRedirect, 0x808080);
    client.show(window);
    const x11::GrabSettings settings{.serverName = server.display(),
                                     .display = displays->mainDisplay(),
                                     .displayPx = kScreen,
                                     .capturePx = kScreen,
                                     .readWay = GetParam()};
    stream = std::make_unique<X11ScreenStream>(settings, 1.0 / 200, receiver);
    ASSERT_TRUE(stream->addStreamOutput(receiver, StreamOutputType::screen, receiver.queue).has_value());
    ASSERT_TRUE(stream->startCapture().has_value());
    ASSERT_TRUE(receiver.waitForPicture(withCursor(client, client.screen(kScreen))));

    std::mt19937 random(7);
    const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    for (int i = 0; i < 300; ++i) {
        if (i % 10 == 0) client.move(window, below(200) - 60, below(160) - 40);
        for (int j = below(6); j >= 0; --j)
            client.fill(window, {below(500), below(400), 1 + below(i % 3 == 0 ? 500 : 40), 1 + below(90)},
                        random() & 0xffffff);
        if (i % 15 != 0) continue;
        ASSERT_TRUE(receiver.waitForPicture(withCursor(client, client.screen(kScreen)))) << i;
    }
    ASSERT_TRUE(receiver.waitForPicture(withCursor(client, client.screen(kScreen))));
    EXPECT_EQ(receiver.falseReports(), 0u);
    EXPECT_GT(receiver.count(), 20u);
}

INSTANTIATE_TEST_SUITE_P(Ways, ReadWayTest, testing::Values(x11::ReadWay::best, x11::ReadWay::images),
                         [](const auto& info) {
                             return info.param == x11::ReadWay::best ? "Best" : "Images";
                         });

TEST_F(X11ScreenStreamTest, TheCursorFollowsThePointerAndLeavesNoTrace) {
    const auto window = client.makeWindow(kScreen, WindowKind::overrideRedirect, 0x775533);
    client.show(window);
    client.movePointer(100, 100);
    auto wanted = configuration();
    wanted.showsCursor = true;
    ASSERT_TRUE(start(wanted).has_value());
    ASSERT_TRUE(receiver.waitForPicture(withCursor(client, client.screen(kScreen))));
    ASSERT_NE(toPixels(receiver.last()), client.screen(kScreen));

    const struct {
        int x, y;
        std::optional<PixelRect> drawnMeanwhile;
    } rows[] = {
        {300, 200, {}},
        {305, 204, {}},                           // over where it was
        {305, 204, PixelRect{295, 195, 12, 12}},  // drawn beneath it
        {0, 0, PixelRect{290, 190, 40, 40}},      // partly outside
        {kWidth - 1, kHeight - 1, {}},
        {50, 60, PixelRect{0, 0, kWidth, kHeight}},
    };
    std::uint32_t color = 0x224466;
    for (const auto& row : rows) {
        if (row.drawnMeanwhile) client.fill(window, *row.drawnMeanwhile, color += 0x111111);
        client.movePointer(row.x, row.y);
        EXPECT_TRUE(receiver.waitForPicture(withCursor(client, client.screen(kScreen))))
            << row.x << "," << row.y;
    }

    // Another image of the cursor, at the same place.
    const auto font = xcb_generate_id(client.raw());
    const auto cursor = xcb_generate_id(client.raw());
    xcb_open_font(client.raw(), font, 6, "cursor");
    xcb_create_glyph_cursor(client.raw(), cursor, font, font, 68, 69, 65535, 0, 0, 0, 0, 65535);
    xcb_change_window_attributes(client.raw(), window, XCB_CW_CURSOR, &cursor);
    client.sync();
    EXPECT_TRUE(receiver.waitForPicture(withCursor(client, client.screen(kScreen))));

    const auto before = receiver.last();
    client.movePointer(400, 300);
    ASSERT_TRUE(receiver.waitFor([&](const auto& frame) { return frame.generation > before.generation; }));
    std::int64_t changedPx = 0;
    for (const auto& rect : receiver.last().changedPx) changedPx += rect.width * rect.height;
    EXPECT_LT(changedPx, 2 * 64 * 64);
    EXPECT_EQ(receiver.falseReports(), 0u);
}

TEST_F(X11ScreenStreamTest, RecordsThePartOfADisplayThatIsAskedFor) {
    ASSERT_EQ(server.run({"xrandr", "--setmonitor", "LEFT", "320/80x480/120+0+0", "screen"}), 0);
    ASSERT_EQ(server.run({"xrandr", "--setmonitor", "RIGHT", "319/80x480/120+320+0", "none"}), 0);
    displays = std::move(*X11Displays::open(server.display()));
    const auto window = client.makeWindow(kScreen, WindowKind::overrideRedirect, 0);
    client.show(window);
    for (int i = 0; i < 64; ++i)
        client.fill(window, {i * 10, 0, 10, kHeight}, 0x010204u * static_cast<unsigned>(i));
    X11ScreenCapture capture(server.display(), *displays, ownWindows);
    const struct {
        const char* display;
        std::optional<Rect> source;
        int width, height;
        PixelRect shown;
    } rows[] = {
        {"RIGHT", Rect{100, 50, 120, 80}, 120, 80, {420, 50, 120, 80}},
        {"RIGHT", {}, 318, 480, {320, 0, 318, 480}},  // an odd width loses its last column
        {"LEFT", Rect{0, 0, 41, 41}, 40, 40, {0, 0, 40, 40}},
    };
    for (const auto& row : rows) {
        StreamReceiver seen;
        auto wanted = configuration();
        wanted.width = row.width;
        wanted.height = row.height;
        wanted.sourceRectPts = row.source;
        const auto part = capture.makeStream({x11::displayIdOf(row.display), {}}, wanted, seen);
        ASSERT_TRUE(part.has_value()) << part.error().description;
        ASSERT_TRUE((*part)->addStreamOutput(seen, StreamOutputType::screen, seen.queue).has_value());
        ASSERT_TRUE((*part)->startCapture().has_value());
        EXPECT_TRUE(seen.waitForPicture(client.screen(row.shown))) << row.display;
        client.fill(window, {430, 60, 5, 5}, 0xffffff);
        client.fill(window, {5, 5, 5, 5}, 0xffffff);
        EXPECT_TRUE(seen.waitForPicture(client.screen(row.shown))) << row.display;
    }
    auto wrong = configuration();
    wrong.width = 200;
    const auto refused = capture.makeStream({x11::displayIdOf("LEFT"), {}}, wrong, receiver);
    ASSERT_FALSE(refused.has_value());
    EXPECT_EQ(refused.error().description, "the screen is recorded in its own pixels: 320x480, not 200x480");
}

TEST_F(X11ScreenStreamTest, EndsOnceByItselfWhenTheDisplayChanges) {
    ASSERT_TRUE(start(configuration()).has_value());
    ASSERT_EQ(server.run({"xrandr", "--newmode", "small", "20", "320", "330", "340", "350", "240", "250",
                          "260", "270"}),
              0);
    ASSERT_EQ(server.run({"xrandr", "--addmode", "screen", "small"}), 0);
    EXPECT_TRUE(receiver.ends().empty());
    ASSERT_EQ(server.run({"xrandr", "--output", "screen", "--mode", "small"}), 0);
    ASSERT_TRUE(receiver.waitForEnd());
    EXPECT_TRUE(stream->stopCapture().has_value());
    EXPECT_TRUE(stream->stopCapture().has_value());
    EXPECT_EQ(receiver.ends(), std::vector<std::string>{"the display changed its resolution"});
}

TEST_F(X11ScreenStreamTest, EndsOnceByItselfWhenTheServerGoes) {
    ASSERT_TRUE(start(configuration()).has_value());
    receiver.queue.drain();
    server.kill();
    ASSERT_TRUE(receiver.waitForEnd());
    EXPECT_TRUE(stream->stopCapture().has_value());
    EXPECT_EQ(receiver.ends(), std::vector<std::string>{"lost the connection to the X server"});
    EXPECT_EQ(receiver.last().pixels->width(), kWidth);

    X11ScreenCapture capture(server.display(), *displays, ownWindows);
    const auto content = capture.shareableContent();
    ASSERT_FALSE(content.has_value());
    EXPECT_EQ(content.error().description, "the X server has no display, or is gone");
}

TEST_F(X11ScreenStreamTest, StopsAndStartsAgain) {
    ASSERT_TRUE(start(configuration()).has_value());
    EXPECT_FALSE(stream->startCapture().has_value());
    ASSERT_TRUE(stream->stopCapture().has_value());
    receiver.queue.drain();
    const auto before = receiver.count();
    client.setRootColor(0x00ff00);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(receiver.count(), before);
    ASSERT_TRUE(stream->startCapture().has_value());
    EXPECT_TRUE(receiver.waitForPicture(client.screen(kScreen)));
    EXPECT_TRUE(receiver.ends().empty());
    const X11ScreenAccess access;
    EXPECT_TRUE(access.preflight());
}

}  // namespace
}  // namespace kasto
