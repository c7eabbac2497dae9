#include "model/CaptureModel.h"

#include "base/NumberText.h"
#include "base/log/DebugLog.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kasto {

namespace {

constexpr double kMaxZoomLog = 3 * std::numbers::ln2;  // 8x
constexpr double kHomeZoomLog = 0.04;                  // zooming out to less than this goes on to 1x
constexpr double kZoomEaseS = 0.28;                    // time constant
constexpr double kZoomSnapLog = 0.0004;  // the remaining distance at which the zoom jumps to its target
constexpr double kVisibleZoom = 1.15;    // logged once per take
constexpr double kCenterEaseS = 0.2;     // time constant
constexpr double kMaxStepS = 0.1;        // a stall must not make the view jump

constexpr double kMinZoomRefForPan = 1.25;
constexpr double kMinPanPx = 0.5;
constexpr double kMinPanWeight = 0.05;
constexpr double kPanResetZoom = 1.02;

constexpr double kRippleVisibleS = 0.45;  // a pulse has faded out by then
constexpr double kRippleKeptS = 0.5;      // and is removed at this age
constexpr double kRippleStartPts = 14;
constexpr double kRippleGrowthPts = 44;
constexpr double kRippleAlpha = 0.5;
constexpr double kHeldRadiusPts = 16;
constexpr double kHeldAlpha = 0.3;

constexpr double kCamMarginPts = 24;
constexpr double kRoundCamWidth = 0.2;  // of the frame's width
constexpr double kRectCamWidth = 0.24;

// The share of the remaining distance, 0 to 1, that an exponential ease covers in `dt` seconds.
double eased(double dt, double timeConstantS) { return 1 - std::exp(-dt / timeConstantS); }

RippleDisc discOf(const Ripple& ripple, double now, double sx) {
    const double elapsed = (now - ripple.t0) / kRippleVisibleS;
    const double left = elapsed <= 0 ? 1 : 1 - std::min(elapsed, 1.0);
    const double radiusPts = kRippleStartPts + kRippleGrowthPts * (1 - left * left);
    return {ripple.px, sx * radiusPts, kRippleAlpha * left};
}

}  // namespace

CaptureModel::CaptureModel() {
    ripples_.reserve(RippleDiscs::kMax + 1);  // so that no later operation allocates
}

void CaptureModel::configure(const Rect& displayBoundsPts, double pixW, double pixH) {
    const std::scoped_lock held(lock_);
    area_ = CaptureArea(displayBoundsPts, {pixW, pixH});
    zoomLog_ = 0;
    zoomLogTarget_ = 0;
    panOffsetPx_ = {};
    ripples_.clear();
    heldPx_.reset();
    pipOn_ = false;
    center_ = {pixW * 0.5, pixH * 0.5};
    lastStep_.reset();
    loggedZoomVisible_ = false;
    lastSnapshot_ = {};
    lastSnapshot_.area = area_;
    lastSnapshot_.cropPx = {0, 0, pixW, pixH};
}

void CaptureModel::moveTo(const CaptureArea& area) {
    const std::scoped_lock held(lock_);
    area_ = area;
}

void CaptureModel::setMouse(Point globalPts, bool held) {
    const std::scoped_lock locked(lock_);
    mousePx_ = area_.toPx(globalPts);
    heldPx_.reset();
    if (held && area_.contains(globalPts)) heldPx_ = mousePx_;
}

void CaptureModel::spawnRipple(Point globalPts, double t) {
    const std::scoped_lock held(lock_);
    if (!area_.contains(globalPts)) return;
    ripples_.push_back({area_.toPx(globalPts), t});
    if (ripples_.size() > RippleDiscs::kMax) ripples_.erase(ripples_.begin());
}

void CaptureModel::pan(Vector viewPts) {
    const std::scoped_lock held(lock_);
    const double z = std::exp(zoomLog_);
    zoomRefForPan_ = std::max(z, kMinZoomRefForPan);
    const double scale = std::max(z, 1.0);
    const auto [width, height] = area_.sizePx();
    panOffsetPx_.dx = std::clamp(panOffsetPx_.dx + viewPts.dx * area_.sx() / scale, -width, width);
    panOffsetPx_.dy = std::clamp(panOffsetPx_.dy + viewPts.dy * area_.sy() / scale, -height, height);
}

