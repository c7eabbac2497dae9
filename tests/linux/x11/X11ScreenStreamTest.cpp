#include "ScreenTest.h"
#include "linux/x11/capture/X11ScreenStream.h"
#include "linux/x11/server/Monitors.h"
#include "linux/x11/server/X11ScreenAccess.h"
#include "support/WaitUntil.h"

#include <xcb/xfixes.h>

namespace kasto::test {

using namespace x11;
namespace {

class X11ScreenStreamTest : public ScreenTest {};

TEST_F(X11ScreenStreamTest, SmallChangesAreReportedSmallAndNothingIsSentWhenIdleOrStopped) {
    const auto window = client.showWindow(kScreen, 0x336699);
    start();
    ASSERT_TRUE(receiver.waitForPicture(shown()));
    letPass(100);
    const auto before = receiver.count.load();
    letPass(100);
    EXPECT_EQ(receiver.count, before);
    EXPECT_FALSE(stream->startCapture().has_value());
    client.fill(window, {100, 50, 20, 10}, 0xff0000);
    ASSERT_TRUE(receiver.waitFor([&](const ScreenFrame& frame) { return frame.generation > before; }));
    EXPECT_EQ(receiver.last.copy().changedPx, (std::vector<PixelRect>{{100, 50, 20, 10}}));

    ASSERT_TRUE(stream->stopCapture().has_value());
    receiver.queue.drain();
    const auto stopped = receiver.count.load();
    client.fill(window, {100, 50, 20, 10}, 0x00ff00);
    letPass(50);
    EXPECT_EQ(receiver.count, stopped);
    ASSERT_TRUE(stream->startCapture().has_value());
    EXPECT_TRUE(receiver.waitForPicture(shown()));
    EXPECT_TRUE(X11ScreenAccess().preflight());
}

TEST_F(X11ScreenStreamTest, HeldPicturesNeverChangeOutliveTheStreamAndAreCaughtUpWith) {
    const auto window = client.showWindow(kScreen, 0x445566);
    Guarded<std::vector<std::pair<ScreenFrame, Pixels>>> held;
    receiver.inspect = [&](const ScreenFrame& frame) {
        held.with([&](auto& all) { all.emplace_back(frame, toPixels(frame)); });
    };
    auto wanted = kConfiguration;
    wanted.queueDepth = 4;
    start(wanted);
    const auto draw = [&](int i) {
        client.fill(window, {i * 10 % 600, i * 10 % 440, 25, 25}, 0xffaa00u + static_cast<unsigned>(i));
        letPass(6);
    };
    for (int i = 0; i < 500 && receiver.count < 4; ++i) draw(i);
    for (int i = 0; i < 10; ++i) draw(i);
    EXPECT_EQ(held.copy().size(), 4u);
    held.with([](auto& all) { all.resize(2, all.front()); });
    EXPECT_TRUE(receiver.waitForPicture(shown()));
    stream.reset();
    receiver.queue.drain();
    for (const auto& [frame, pixels] : held.copy()) EXPECT_EQ(toPixels(frame), pixels) << frame.generation;
    EXPECT_EQ(receiver.falseReports, 0);
}

// The screen with the cursor's image, as the server reports it, painted over it.
Pixels withCursor(const XClient& client, Pixels screen) {
    auto* c = client.raw();
    const Reply<void> version(xcb_xfixes_query_version_reply(c, xcb_xfixes_query_version(c, 5, 0), nullptr));
    const Reply<xcb_xfixes_get_cursor_image_reply_t> cursor(
        xcb_xfixes_get_cursor_image_reply(c, xcb_xfixes_get_cursor_image(c), nullptr));
    const auto* argb = xcb_xfixes_get_cursor_image_cursor_image(cursor.get());
    const PixelRect place{cursor->x - cursor->xhot, cursor->y - cursor->yhot, cursor->width, cursor->height};
    const auto seen = place.intersection({0, 0, screen.width, screen.height});
    for (int y = seen.y; y < seen.maxY(); ++y)
        for (int x = seen.x; x < seen.maxX(); ++x) {
            const auto source = argb[(y - place.y) * place.width + x - place.x];
            // The pixels of the server's own cursors are either opaque or fully transparent.
            if (source >> 24 == 255) screen.at(x, y) = source & 0xffffff;
        }
    return screen;
}

class ReadMethodTest : public X11ScreenStreamTest, public testing::WithParamInterface<ReadMethod> {};

TEST_P(ReadMethodTest, FollowsRandomDrawingPixelForPixel) {
    client.setRootColor(0x204060);
    const auto window = client.showWindow({40, 30, 500, 400}, 0x808080);
    start(std::make_unique<X11ScreenStream>(ReadSettings{.serverName = server.display(),
                                                         .display = displays->mainDisplay(),
                                                         .displayPx = kScreen,
                                                         .capturePx = kScreen,
                                                         .readMethod = GetParam()},
                                            SourceLocator(*displays, {}), 1.0 / 200, receiver));
    for (int i = 0; i <= 300; ++i) {
        if (i % 10 == 0) client.move(window, below(200) - 60, below(160) - 40);
        for (int j = below(6); j >= 0; --j)
            client.fill(window, {below(500), below(400), 1 + below(i % 3 == 0 ? 500 : 40), 1 + below(90)},
                        random() & 0xffffff);
        ASSERT_TRUE(i % 15 != 0 || receiver.waitForPicture(withCursor(client, shown()))) << i;
    }
    EXPECT_EQ(receiver.falseReports, 0);
    EXPECT_GT(receiver.count, 20u);
}

INSTANTIATE_TEST_SUITE_P(Methods, ReadMethodTest, testing::Values(ReadMethod::best, ReadMethod::imagesOnly));

TEST_F(X11ScreenStreamTest, TheCursorFollowsThePointerAndLeavesNoTrace) {
    const auto window = client.showWindow(kScreen, 0x775533);
    client.movePointer(100, 100);
    auto wanted = kConfiguration;
    wanted.showsCursor = true;
    start(wanted);
    ASSERT_TRUE(receiver.waitForPicture(withCursor(client, shown())));
    ASSERT_NE(withCursor(client, shown()), shown());

    const std::tuple<int, int, std::optional<PixelRect>> rows[] = {
        {300, 200, {}},
        {305, 204, {}},                           // over where it was
        {305, 204, PixelRect{295, 195, 12, 12}},  // drawn under it
        {0, 0, PixelRect{290, 190, 40, 40}},      // partly outside
        {kWidth - 1, kHeight - 1, {}},
        {50, 60, kScreen},
    };
    std::uint32_t color = 0x224466;
    for (const auto& [x, y, drawnMeanwhile] : rows) {
        if (drawnMeanwhile) client.fill(window, *drawnMeanwhile, color += 0x111111);
        client.movePointer(x, y);
        EXPECT_TRUE(receiver.waitForPicture(withCursor(client, shown()))) << x << "," << y;
    }

    // Another image of the cursor, at the same place.
    const auto font = xcb_generate_id(client.raw());
    const auto cursor = xcb_generate_id(client.raw());
    xcb_open_font(client.raw(), font, 6, "cursor");
    xcb_create_glyph_cursor(client.raw(), cursor, font, font, 68, 69, 65535, 0, 0, 0, 0, 65535);
    client.sync(xcb_change_window_attributes(client.raw(), window, XCB_CW_CURSOR, &cursor));
    EXPECT_TRUE(receiver.waitForPicture(withCursor(client, shown())));

    const auto before = receiver.last.copy().generation;
    client.movePointer(400, 300);
    ASSERT_TRUE(receiver.waitFor([&](const ScreenFrame& frame) { return frame.generation > before; }));
    std::int64_t changedPx = 0;
    for (const auto& rect : receiver.last.copy().changedPx) changedPx += rect.width * rect.height;
    EXPECT_LT(changedPx, 2 * 64 * 64);
    EXPECT_EQ(receiver.falseReports, 0);
}

TEST_F(X11ScreenStreamTest, RecordsThePartOfADisplayThatIsAskedFor) {
    ASSERT_EQ(server.run({"xrandr", "--setmonitor", "LEFT", "320/80x480/120+0+0", "screen"}), 0);
    ASSERT_EQ(server.run({"xrandr", "--setmonitor", "RIGHT", "319/80x480/120+320+0", "none"}), 0);
    ASSERT_TRUE(waitUntil([&] { return displays->all().size() == 2; }));
    const auto window = client.showWindow(kScreen, 0);
    for (int i = 0; i < 64; ++i)
        client.fill(window, {i * 10, 0, 10, kHeight}, 0x010204u * static_cast<unsigned>(i));
    const std::tuple<const char*, std::optional<Rect>, PixelRect> rows[] = {
        {"RIGHT", Rect{100, 50, 120, 80}, {420, 50, 120, 80}},
        {"RIGHT", {}, {320, 0, 318, 480}},  // an odd width is rounded down
        {"LEFT", Rect{0, 0, 41, 41}, {0, 0, 40, 40}},
    };
    auto wanted = kConfiguration;
    for (const auto& [display, source, recorded] : rows) {
        StreamReceiver seen;
        wanted.width = recorded.width;
        wanted.height = recorded.height;
        wanted.sourceRectPts = source;
        const auto part = capture.makeStream({displayIdOf(display), {}}, wanted, seen);
        ASSERT_TRUE(part.has_value()) << part.error().description;
        ASSERT_TRUE((*part)->addStreamOutput(seen, StreamOutputType::screen, seen.queue).has_value());
        ASSERT_TRUE((*part)->startCapture().has_value());
        EXPECT_TRUE(seen.waitForPicture(client.screen(recorded))) << display;
        for (const int x : {430, 5}) client.fill(window, {x, 60, 5, 5}, 0xffffff);
        EXPECT_TRUE(seen.waitForPicture(client.screen(recorded))) << display;
    }
    const auto refused = capture.makeStream({displayIdOf("LEFT"), {}}, kConfiguration, receiver);
    ASSERT_FALSE(refused.has_value());
    EXPECT_EQ(refused.error().description, "the screen is recorded in its own pixels: 320x480, not 640x480");
}

TEST_F(X11ScreenStreamTest, FollowsADisplayThatChangesItsSizeAndEndsWhenTheServerIsGone) {
    const auto window = client.showWindow(kScreen, 0x305070);
    start();
    const std::vector<std::string> prepare[] = {
        {"xrandr", "--newmode", "s", "20", "320", "330", "340", "350", "240", "250", "260", "270"},
        {"xrandr", "--addmode", "screen", "s"}};
    for (const auto& command : prepare) ASSERT_EQ(server.run(command), 0);
    const std::tuple<const char*, PixelRect, Rect> rows[] = {{"s", {0, 0, 320, 240}, {0, 0, 320, 240}},
                                                             {"640x480", kScreen, {}},
                                                             {"s", {0, 0, 320, 240}, {0, 0, 320, 240}}};
    for (const auto& [mode, shownPx, areaPts] : rows) {
        ASSERT_EQ(server.run({"xrandr", "--output", "screen", "--mode", mode}), 0);
        client.fill(window, {below(100), below(100), 50, 50}, random() & 0xffffff);
        ASSERT_TRUE(receiver.waitForPicture(client.screen(shownPx))) << mode;
        EXPECT_EQ(receiver.last.copy().areaPts, areaPts) << mode;
        client.fill(window, {200, 100, 9, 9}, random() & 0xffffff);
        ASSERT_TRUE(receiver.waitForPicture(client.screen(shownPx))) << mode;
    }
    EXPECT_EQ(receiver.falseReports, 0);
    EXPECT_TRUE(receiver.ends.copy().empty());
    server.kill();
    ASSERT_TRUE(receiver.waitForEnds(1));
    for (int i = 0; i < 2; ++i) EXPECT_TRUE(stream->stopCapture().has_value());
    EXPECT_EQ(receiver.ends.copy(), (std::vector<std::string>{"lost the connection to the X server"}));
    EXPECT_TRUE(capture.shareableContent().value().displays.empty());
}

TEST_F(X11ScreenStreamTest, FollowsADisplayThatMovesAndEndsWhenItIsGone) {
    // A monitor of another geometry needs the old one deleted first: the display is missing for a moment.
    const auto monitor = [&](const char* geometry) {
        server.run({"xrandr", "--delmonitor", "M"});
        EXPECT_EQ(server.run({"xrandr", "--setmonitor", "M", geometry, "screen"}), 0);
    };
    monitor("320/80x240/60+0+0");
    ASSERT_TRUE(waitUntil([&] { return displays->all()[0].boundsPts.width == 320; }));
    const auto window = client.showWindow(kScreen, 0);
    for (int i = 0; i < 64; ++i)
        client.fill(window, {i * 10, 0, 10, kHeight}, 0x010204u * static_cast<unsigned>(i));
    auto wanted = kConfiguration;
    wanted.width = wanted.height = 100;
    wanted.sourceRectPts = Rect{50, 40, 100, 100};
    start(wanted);
    ASSERT_TRUE(receiver.waitForPicture(client.screen({50, 40, 100, 100})));
    monitor("320/80x240/60+300+200");
    ASSERT_TRUE(receiver.waitForPicture(client.screen({350, 240, 100, 100})));
    EXPECT_EQ(receiver.last.copy().areaPts, (Rect{350, 240, 100, 100}));

    // A part that the display does not show makes no pictures until it is shown again.
    monitor("40/20x240/60+0+0");
    letPass(300);
    monitor("120/50x240/60+0+0");
    ASSERT_TRUE(receiver.waitForPicture(client.screen({50, 40, 70, 100})));
    EXPECT_TRUE(receiver.ends.copy().empty());
    ASSERT_EQ(server.run({"xrandr", "--delmonitor", "M"}), 0);
    ASSERT_TRUE(receiver.waitForEnds(1));
    EXPECT_EQ(receiver.ends.copy(), (std::vector<std::string>{"the display is gone"}));
}

}  // namespace
}  // namespace kasto::test
