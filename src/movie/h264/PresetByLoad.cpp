#include "movie/h264/PresetByLoad.h"

#include "movie/h264/EncoderPreset.h"

#include <algorithm>

namespace kasto {

namespace {

constexpr double kPressing = 0.5;
constexpr double kEasy = 0.25;

// A faster preset gets so long to work off what has piled up before a still faster one is taken.
constexpr double kTrialS = 0.1;

// How long there must have been time before a better preset is tried. It doubles when that was too early.
constexpr int kPatienceS = 2;
constexpr int kMostPatienceS = 32;

}  // namespace

PresetByLoad::PresetByLoad(std::size_t first, int picturesPerSecond)
    : first_(first),
      perSecond_(std::max(1, picturesPerSecond)),
      now_(first),
      sinceChange_(kMostPatienceS * perSecond_),
      patience_(kPatienceS * perSecond_) {}

std::size_t PresetByLoad::next(double backlog) {
    ++sinceChange_;
    sinceBacklog_ = backlog <= kEasy ? sinceBacklog_ + 1 : 0;
    if (backlog >= kPressing && now_ + 1 < kX264Presets.size() && sinceChange_ >= kTrialS * perSecond_) {
        if (isTrying_ && sinceChange_ < patience_)
            patience_ = std::min(2 * patience_, kMostPatienceS * perSecond_);
        isTrying_ = false;
        ++now_;
        sinceChange_ = 0;
    } else if (now_ > first_ && sinceBacklog_ >= patience_) {
        --now_;
        isTrying_ = true;
        sinceChange_ = sinceBacklog_ = 0;
    }
    return now_;
}

}  // namespace kasto