void CaptureModel::zoom(double logDelta) {
    const std::scoped_lock held(lock_);
    const double target = std::clamp(zoomLogTarget_ + logDelta, 0.0, kMaxZoomLog);
    zoomLogTarget_ = target < kHomeZoomLog && logDelta < 0 ? 0 : target;
}

void CaptureModel::setPip(bool on, bool round) {
    const std::scoped_lock held(lock_);
    pipOn_ = on;
    pipRound_ = round;
}

void CaptureModel::setCamAspect(double aspect) {
    const std::scoped_lock held(lock_);
    camAspect_ = aspect;
}

RenderSnapshot CaptureModel::step(double now) {
    const std::scoped_lock held(lock_);
    const double dt = std::clamp(now - lastStep_.value_or(now), 0.0, kMaxStepS);
    lastStep_ = now;

    easeZoom(dt);
    const double z = std::exp(zoomLog_);
    if (!loggedZoomVisible_ && z > kVisibleZoom) {
        loggedZoomVisible_ = true;
        DebugLog::log("model zoom visible (" + fixedText(z, 2) + "x)");
    }

    const double pannedPx = std::abs(panOffsetPx_.dx) + std::abs(panOffsetPx_.dy);
    const double weight = panWeight(z, pannedPx);
    easeCenter(dt, weight);
    if (z <= kPanResetZoom && zoomLogTarget_ == 0) panOffsetPx_ = {};

    RenderSnapshot shown;
    shown.area = area_;
    shown.cropPx = crop(z);
    shown.zoom = z;
    shown.panned = weight > kMinPanWeight && pannedPx > kMinPanPx;
    std::erase_if(ripples_, [now](const Ripple& ripple) { return now - ripple.t0 > kRippleKeptS; });
    for (const Ripple& ripple : ripples_) shown.ripples.push_back(discOf(ripple, now, area_.sx()));
    if (heldPx_) shown.heldDisc = {*heldPx_, area_.sx() * kHeldRadiusPts, kHeldAlpha};
    if (pipOn_) shown.camRect = camRect();
    shown.camRound = pipRound_;
    lastSnapshot_ = shown;
    return shown;
}

void CaptureModel::easeZoom(double dt) {
    const double next = zoomLog_ + (zoomLogTarget_ - zoomLog_) * eased(dt, kZoomEaseS);
    zoomLog_ = std::abs(next - zoomLogTarget_) < kZoomSnapLog ? zoomLogTarget_ : next;
}

// A pan has its full effect at the zoom it was made at. The effect fades to nothing on the way back to 1x.
double CaptureModel::panWeight(double z, double pannedPx) const {
    if (!(pannedPx > kMinPanPx)) return 0;
    return std::clamp((z - 1) / (zoomRefForPan_ - 1), 0.0, 1.0);
}

// The centre is not clamped here: only the crop made from it has to stay inside the frame.
void CaptureModel::easeCenter(double dt, double panWeight) {
    const double part = eased(dt, kCenterEaseS);
    center_.x += (mousePx_.x + panOffsetPx_.dx * panWeight - center_.x) * part;
    center_.y += (mousePx_.y + panOffsetPx_.dy * panWeight - center_.y) * part;
}

// In the bottom-right corner; the margin is the horizontal one on both axes.
Rect CaptureModel::camRect() const {
    const auto [frameWidth, frameHeight] = area_.sizePx();
    const double margin = area_.sx() * kCamMarginPts;
    const double width = frameWidth * (pipRound_ ? kRoundCamWidth : kRectCamWidth);
    const double height = pipRound_ ? width : width / camAspect_;
    return {frameWidth - width - margin, frameHeight - height - margin, width, height};
}

Rect CaptureModel::crop(double z) const {
    const auto [frameWidth, frameHeight] = area_.sizePx();
    const Size size{frameWidth / z, frameHeight / z};
    const Size half{size.width * 0.5, size.height * 0.5};
    const double midX = std::min(std::max(center_.x, half.width), frameWidth - half.width);
    const double midY = std::min(std::max(center_.y, half.height), frameHeight - half.height);
    return {midX - half.width, midY - half.height, size.width, size.height};
}

CaptureArea CaptureModel::area() const {
    const std::scoped_lock held(lock_);
    return area_;
}

RenderSnapshot CaptureModel::snapshot() const {
    const std::scoped_lock held(lock_);
    return lastSnapshot_;
}

}  // namespace kasto
