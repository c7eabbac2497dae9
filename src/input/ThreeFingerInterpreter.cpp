#include "input/ThreeFingerInterpreter.h"

#include <algorithm>
#include <cmath>

namespace kasto {

namespace {

constexpr double kMinSpread = 0.003;
constexpr double kRearmGapS = 0.2;
constexpr double kEngageDistance = 0.012;
constexpr double kEngageLogSpread = 0.03;
constexpr double kBaseDrift = 0.02;  // how much of the way to the fingers the base moves per frame
constexpr double kSpreadFloor = 0.001;
constexpr double kZoomGain = 1.4;
constexpr double kMaxZoomStep = 0.2;
constexpr double kFlickerS = 0.15;

double logRatio(double spread, double before) {
    return std::log(std::max(spread, kSpreadFloor) / std::max(before, kSpreadFloor));
}

}  // namespace

void ThreeFingerInterpreter::reset() {
    armed_ = engaged_ = needsRebase_ = false;
    lastMatchT_ = -1;
}

ThreeFingerInterpreter::Output ThreeFingerInterpreter::ingest(int count, Point centroid, double spread,
                                                              double t) {
    if (count != fingers_ || !(spread > kMinSpread)) {
        if (engaged_ && lastMatchT_ >= 0 && t - lastMatchT_ < kFlickerS) {
            needsRebase_ = true;
        } else {
            armed_ = engaged_ = needsRebase_ = false;
        }
        return {};
    }
    lastMatchT_ = t;
    const bool afresh = !armed_ || t - lastT_ > kRearmGapS;
    lastT_ = t;
    if (afresh) {
        arm(centroid, spread);
        return {};
    }
    if (needsRebase_) {
        needsRebase_ = false;
        lastCentroid_ = centroid;
        lastSpread_ = spread;
        return {.active = engaged_};
    }
    if (!engaged_) {
        if (!leavesRest(centroid, spread)) return {};
        engaged_ = true;
        lastCentroid_ = centroid;
        lastSpread_ = spread;
    }
    return deltas(centroid, spread);
}

void ThreeFingerInterpreter::arm(Point centroid, double spread) {
    armed_ = true;
    engaged_ = needsRebase_ = false;
    baseCentroid_ = lastCentroid_ = centroid;
    baseSpread_ = lastSpread_ = spread;
}

// True if the fingers have moved or spread too far for resting ones. Resting fingers creep a little, so the
// place they are compared with follows them slowly.
bool ThreeFingerInterpreter::leavesRest(Point centroid, double spread) {
    const Vector moved{centroid.x - baseCentroid_.x, centroid.y - baseCentroid_.y};
    const bool rests = std::hypot(moved.dx, moved.dy) <= kEngageDistance &&
                       std::abs(logRatio(spread, baseSpread_)) <= kEngageLogSpread;
    if (!rests) return true;
    baseCentroid_.x += kBaseDrift * moved.dx;
    baseCentroid_.y += kBaseDrift * moved.dy;
    baseSpread_ += kBaseDrift * (spread - baseSpread_);
    return false;
}

ThreeFingerInterpreter::Output ThreeFingerInterpreter::deltas(Point centroid, double spread) {
    const Output output{
        .active = true,
        .zoomDelta = std::clamp(kZoomGain * logRatio(spread, lastSpread_), -kMaxZoomStep, kMaxZoomStep),
        .panDelta = {centroid.x - lastCentroid_.x, centroid.y - lastCentroid_.y}};
    lastCentroid_ = centroid;
    lastSpread_ = spread;
    return output;
}

}  // namespace kasto
