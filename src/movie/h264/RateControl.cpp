#include "movie/h264/RateControl.h"

#include "movie/h264/X264Encoder.h"

#include <algorithm>
#include <cmath>

namespace kasto {

namespace {

constexpr double kMaxSavedS = 1;
constexpr double kMaxDebtS = 6;

// The QP of a new picture at the largest savings, and its rise with each second of debt.
constexpr double kQpAtMaxSavings = 8;
constexpr double kQpPerSecond = 8;
constexpr double kMaxQpChosen = 44;

// All pictures up to the next IDR are predicted from it, so it is worth a lower QP.
constexpr double kIdrBonus = 3;

// A still screen looks no better below this.
constexpr int kMinQpChosen = 6;
constexpr double kStillBonus = 8;
// Encoding again for less would not be seen.
constexpr int kWorthwhileStep = 4;

static_assert(kMinQpChosen >= kMinQp && kMaxQpChosen <= kMaxQp);

int toQp(double qp) {
    return static_cast<int>(std::lround(std::clamp<double>(qp, kMinQpChosen, kMaxQpChosen)));
}

}  // namespace

RateControl::RateControl(const VideoInputSettings& settings)
    : bytesPerSecond_(static_cast<double>(settings.averageBitRate) / 8),
      secondsPerTick_(1.0 / settings.expectedFrameRate) {}

void RateControl::spend(std::size_t bytes) {
    debtS_ += static_cast<double>(bytes) / bytesPerSecond_ - secondsPerTick_;
    debtS_ = std::clamp(debtS_, -kMaxSavedS, kMaxDebtS);
}

int RateControl::qp(bool isIdr) const {
    return toQp(kQpAtMaxSavings + kQpPerSecond * (debtS_ + kMaxSavedS) - (isIdr ? kIdrBonus : 0));
}

int RateControl::stillQp() const { return toQp(qp(false) - kStillBonus); }

bool RateControl::isWorthRefining(int qp) const {
    const int better = stillQp();
    return qp - better >= kWorthwhileStep || (better < qp && better == kMinQpChosen);
}

}  // namespace kasto
