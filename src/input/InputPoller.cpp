#include "input/InputPoller.h"

#include "base/MediaClock.h"
#include "options/Prefs.h"

namespace kasto {

namespace {

constexpr double kIntervalS = 1.0 / 120;
constexpr double kLeewayS = 0.002;

}  // namespace

InputPoller::InputPoller(CaptureModel& model, const PointerInput& pointer)
    : model_(model), pointer_(pointer) {}

void InputPoller::start() {
    stop();
    follower_ = pointer_.follow();
    const auto now = follower_->state().value_or(PointerState{});
    leftWas_ = now.left;
    rightWas_ = now.right;
    timer_ = queue_.startTimer(0, kIntervalS, kLeewayS, [this] { tick(); });
}

void InputPoller::stop() {
    timer_.reset();
    queue_.drain();
    follower_.reset();
}

void InputPoller::tick() {
    const auto pointer = follower_->state();
    if (!pointer) return;
    const double nowS = mediaClockNow();
    const bool showsClicks = Prefs::showClicks();
    const bool leftPressed = pointer->left && !leftWas_;
    const bool rightPressed = pointer->right && !rightWas_;
    leftWas_ = pointer->left;
    rightWas_ = pointer->right;

    model_.setMouse(pointer->globalPts, (pointer->left || pointer->right) && showsClicks);
    if (rightPressed && pointer->fn && !pointer->option && !pointer->control) {
        if (onQuickMenu) onQuickMenu();
        return;
    }
    if (!showsClicks) return;
    if (leftPressed) model_.spawnRipple(pointer->globalPts, nowS);
    if (rightPressed) model_.spawnRipple(pointer->globalPts, nowS);
}

}  // namespace kasto
