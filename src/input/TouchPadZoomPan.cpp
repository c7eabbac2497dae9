#include "input/TouchPadZoomPan.h"

#include "base/DebugLog.h"
#include "base/Guarded.h"
#include "base/Prefs.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <string>
#include <utility>

namespace kasto {

namespace {

constexpr int kDebugFrames = 3;
constexpr double kPanGain = 0.9;  // of the display's width
constexpr double kPanDamping = 0.25;
constexpr double kDampingZoomStep = 0.02;
constexpr double kTwoFingerZoomGain = 1.15;

// A contact callback carries no context: its receiver is found here.
Guarded<std::weak_ptr<TouchPadZoomPan>>& activeTouchPad() {
    static Guarded<std::weak_ptr<TouchPadZoomPan>> active;
    return active;
}

// The log's decimals do not follow the locale.
std::string threeDecimals(double value) {
    std::array<char, 32> text;
    const auto end = std::to_chars(text.begin(), text.end(), value, std::chars_format::fixed, 3).ptr;
    return {text.begin(), end};
}

// A record may lie at any address.
MTContact contactAt(const void* records, std::int32_t index) {
    MTContact contact;
    std::memcpy(&contact,
                static_cast<const std::byte*>(records) + sizeof(contact) * static_cast<std::size_t>(index),
                sizeof(contact));
    return contact;
}

void logOnce(bool& logged, const char* line) {
    if (!std::exchange(logged, true)) DebugLog::log(line);
}

}  // namespace

std::int32_t kastoMTCallback(void*, const void* contacts, std::int32_t count, double timestampS,
                             std::int32_t) {
    if (const auto active = activeTouchPad().copy().lock()) active->takeContacts(contacts, count, timestampS);
    return 0;
}

TouchPadZoomPan::TouchPadZoomPan(CaptureModel& model, Multitouch& multitouch, const PointerInput& pointer,
                                 const ScreenAccess& screenAccess)
    : model_(model), multitouch_(multitouch), pointer_(pointer), screenAccess_(screenAccess) {}

void TouchPadZoomPan::start() {
    stop();
    auto list = multitouch_.createList();
    if (!list) {
        logOnce(loggedMissing_, "MultitouchSupport unavailable — 3-finger zoom/pan disabled");
        return;
    }
    {
        const std::scoped_lock held(lock_);
        interp3_.reset();
        interp2_.reset();
        debugFrames_ = kDebugFrames;
        loggedEngage_ = loggedZoom_ = loggedPan_ = loggedZoom2_ = false;
    }
    deviceList_ = std::move(list);
    for (void* device : deviceList_->devices()) {
        if (!device) continue;
        multitouch_.registerCB(device, kastoMTCallback);
        multitouch_.start(device, 0);
        devices_.push_back(device);
    }
    activeTouchPad().set(weak_from_this());
    DebugLog::log("touchpad: devices=" + std::to_string(devices_.size()) +
                  " ax=" + (screenAccess_.accessibilityTrusted() ? "true" : "false"));
}

void TouchPadZoomPan::stop() {
    activeTouchPad().set({});
    for (void* device : devices_) {
        multitouch_.unregisterCB(device, kastoMTCallback);
        multitouch_.stop(device);
    }
    devices_.clear();
    deviceList_.reset();
}

void TouchPadZoomPan::takeContacts(const void* records, std::int32_t count, double t) {
    if (!records) count = 0;
    if (count > 0) describe(records, count);
    std::vector<Point> points;
    for (std::int32_t i = 0; i < count; ++i) {
        const auto contact = contactAt(records, i);
        if (contact.state == MTContact::kMakingTouch || contact.state == MTContact::kTouching)
            points.push_back({contact.x, contact.y});
    }
    ingestFrame(points, t);
}

// The first frames after a start, for finding out what a pad reports.
void TouchPadZoomPan::describe(const void* records, std::int32_t count) {
    {
        const std::scoped_lock held(lock_);
        if (debugFrames_ <= 0) return;
        --debugFrames_;
    }
    std::string states;
    for (std::int32_t i = 0; i < count; ++i)
        states += (states.empty() ? "" : ", ") + std::to_string(contactAt(records, i).state);
    DebugLog::log("mt frame n=" + std::to_string(count) + " states=[" + states + "]");
}

void TouchPadZoomPan::ingestFrame(const std::vector<Point>& points, double t) {
    const std::scoped_lock held(lock_);
    const int count = static_cast<int>(points.size());
    Point centroid;
    double spread = 0;
    for (const auto& point : points) {
        centroid.x += point.x / count;
        centroid.y += point.y / count;
    }
    for (const auto& point : points) spread += std::hypot(point.x - centroid.x, point.y - centroid.y) / count;

    if (const auto output = interp3_.ingest(count, centroid, spread, t); output.active)
        applyThreeFingers(output);
    // Without two fingers the modifiers make no difference, and asking for them takes time.
    const bool zoomsByTwo = count == 2 && pointer_.state().value_or(PointerState{}).option;
    if (const auto output = interp2_.ingest(zoomsByTwo ? count : 0, centroid, spread, t); output.active)
        applyTwoFingers(output.zoomDelta);
}

void TouchPadZoomPan::applyThreeFingers(const ThreeFingerInterpreter::Output& output) {
    const auto [active, zoomDelta, panDelta] = output;
    logOnce(loggedEngage_, "3-finger gesture engaged");
    if (zoomDelta != 0) {
        if (!std::exchange(loggedZoom_, true))
            DebugLog::log("3f zoom flowing (d=" + threeDecimals(zoomDelta) + ")");
        model_.zoom(zoomDelta);
    }
    if (panDelta == Vector{}) return;
    logOnce(loggedPan_, "3f pan flowing");
    const double damping = std::abs(zoomDelta) > kDampingZoomStep ? kPanDamping : 1;
    const double gain = kPanGain * model_.displayBoundsPts().width * (Prefs::invertPan() ? -1 : 1);
    model_.pan({-panDelta.dx * damping * gain, panDelta.dy * damping * gain});
}

void TouchPadZoomPan::applyTwoFingers(double zoomDelta) {
    if (zoomDelta == 0) return;
    logOnce(loggedZoom2_, "2f opt zoom flowing");
    model_.zoom(kTwoFingerZoomGain * zoomDelta);
}

}  // namespace kasto
