#include "input/TouchPadZoomPan.h"

#include "base/NumberText.h"
#include "base/log/DebugLog.h"
#include "input/ContactRecords.h"
#include "options/Prefs.h"

#include <cmath>
#include <string>
#include <utility>

namespace kasto {

namespace {

constexpr int kDebugFrames = 3;
constexpr double kPanGain = 0.9;  // of the display's width
constexpr double kPanDamping = 0.25;
constexpr double kDampingZoomStep = 0.02;
constexpr double kTwoFingerZoomGain = 1.15;

void logOnce(bool& logged, const char* line) {
    if (!std::exchange(logged, true)) DebugLog::log(line);
}

}  // namespace

TouchPadZoomPan::TouchPadZoomPan(CaptureModel& model, Multitouch& multitouch, const PointerInput& pointer,
                                 const ScreenAccess& screenAccess)
    : model_(model), multitouch_(multitouch), pointer_(pointer), screenAccess_(screenAccess) {}

void TouchPadZoomPan::start() {
    stop();
    {
        const std::scoped_lock held(lock_);
        interp3_.reset();
        interp2_.reset();
        debugFrames_ = kDebugFrames;
        loggedEngage_ = loggedZoom_ = loggedPan_ = loggedZoom2_ = false;
    }
    reading_ = multitouch_.read(
        [this](std::span<const Contact> contacts, double timeS) { takeFrame(contacts, timeS); });
    if (!reading_) {
        logOnce(loggedMissing_, "MultitouchSupport unavailable — 3-finger zoom/pan disabled");
        return;
    }
    setActiveTouchPad(weak_from_this());
    DebugLog::log("touchpad: devices=" + std::to_string(reading_->touchpadCount()) +
                  " ax=" + (screenAccess_.accessibilityTrusted() ? "true" : "false"));
}

void TouchPadZoomPan::stop() {
    setActiveTouchPad({});
    reading_.reset();
}

void TouchPadZoomPan::takeFrame(std::span<const Contact> contacts, double t) {
    if (!contacts.empty()) describe(contacts);
    std::vector<Point> points;
    for (const auto& contact : contacts)
        if (contact.isOnPad()) points.push_back({contact.x, contact.y});
    ingestFrame(points, t);
}

// Logs the first frames after a start, so that a user's log shows what the touchpad reports.
void TouchPadZoomPan::describe(std::span<const Contact> contacts) {
    {
        const std::scoped_lock held(lock_);
        if (debugFrames_ <= 0) return;
        --debugFrames_;
    }
    std::string states;
    for (const auto& contact : contacts)
        states += (states.empty() ? "" : ", ") + std::to_string(static_cast<std::int32_t>(contact.state));
    DebugLog::log("mt frame n=" + std::to_string(contacts.size()) + " states=[" + states + "]");
}

void TouchPadZoomPan::ingestFrame(const std::vector<Point>& points, double t) {
    const int count = static_cast<int>(points.size());
    // Asking for the modifiers is a round trip to the desktop, so it is done only where they matter, and not
    // under the lock.
    const bool zoomsByTwo = count == 2 && pointer_.state().value_or(PointerState{}).option;
    Point centroid;
    double spread = 0;
    for (const auto& point : points) {
        centroid.x += point.x / count;
        centroid.y += point.y / count;
    }
    for (const auto& point : points) spread += std::hypot(point.x - centroid.x, point.y - centroid.y) / count;

    const std::scoped_lock held(lock_);
    if (const auto output = interp3_.ingest(count, centroid, spread, t); output.active)
        applyThreeFingers(output);
    if (const auto output = interp2_.ingest(zoomsByTwo ? count : 0, centroid, spread, t); output.active)
        applyTwoFingers(output.zoomDelta);
}

void TouchPadZoomPan::applyThreeFingers(const ThreeFingerInterpreter::Output& output) {
    const auto [active, zoomDelta, panDelta] = output;
    logOnce(loggedEngage_, "3-finger gesture engaged");
    if (zoomDelta != 0) {
        if (!std::exchange(loggedZoom_, true))
            DebugLog::log("3f zoom flowing (d=" + fixedText(zoomDelta, 3) + ")");
        model_.zoom(zoomDelta);
    }
    if (panDelta == Vector{}) return;
    logOnce(loggedPan_, "3f pan flowing");
    const double damping = std::abs(zoomDelta) > kDampingZoomStep ? kPanDamping : 1;
    const double gain = kPanGain * model_.area().shownPts().width * (Prefs::invertPan() ? -1 : 1);
    model_.pan({-panDelta.dx * damping * gain, panDelta.dy * damping * gain});
}

void TouchPadZoomPan::applyTwoFingers(double zoomDelta) {
    if (zoomDelta == 0) return;
    logOnce(loggedZoom2_, "2f opt zoom flowing");
    model_.zoom(kTwoFingerZoomGain * zoomDelta);
}

}  // namespace kasto
