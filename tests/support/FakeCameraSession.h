#pragma once

#include "base/Guarded.h"
#include "platform/CameraSession.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kasto::test {

// Cameras as a test lists them; the first one is the default. Set up before use from other threads.
class FakeCameraSession : public CameraSession {
public:
    std::vector<CameraDevice> cameras;
    CameraAccess granted = CameraAccess::authorised;
    std::function<void(bool granted)> answer;  // to the newest request

    CameraAccess access() const override { return granted; }
    void requestAccess(std::function<void(bool granted)> wanted) override { answer = std::move(wanted); }
    std::vector<CameraDevice> devices() const override { return cameras; }
    std::optional<CameraDevice> defaultDevice() const override {
        return cameras.empty() ? std::nullopt : std::optional(cameras.front());
    }
    Result<std::unique_ptr<CameraRun>> run(const std::string& deviceId, SerialQueue& queue,
                                           FrameHandler onFrame) override {
        if (std::ranges::find(unusable, deviceId) != unusable.end()) return failure("no such format");
        running_->set({deviceId, &queue, std::move(onFrame)});
        return std::make_unique<Run>(running_);
    }

    std::vector<std::string> unusable;  // ids of cameras that cannot be opened

    // The camera that runs, empty when none does.
    std::string running() const { return running_->copy().id; }

    // Delivers what the running camera sees, or that it is gone.
    void feed(const PixelBufferRef& frame) const {
        const auto now = running_->copy();
        if (now.queue) now.queue->async([now, frame] { now.onFrame(frame); });
    }

private:
    struct Running {
        std::string id;
        SerialQueue* queue = nullptr;
        FrameHandler onFrame;
    };
    struct Run : CameraRun {
        explicit Run(std::shared_ptr<Guarded<Running>> running) : running_(std::move(running)) {}
        ~Run() override { running_->set({}); }
        std::shared_ptr<Guarded<Running>> running_;
    };
    std::shared_ptr<Guarded<Running>> running_ = std::make_shared<Guarded<Running>>();
};

}  // namespace kasto::test
