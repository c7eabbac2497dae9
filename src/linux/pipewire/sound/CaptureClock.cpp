#include "linux/pipewire/sound/CaptureClock.h"

#include <algorithm>
#include <cmath>

namespace kasto::pipewire {

namespace {

constexpr double kBandwidthHz = 0.1;
constexpr double kMaxRateError = 0.002;
// A block that is this far off counts as a gap however short it is.
constexpr double kMinGapS = 0.002;

}  // namespace

CaptureClock::CaptureClock() { spa_dll_init(&loop_); }

double CaptureClock::timeOf(double measuredS, int frames) {
    const double blockS = static_cast<double>(frames) / kSoundRate;
    const double errorS = nextS_ ? measuredS - *nextS_ : 0;
    if (!nextS_ || std::abs(errorS) > std::max(blockS / 2, kMinGapS)) {
        // Forget the phase, keep the rate (z3).
        loop_.z1 = loop_.z2 = 0;
        nextS_ = measuredS + blockS / (1 - loop_.z3);
        return measuredS;
    }
    const double timeS = *nextS_;
    spa_dll_set_bw(&loop_, kBandwidthHz, static_cast<unsigned>(frames), kSoundRate);
    const double speed = spa_dll_update(&loop_, errorS * kSoundRate);
    loop_.z3 = std::clamp(loop_.z3, -kMaxRateError, kMaxRateError);
    nextS_ = timeS + blockS / speed;
    return timeS;
}

}  // namespace kasto::pipewire
