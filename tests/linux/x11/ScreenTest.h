#pragma once

#include "StreamReceiver.h"
#include "linux/x11/X11Displays.h"
#include "linux/x11/X11ScreenCapture.h"
#include "platform/OwnWindows.h"
#include "support/PrivateXServer.h"

#include <gtest/gtest.h>

namespace kasto::test {

// The screen of a private server, somebody who draws on it, and a stream of it.
class ScreenTest : public testing::Test {
protected:
    static constexpr int kWidth = 640;
    static constexpr int kHeight = 480;
    static constexpr PixelRect kScreen{0, 0, kWidth, kHeight};
    static constexpr StreamConfiguration kConfiguration{.width = kWidth,
                                                        .height = kHeight,
                                                        .minimumFrameIntervalS = 1.0 / 240,
                                                        .showsCursor = false,
                                                        .sourceRectPts = {}};

    ~ScreenTest() override { stream.reset(); }

    void start(std::unique_ptr<ScreenStream> made) {
        stream = std::move(made);
        ASSERT_TRUE(stream->addStreamOutput(receiver, StreamOutputType::screen, receiver.queue).has_value());
        const auto started = stream->startCapture();
        ASSERT_TRUE(started.has_value()) << started.error().description;
    }
    void start(const StreamConfiguration& wanted = kConfiguration,
               const std::vector<RunningApplication>& excluded = {}) {
        auto made = capture.makeStream({displays->mainDisplay(), excluded}, wanted, receiver);
        ASSERT_TRUE(made.has_value()) << made.error().description;
        start(std::move(*made));
    }
    Pixels shown() const { return client.screen(kScreen); }

    PrivateXServer server{kWidth, kHeight};
    XClient client{server.display()};
    std::unique_ptr<X11Displays> displays = X11Displays::open(server.display()).value();
    OwnWindows ownWindows;
    X11ScreenCapture capture{server.display(), *displays, ownWindows};
    StreamReceiver receiver;
    std::unique_ptr<ScreenStream> stream;
};

}  // namespace kasto::test
