#include "StreamReceiver.h"
#include "XClient.h"
#include "base/AppIdentity.h"
#include "linux/x11/X11Displays.h"
#include "linux/x11/X11ScreenCapture.h"
#include "platform/OwnWindows.h"
#include "support/PrivateXServer.h"

#include <gtest/gtest.h>

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

TEST_F(X11ScreenStreamTest, FollowsRandomDrawingPixelForPixel) {
    client.setRootColor(0x204060);
    const auto window = client.makeWindow({40, 30, 500, 400}, WindowKind::overrideRedirect, 0x808080);
    client.show(window);
    ASSERT_TRUE(start(configuration()).has_value());
    ASSERT_TRUE(receiver.waitForPicture(client.screen(kScreen)));

    std::mt19937 random(7);
    const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    for (int i = 0; i < 300; ++i) {
        if (i % 10 == 0) client.move(window, below(200) - 60, below(160) - 40);
        for (int j = below(6); j >= 0; --j)
            client.fill(window, {below(500), below(400), 1 + below(i % 3 == 0 ? 500 : 40), 1 + below(90)},
                        random() & 0xffffff);
        if (i % 15 != 0) continue;
        ASSERT_TRUE(receiver.waitForPicture(client.screen(kScreen))) << i;
    }
    ASSERT_TRUE(receiver.waitForPicture(client.screen(kScreen)));
    EXPECT_EQ(receiver.falseReports(), 0u);
    EXPECT_GT(receiver.count(), 20u);
}

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
    for (int i = 0; i < 40; ++i) {
        client.fill(window, {i * 10, i * 10, 25, 25}, 0xffaa00u + static_cast<unsigned>(i));
        std::this_thread::sleep_for(std::chrono::milliseconds(6));
    }
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

}  // namespace
}  // namespace kasto
