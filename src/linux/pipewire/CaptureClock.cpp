#include "linux/pipewire/CaptureClock.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kasto::pipewire {

namespace {

constexpr double kNominal = 1.0 / kSoundRate;
constexpr double kBandwidthHz = 0.1;  // slow wavering passes, which is the device's own
constexpr double kMostRateError = 0.002;
constexpr double kLeastGapS = 0.002;  // of very short blocks

}  // namespace

double CaptureClock::timeOf(double measuredS, int frames) {
    const double blockS = frames * kNominal;
    const double errorS = nextS_ ? measuredS - *nextS_ : 0;
    if (!nextS_ || std::abs(errorS) > std::max(blockS / 2, kLeastGapS)) {
        nextS_ = measuredS + frames * secondsPerFrame_;
        return measuredS;
    }
    const double timeS = *nextS_;
    const double omega = 2 * std::numbers::pi * kBandwidthHz * blockS;
    secondsPerFrame_ = std::clamp(secondsPerFrame_ + omega * omega * errorS / frames,
                                  kNominal * (1 - kMostRateError), kNominal * (1 + kMostRateError));
    nextS_ = timeS + std::numbers::sqrt2 * omega * errorS + frames * secondsPerFrame_;
    return timeS;
}

}  // namespace kasto::pipewire
