#pragma once

#include "base/Guarded.h"
#include "platform/ScreenStream.h"

#include <functional>
#include <map>

namespace kasto::test {

// A screen that shows what a test feeds it. The plain fields are to be set and read while no stream is being
// opened.
class FakeScreenCapture : public ScreenCapture {
public:
    ShareableContent content{{1}, {}};
    bool microphone = true;
    std::optional<Error> contentError, streamError, startError;
    std::optional<Error> diesAtStart;  // reports its end before the start returns

    int streamsMade = 0;
    Guarded<ContentFilter> filter;  // of the newest stream

    // Puts a buffer on the queue of the output of this type, while a capture runs.
    void feed(const SampleBuffer& buffer, StreamOutputType type = StreamOutputType::screen) {
        running_.with([&](Stream* stream) {
            if (stream && stream->outputs.contains(type)) stream->outputs[type](buffer);
        });
    }

    // Ends the running stream as if by itself, on the calling thread.
    void die(const Error& error) {
        running_.with([&](Stream* stream) {
            if (stream) stream->delegate.streamDidStopWithError(error);
        });
    }

    bool isCapturing() const { return running_.copy() != nullptr; }

    Result<ShareableContent> shareableContent() override {
        if (contentError) return std::unexpected(*contentError);
        return content;
    }
    Result<std::unique_ptr<ScreenStream>> makeStream(const ContentFilter& wanted, const StreamConfiguration&,
                                                     StreamDelegate& delegate) override {
        filter.set(wanted);
        if (streamError) return std::unexpected(*streamError);
        ++streamsMade;
        return std::make_unique<Stream>(*this, delegate);
    }
    bool deliversMicrophone() const override { return microphone; }

private:
    struct Stream : ScreenStream {
        Stream(FakeScreenCapture& screen, StreamDelegate& toTell) : owner(screen), delegate(toTell) {}
        ~Stream() override { (void)stopCapture(); }

        Result<void> addStreamOutput(StreamOutput& output, StreamOutputType type,
                                     SerialQueue& queue) override {
            outputs[type] = [&output, &queue, type](const SampleBuffer& buffer) {
                queue.async([&output, buffer, type] { output.streamDidOutputSampleBuffer(buffer, type); });
            };
            return {};
        }
        Result<void> startCapture() override {
            if (owner.startError) return std::unexpected(*owner.startError);
            owner.running_.set(this);
            if (owner.diesAtStart) delegate.streamDidStopWithError(*owner.diesAtStart);
            return {};
        }
        Result<void> stopCapture() override {
            owner.running_.with([this](Stream*& stream) {
                if (stream == this) stream = nullptr;
            });
            return {};
        }

        FakeScreenCapture& owner;
        StreamDelegate& delegate;
        std::map<StreamOutputType, std::function<void(const SampleBuffer&)>> outputs;
    };

    Guarded<Stream*> running_{nullptr};
};

}  // namespace kasto::test
