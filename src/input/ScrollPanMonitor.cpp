#include "input/ScrollPanMonitor.h"

#include "base/log/DebugLog.h"
#include "options/Prefs.h"

#include <utility>

namespace kasto {

namespace {

constexpr double kScrollPanGain = 1.6;
constexpr double kZoomLogPerNotch = 0.22314355131420976;  // ln 1.25

// Applies scrolls to the model, and logs the first of each kind. One for each start.
struct ScrollGestures {
    CaptureModel& model;
    bool loggedPan = false;
    bool loggedZoom = false;

    void apply(const ScrollEvent& scroll) {
        if (!scroll.option || scroll.command) return;
        if (!scroll.control) {
            pan(scroll.deltaPts);
        } else if (!scroll.fn) {
            zoom(scroll.deltaPts.dy / ScrollEvent::kPtsPerNotch);
        }
    }

    void pan(Vector deltaPts) {
        if (!std::exchange(loggedPan, true)) DebugLog::log("opt-scroll pan applied");
        const double gain = Prefs::invertPan() ? kScrollPanGain : -kScrollPanGain;
        model.pan({gain * deltaPts.dx, gain * deltaPts.dy});
    }

    void zoom(double notches) {
        if (notches == 0) return;
        if (!std::exchange(loggedZoom, true)) DebugLog::log("ctrl-opt scroll zoom applied");
        model.zoom(kZoomLogPerNotch * notches);
    }
};

}  // namespace

ScrollPanMonitor::ScrollPanMonitor(CaptureModel& model, const PointerInput& pointer)
    : model_(model), pointer_(pointer) {}

void ScrollPanMonitor::start() {
    stop();
    monitor_ = pointer_.monitorScroll([gestures = std::make_shared<ScrollGestures>(model_)](
                                          const ScrollEvent& scroll) { gestures->apply(scroll); });
}

void ScrollPanMonitor::stop() { monitor_.reset(); }

}  // namespace kasto
