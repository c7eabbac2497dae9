#include "movie/sound/SoundTimeline.h"

#include "base/MediaRates.h"

#include <algorithm>
#include <cmath>

namespace kasto {

namespace {

constexpr double kMaxDriftS = 0.05;
constexpr double kDriftMeanOverS = 1;
constexpr double kCorrectedPerS = 0.1;
constexpr double kMaxStretch = 0.002;

// While its device is awake, sound comes at most this much later than the pictures of its time.
constexpr double kMaxLateS = 0.5;

// A buffer whose time is further ahead of the movie has a wrong time.
constexpr double kMaxAheadS = 2;

}  // namespace

SoundPlacement SoundTimeline::place(double timeS, std::int64_t frames) {
    const double endS = static_cast<double>(frames_) / kSoundRate;
    if (!std::isfinite(timeS) || timeS > std::max(movieTimeS_, endS) + kMaxAheadS) timeS = endS;
    const double differenceS = timeS - endS;
    if (!hasBegun_ || std::abs(differenceS) > kMaxDriftS) {
        driftS_ = 0;
        const auto by = std::llround(differenceS * kSoundRate);
        const auto skipped = std::clamp<std::int64_t>(-by, 0, frames);
        // A buffer that ends before the movie begins leaves the line empty. The next one begins it.
        hasBegun_ = hasBegun_ || skipped < frames;
        return {.silence = std::max<std::int64_t>(by, 0), .skipped = skipped};
    }
    const double lengthS = static_cast<double>(frames) / kSoundRate;
    driftS_ += (differenceS - driftS_) * std::min(1.0, lengthS / kDriftMeanOverS);
    return {.stretch = std::clamp(driftS_ * kCorrectedPerS, -kMaxStretch, kMaxStretch)};
}

std::int64_t SoundTimeline::missing(double movieTimeS) {
    movieTimeS_ = std::max(movieTimeS_, movieTimeS);
    return std::max<std::int64_t>(0, std::llround((movieTimeS - kMaxLateS) * kSoundRate) - frames_);
}

}  // namespace kasto
