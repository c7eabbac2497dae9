#include "movie/h264/PresetByLoad.h"

#include "movie/h264/EncoderPreset.h"

#include <algorithm>

namespace kasto {

namespace {

// From this backlog on a faster preset is taken.
constexpr double kHighBacklog = 0.5;
// Up to this backlog there is time for a better preset.
constexpr double kLowBacklog = 0.25;

// A faster preset gets so long to reduce the backlog before a still faster one is taken.
constexpr double kTrialS = 0.1;

// How long the backlog must have been low before a better preset is tried.
constexpr int kMinWaitS = 2;
constexpr int kMaxWaitS = 32;

}  // namespace

PresetByLoad::PresetByLoad(std::size_t first, int picturesPerSecond)
    : first_(first),
      perSecond_(std::max(1, picturesPerSecond)),
      current_(first),
      sinceChange_(kMaxWaitS * perSecond_),
      wait_(kMinWaitS * perSecond_) {}

std::size_t PresetByLoad::next(double backlog) {
    ++sinceChange_;
    sinceBacklog_ = backlog <= kLowBacklog ? sinceBacklog_ + 1 : 0;
    if (backlog >= kHighBacklog && current_ + 1 < kX264Presets.size() &&
        sinceChange_ >= kTrialS * perSecond_) {
        if (isTrying_ && sinceChange_ < wait_) wait_ = std::min(2 * wait_, kMaxWaitS * perSecond_);
        isTrying_ = false;
        ++current_;
        sinceChange_ = 0;
    } else if (current_ > first_ && sinceBacklog_ >= wait_) {
        --current_;
        isTrying_ = true;
        sinceChange_ = sinceBacklog_ = 0;
    }
    return current_;
}

}  // namespace kasto
