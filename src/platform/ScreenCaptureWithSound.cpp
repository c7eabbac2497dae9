#include "platform/ScreenCaptureWithSound.h"

#include "base/log/DebugLog.h"

#include <utility>
#include <vector>

namespace kasto {

namespace {

class StreamWithSound final : public ScreenStream {
public:
    StreamWithSound(std::unique_ptr<ScreenStream> screen, SoundCapture& sound,
                    const StreamConfiguration& configuration)
        : screen_(std::move(screen)), sound_(sound), configuration_(configuration) {}
    ~StreamWithSound() override { runs_.clear(); }

    Result<void> addStreamOutput(StreamOutput& output, StreamOutputType type, SerialQueue& queue) override {
        if (type == StreamOutputType::screen) return screen_->addStreamOutput(output, type, queue);
        outputs_.push_back({&output, type, &queue});
        return {};
    }

    Result<void> startCapture() override {
        auto started = screen_->startCapture();
        if (!started) return started;
        for (const auto& [output, type, queue] : outputs_) {
            if (!captures(type)) continue;
            if (auto run = sound_.start(type, *output, *queue))
                runs_.push_back(std::move(*run));
            else
                DebugLog::log("take without this sound: " + run.error().description);
        }
        return {};
    }

    Result<void> stopCapture() override {
        runs_.clear();
        return screen_->stopCapture();
    }

private:
    struct Output {
        StreamOutput* output;
        StreamOutputType type;
        SerialQueue* queue;
    };

    bool captures(StreamOutputType type) const {
        return type == StreamOutputType::audio ? configuration_.capturesAudio
                                               : configuration_.capturesMicrophone;
    }

    const std::unique_ptr<ScreenStream> screen_;
    SoundCapture& sound_;
    const StreamConfiguration configuration_;
    std::vector<Output> outputs_;
    std::vector<std::unique_ptr<SoundRun>> runs_;
};

}  // namespace

Result<std::unique_ptr<ScreenStream>> ScreenCaptureWithSound::makeStream(
    const ContentFilter& filter, const StreamConfiguration& configuration, StreamDelegate& delegate) {
    auto screen = screen_.makeStream(filter, configuration, delegate);
    if (!screen) return screen;
    return std::make_unique<StreamWithSound>(std::move(*screen), sound_, configuration);
}

}  // namespace kasto
