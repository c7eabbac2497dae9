#include "movie/h264/RateControl.h"

#include "movie/h264/X264Encoder.h"

#include <algorithm>
#include <cmath>

namespace kasto {

namespace {

// What is saved beyond this is forgotten: the movie's rate may not rise far above its average anywhere.
constexpr double kMostSavedS = 1;
constexpr double kMostDebtS = 6;

// The quantiser of new pictures when all of that is saved, and how much it rises with each second spent.
constexpr double kBest = 8;
constexpr double kPerSecond = 8;
constexpr double kWorst = 44;

// Key pictures are what all others are predicted from.
constexpr double kBetterForKeys = 3;

// Finer than this, a still screen looks the same.
constexpr int kFinest = 6;
constexpr double kBetterForStills = 8;
constexpr int kWorthwhileStep = 4;

static_assert(kFinest >= kFinestQuantiser && kWorst <= kCoarsestQuantiser);

int clamped(double quantiser, double finest) {
    return static_cast<int>(std::lround(std::clamp(quantiser, finest, kWorst)));
}

}  // namespace

RateControl::RateControl(const VideoInputSettings& settings)
    : bytesPerSecond_(static_cast<double>(settings.averageBitRate) / 8),
      secondsPerTick_(1.0 / settings.expectedFrameRate) {}

void RateControl::spend(std::size_t bytes) {
    debtS_ += static_cast<double>(bytes) / bytesPerSecond_ - secondsPerTick_;
    debtS_ = std::clamp(debtS_, -kMostSavedS, kMostDebtS);
}

int RateControl::quantiser(bool isKey) const {
    return clamped(kBest + kPerSecond * (debtS_ + kMostSavedS) - (isKey ? kBetterForKeys : 0), kFinest);
}

int RateControl::quantiserOfStill() const { return clamped(quantiser(false) - kBetterForStills, kFinest); }

bool RateControl::isWorthRefining(int quantiser) const {
    const int better = quantiserOfStill();
    return quantiser - better >= kWorthwhileStep || (better < quantiser && better == kFinest);
}

}  // namespace kasto
