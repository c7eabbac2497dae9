#pragma once

#include "XClient.h"
#include "base/Guarded.h"
#include "base/SerialQueue.h"
#include "platform/ScreenStream.h"

#include <atomic>
#include <functional>

namespace kasto::test {

Pixels toPixels(const ScreenFrame& frame);

// Takes the pictures of a stream and checks of each that it differs from the one before only where it says.
class StreamReceiver : public StreamOutput, public StreamDelegate {
public:
    void streamDidOutputSampleBuffer(const SampleBuffer& buffer, StreamOutputType type) override;
    void streamDidStopWithError(const Error& error) override {
        ends.with([&](auto& all) { all.push_back(error.description); });
    }

    // Waits until a picture fulfils the condition; false after a long time without one.
    bool waitFor(const std::function<bool(const ScreenFrame&)>& condition) const;
    bool waitForPicture(const Pixels& expected) const;
    bool waitForEnds(std::size_t times) const;

    // Sees every picture, on the queue, before it can be waited for.
    std::function<void(const ScreenFrame&)> inspect;

    Guarded<ScreenFrame> last;
    std::atomic<std::uint64_t> count = 0;
    std::atomic<int> falseReports = 0;  // pictures that changed elsewhere, or came out of order
    Guarded<std::vector<std::string>> ends;

    // Last, so that it has run dry before the rest goes.
    SerialQueue queue{"app.tolvane.kasto.capture", QueuePriority::userInteractive};
};

}  // namespace kasto::test
