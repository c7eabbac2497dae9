#pragma once

#include "linux/x11/capture/FollowingReader.h"
#include "platform/ScreenStream.h"

#include <condition_variable>
#include <future>
#include <mutex>
#include <thread>

namespace kasto::x11 {

// Reads the screen on a thread of its own, shortly before each tick of the encoder, and hands on each picture
// that differs from the one before. The contract is ScreenStream's.
class X11ScreenStream : public ScreenStream {
public:
    X11ScreenStream(ReadSettings settings, const SourceLocator& locator, double minimumFrameIntervalS,
                    StreamDelegate& delegate, double firstNeededS = 0);
    ~X11ScreenStream() override;

    Result<void> addStreamOutput(StreamOutput& output, StreamOutputType type, SerialQueue& queue) override;
    Result<void> startCapture() override;
    Result<void> stopCapture() override;

private:
    void run(std::promise<Result<void>> started);
    Result<void> readFirst(FollowingReader& reader);
    Result<void> readUntilStopped(FollowingReader& reader);
    void deliver(ScreenPicture picture);
    bool waitUntil(double timeS);  // false when the stream is to stop

    const ReadSettings settings_;
    const SourceLocator locator_;
    const double intervalS_;
    const double firstNeededS_;
    StreamDelegate& delegate_;
    StreamOutput* output_ = nullptr;
    SerialQueue* queue_ = nullptr;
    std::uint64_t generation_ = 0;  // used by the thread only
    std::mutex mutex_;
    std::condition_variable wake_;
    bool stopping_ = false;
    std::thread thread_;
};

}  // namespace kasto::x11
