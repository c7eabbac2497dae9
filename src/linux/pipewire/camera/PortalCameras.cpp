#include "linux/pipewire/camera/PortalCameras.h"

#include "base/Guarded.h"
#include "base/log/DebugLog.h"

#include <utility>
#include <vector>

namespace kasto::pipewire {

// Carries out the steps that the header lists. The callbacks of the connections and the portal hold it
// weakly.
class PortalCameras::Asking : public std::enable_shared_from_this<Asking> {
    // A callback that runs `step`, unless this has been destroyed.
    template <class Step>
    auto step(Step step) {
        return [weak = weak_from_this(), step = std::move(step)](auto&&... what) {
            if (const auto alive = weak.lock()) step(std::forward<decltype(what)>(what)...);
        };
    }

public:
    Asking(PipeWireConnection& direct, CameraPortal& portal) : direct_(direct), portal_(portal) {}

    // The remote connection while it exists, else null. Main thread.
    void setRemote(PipeWireConnection* remote) { remote_ = remote; }

    CameraAccess access() const {
        return state_.with([](const State& state) { return state.access; });
    }

    // Requests that come while another one is being answered get the same answer.
    void begin(std::function<void(bool)> answer) {
        const bool isFirst = state_.with([&](State& state) {
            state.waiting.push_back(std::move(answer));
            return state.waiting.size() == 1;
        });
        if (!isFirst) return;
        const auto held = direct_.lock();
        direct_.whenKnown(step([this] {
            if (!PipeWireCameras(direct_).devices().empty()) return finish(true);
            portal_.askForPresence(step([this](bool mayBePresent) { learnPresence(mayBePresent); }));
        }));
    }

    void openRemote() {
        if (access() != CameraAccess::authorised) return;
        portal_.openRemote(step([this](Result<FileDescriptor> server) {
            if (!server) return complain(server.error().description);
            said_.clear();
            if (!remote_) return;
            const auto held = remote_->lock();
            remote_->connectOver(std::move(*server));
        }));
    }

private:
    struct State {
        CameraAccess access = CameraAccess::notDetermined;
        std::vector<std::function<void(bool)>> waiting;
    };

    void learnPresence(bool mayBePresent) {
        if (!mayBePresent) return finish(true);
        portal_.requestAccess(step([this](CameraPortal::Answer answer) { learnAnswer(answer); }));
    }

    void learnAnswer(CameraPortal::Answer answer) {
        switch (answer) {
            case CameraPortal::Answer::granted:
                return lookAtRemote();
            case CameraPortal::Answer::denied:
                return finish(false, CameraAccess::denied);
            case CameraPortal::Answer::restricted:
                return finish(false, CameraAccess::restricted);
            case CameraPortal::Answer::failed:
                return finish(true);
        }
    }

    void lookAtRemote() {
        if (!remote_) return;
        state_.with([](State& state) { state.access = CameraAccess::authorised; });
        // Taking its lock for the first time makes it ask for a server.
        const auto held = remote_->lock();
        remote_->whenKnown(step([this] { finish(true); }));
    }

    void finish(bool isGranted, std::optional<CameraAccess> access = {}) {
        const auto waiting = state_.with([&](State& state) {
            if (access) state.access = *access;
            return std::exchange(state.waiting, {});
        });
        for (const auto& answer : waiting) answer(isGranted);
    }

    // The same line only once, because a server that is down is asked for every second.
    void complain(const std::string& what) {
        if (std::exchange(said_, what) != what) DebugLog::log(what);
    }

    PipeWireConnection& direct_;
    CameraPortal& portal_;
    Guarded<State> state_;

    // Used on the main thread only.
    PipeWireConnection* remote_ = nullptr;
    std::string said_;
};

PortalCameras::PortalCameras(PipeWireConnection& direct, CameraPortal& portal)
    : direct_(direct),
      asking_(std::make_shared<Asking>(direct, portal)),
      remote_([this] { asking_->openRemote(); }) {
    asking_->setRemote(&remote_);
}

PortalCameras::~PortalCameras() { asking_->setRemote(nullptr); }

CameraAccess PortalCameras::access() const {
    return direct_.devices().empty() ? asking_->access() : CameraAccess::authorised;
}

void PortalCameras::requestAccess(std::function<void(bool granted)> answer) {
    asking_->begin(std::move(answer));
}

bool PortalCameras::isLent() const {
    return asking_->access() == CameraAccess::authorised && direct_.devices().empty();
}

std::vector<CameraDevice> PortalCameras::devices() const {
    return isLent() ? lent_.devices() : direct_.devices();
}

std::optional<CameraDevice> PortalCameras::defaultDevice() const {
    return isLent() ? lent_.defaultDevice() : direct_.defaultDevice();
}

Result<std::unique_ptr<CameraRun>> PortalCameras::run(const std::string& deviceId, SerialQueue& queue,
                                                      FrameHandler onFrame) {
    return isLent() ? lent_.run(deviceId, queue, std::move(onFrame))
                    : direct_.run(deviceId, queue, std::move(onFrame));
}

}  // namespace kasto::pipewire
