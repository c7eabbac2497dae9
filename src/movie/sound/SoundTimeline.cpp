#include "movie/sound/SoundTimeline.h"

#include "base/MediaRates.h"

#include <algorithm>
#include <cmath>

namespace kasto {

namespace {

constexpr double kHardS = 0.05;

// Times jitter by a few milliseconds; the error is their mean over about a second, and a hundredth of a
// second of it is made up for within ten.
constexpr double kSmoothedOverS = 1;
constexpr double kMadeUpPerS = 0.1;
constexpr double kMostStretch = 0.002;

// Sound arrives this much later than the pictures of its time at most, while its device is awake.
constexpr double kLateS = 0.5;

// Nothing is heard before it happens.
constexpr double kMostAheadS = 2;

}  // namespace

SoundPlacement SoundTimeline::place(double timeS, std::int64_t frames) {
    const double endS = static_cast<double>(frames_) / kSoundRate;
    if (!std::isfinite(timeS) || timeS > std::max(movieTimeS_, endS) + kMostAheadS) timeS = endS;
    const double errorS = timeS - endS;
    if (!hasBegun_ || std::abs(errorS) > kHardS) {
        hasBegun_ = true;
        errorS_ = 0;
        const auto by = std::llround(errorS * kSoundRate);
        return {.silence = std::max<std::int64_t>(by, 0),
                .skipped = std::clamp<std::int64_t>(-by, 0, frames)};
    }
    const double lengthS = static_cast<double>(frames) / kSoundRate;
    errorS_ += (errorS - errorS_) * std::min(1.0, lengthS / kSmoothedOverS);
    return {.stretch = std::clamp(errorS_ * kMadeUpPerS, -kMostStretch, kMostStretch)};
}

std::int64_t SoundTimeline::missing(double movieTimeS) {
    movieTimeS_ = std::max(movieTimeS_, movieTimeS);
    return std::max<std::int64_t>(0, std::llround((movieTimeS - kLateS) * kSoundRate) - frames_);
}

}  // namespace kasto
