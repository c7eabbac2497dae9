#pragma once

#include "XClient.h"
#include "base/Guarded.h"
#include "base/SerialQueue.h"
#include "linux/x11/capture/X11ScreenCapture.h"
#include "linux/x11/server/X11Displays.h"
#include "platform/OwnWindows.h"
#include "support/PrivateXServer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <random>
#include <thread>

namespace kasto::test {

using namespace x11;

Pixels toPixels(const ScreenFrame& frame);

inline void letPass(unsigned milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

// Takes the pictures of a stream, and checks that each differs from the one before only where it says so.
class StreamReceiver : public StreamOutput, public StreamDelegate {
public:
    void streamDidOutputSampleBuffer(const SampleBuffer& buffer, StreamOutputType type) override;
    void streamDidStopWithError(const Error& error) override {
        ends.with([&](auto& all) { all.push_back(error.description); });
    }

    // Waits until a picture meets the condition; false if none does within a long time.
    bool waitFor(const std::function<bool(const ScreenFrame&)>& condition) const;
    bool waitForPicture(const Pixels& expected) const;
    bool waitForEnds(std::size_t times) const;

    // Called with every picture, on the queue, before it can be waited for.
    std::function<void(const ScreenFrame&)> inspect;

    Guarded<ScreenFrame> last;
    std::atomic<std::uint64_t> count = 0;
    std::atomic<int> falseReports = 0;  // pictures that changed elsewhere, or came out of order
    Guarded<std::vector<std::string>> ends;

    // The last member, so that its jobs have ended before the others are destroyed.
    SerialQueue queue{"app.tolvane.kasto.capture", QueuePriority::userInteractive};
};

// The screen of a private server, a client that draws on it, and a stream of it.
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
    int below(int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }

    PrivateXServer server{kWidth, kHeight};
    XClient client{server.display()};
    std::unique_ptr<X11Displays> displays = X11Displays::open(server.display()).value();
    OwnWindows ownWindows;
    X11ScreenCapture capture{server.display(), *displays, ownWindows};
    StreamReceiver receiver;
    std::unique_ptr<ScreenStream> stream;
    std::mt19937 random{11};
};

}  // namespace kasto::test
