#include "linux/evdev/EvdevMultitouch.h"

#include "base/MediaClock.h"
#include "base/PollThread.h"
#include "base/Thread.h"
#include "base/log/DebugLog.h"
#include "linux/evdev/Touchpad.h"
#include "linux/evdev/TouchpadWatch.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kasto::evdev {

namespace {

// A touchpad reports changes only. Fingers that rest are repeated at this interval, so that gestures see how
// long they have been resting.
constexpr int kRepeatMs = 20;

constexpr int kReopenMs = 1000;

struct Pad {
    std::string path;
    std::unique_ptr<Touchpad> touchpad;  // null while access to it is lost
};

}  // namespace

class EvdevMultitouch::Reading : public MultitouchReading {
public:
    Reading(std::unique_ptr<TouchpadSource> source, std::vector<Pad> pads, OnFrame onFrame, PollThread thread)
        : source_(std::move(source)),
          pads_(std::move(pads)),
          touchpadCount_(pads_.size()),
          onFrame_(std::move(onFrame)),
          thread_(std::move(thread)) {
        thread_.start("touchpad", [this](const PollWaiter& waiter) { run(waiter); });
    }

    std::size_t touchpadCount() const override { return touchpadCount_; }

private:
    void run(const PollWaiter& waiter) {
        using Wake = PollWaiter::Wake;
        setThreadPriority(ThreadPriority::userInteractive);
        std::vector<int> fds;
        while (true) {
            fds.assign({source_->fd()});
            for (const auto& pad : pads_)
                if (pad.touchpad) fds.push_back(pad.touchpad->fd());
            const auto wake = waiter.wait(fds, timeoutMs());
            if (wake == Wake::stopped) return;
            if (wake == Wake::timedOut) {
                repeatRestingFingers();
                reopenLostPads();
                continue;
            }
            for (auto& pad : pads_)
                if (pad.touchpad) readFrames(pad);
            while (const auto path = source_->nextAdded()) add(*path);
        }
    }

    std::optional<int> timeoutMs() const {
        const auto hasFingers = [](const Pad& pad) { return pad.touchpad && pad.touchpad->hasFingers(); };
        if (std::ranges::any_of(pads_, hasFingers)) return kRepeatMs;
        if (std::ranges::any_of(pads_, [](const Pad& pad) { return !pad.touchpad; })) return kReopenMs;
        return std::nullopt;
    }

    void readFrames(Pad& pad) {
        if (pad.touchpad->read(onFrame_)) return;
        pad.touchpad.reset();
        onFrame_({}, mediaClockNow());
    }

    void repeatRestingFingers() {
        for (const auto& pad : pads_)
            if (pad.touchpad && pad.touchpad->hasFingers()) pad.touchpad->repeat(onFrame_);
    }

    // The session revokes access while another user's session is in front. No event tells when access is
    // back, so opening is tried again.
    void reopenLostPads() {
        for (auto& pad : pads_)
            if (!pad.touchpad) open(pad);
    }

    void add(const std::string& path) {
        const auto known = std::ranges::find(pads_, path, &Pad::path);
        if (known != pads_.end()) {
            if (!known->touchpad) open(*known);
            return;
        }
        Pad added{path, nullptr};
        if (open(added)) pads_.push_back(std::move(added));
    }

    bool open(Pad& pad) const {
        if (auto opened = source_->open(pad.path)) pad.touchpad = std::move(*opened);
        return pad.touchpad != nullptr;
    }

    const std::unique_ptr<TouchpadSource> source_;
    std::vector<Pad> pads_;
    const std::size_t touchpadCount_;
    const OnFrame onFrame_;
    PollThread thread_;
};

EvdevMultitouch::EvdevMultitouch()
    : EvdevMultitouch([]() -> std::unique_ptr<TouchpadSource> { return std::make_unique<TouchpadWatch>(); }) {
}

EvdevMultitouch::EvdevMultitouch(MakeSource makeSource) : makeSource_(std::move(makeSource)) {}

std::unique_ptr<MultitouchReading> EvdevMultitouch::read(OnFrame onFrame) {
    auto source = makeSource_();
    const auto paths = source->present();
    std::vector<Pad> pads;
    Error refusal;
    for (const auto& path : paths) {
        auto opened = source->open(path);
        if (opened)
            pads.push_back({path, std::move(*opened)});
        else
            refusal = std::move(opened.error());
    }
    if (pads.empty() && !paths.empty()) {
        DebugLog::log("no touchpad can be read, which takes 60-kasto-touchpad.rules (see the README): " +
                      refusal.description);
        return nullptr;
    }
    auto thread = PollThread::make();
    if (!thread) return nullptr;
    return std::make_unique<Reading>(std::move(source), std::move(pads), std::move(onFrame),
                                     std::move(*thread));
}

}  // namespace kasto::evdev
