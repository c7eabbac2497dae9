#pragma once

#include "base/Guarded.h"
#include "platform/ScreenStream.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace kasto::test {

// A screen that shows what a test feeds it. What a stream is asked for is kept here; the plain fields are to
// be set and read while no stream is being opened.
class FakeScreenCapture : public ScreenCapture {
public:
    ShareableContent content{{1}, {}};
    bool microphone = true;
    std::optional<Error> contentError;
    std::optional<Error> streamError;
    std::optional<StreamOutputType> refusedOutput;
    std::optional<Error> startError;
    std::optional<Error> stopError;
    std::optional<Error> diesAtStart;  // reports its end before the start returns

    ContentFilter filter;
    StreamConfiguration configuration;
    int streamsMade = 0;

    // Puts a buffer on the queues of the outputs of this type, while a capture runs.
    void feed(const SampleBuffer& buffer, StreamOutputType type = StreamOutputType::screen) {
        running_.with([&](Stream* stream) {
            if (stream) stream->deliver(buffer, type);
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

    Result<std::unique_ptr<ScreenStream>> makeStream(const ContentFilter& wantedFilter,
                                                     const StreamConfiguration& wanted,
                                                     StreamDelegate& delegate) override {
        if (streamError) return std::unexpected(*streamError);
        filter = wantedFilter;
        configuration = wanted;
        ++streamsMade;
        return std::make_unique<Stream>(*this, delegate);
    }

    bool deliversMicrophone() const override { return microphone; }

private:
    struct Output {
        StreamOutput* output;
        StreamOutputType type;
        SerialQueue* queue;
    };

    struct Stream : ScreenStream {
        Stream(FakeScreenCapture& ownerScreen, StreamDelegate& toTell)
            : owner(ownerScreen), delegate(toTell) {}
        ~Stream() override { leave(); }

        Result<void> addStreamOutput(StreamOutput& output, StreamOutputType type,
                                     SerialQueue& queue) override {
            if (owner.refusedOutput == type) return failure("no such output");
            outputs.push_back({&output, type, &queue});
            return {};
        }

        Result<void> startCapture() override {
            if (owner.startError) return std::unexpected(*owner.startError);
            owner.running_.set(this);
            if (owner.diesAtStart) delegate.streamDidStopWithError(*owner.diesAtStart);
            return {};
        }

        Result<void> stopCapture() override {
            leave();
            if (owner.stopError) return std::unexpected(*owner.stopError);
            return {};
        }

        void deliver(const SampleBuffer& buffer, StreamOutputType type) {
            for (const Output& to : outputs) {
                if (to.type != type) continue;
                to.queue->async([output = to.output, buffer, type] {
                    output->streamDidOutputSampleBuffer(buffer, type);
                });
            }
        }

        void leave() {
            owner.running_.with([this](Stream*& stream) {
                if (stream == this) stream = nullptr;
            });
        }

        FakeScreenCapture& owner;
        StreamDelegate& delegate;
        std::vector<Output> outputs;
    };

    Guarded<Stream*> running_{nullptr};
};

}  // namespace kasto::test
