#pragma once

#include "XClient.h"
#include "base/SerialQueue.h"
#include "platform/ScreenStream.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace kasto::test {

Pixels toPixels(const ScreenFrame& frame);

// Takes the pictures of a stream and checks of each that it differs from the one before only where it says.
class StreamReceiver : public StreamOutput, public StreamDelegate {
public:
    void streamDidOutputSampleBuffer(const SampleBuffer& buffer, StreamOutputType type) override;
    void streamDidStopWithError(const Error& error) override;

    // Sees every picture, on the queue, before it can be waited for.
    void setInspect(std::function<void(const ScreenFrame&)> inspect) { inspect_ = std::move(inspect); }

    // Waits until a picture fulfils the condition; false after a long time without one.
    bool waitFor(const std::function<bool(const ScreenFrame&)>& condition);
    bool waitForPicture(const Pixels& expected);
    bool waitForEnd();

    ScreenFrame last();
    std::uint64_t count();
    std::vector<std::string> ends();
    std::uint64_t falseReports();  // pictures that changed elsewhere, or came out of order

private:
    static bool tellsItsChanges(const ScreenFrame& before, const ScreenFrame& after);

    std::function<void(const ScreenFrame&)> inspect_;
    std::mutex mutex_;
    std::condition_variable changed_;
    ScreenFrame last_;
    std::uint64_t count_ = 0;
    std::uint64_t falseReports_ = 0;
    std::vector<std::string> ends_;

public:
    // Last, so that it has run dry before the rest goes.
    SerialQueue queue{"app.tolvane.kasto.capture", QueuePriority::userInteractive};
};

}  // namespace kasto::test
