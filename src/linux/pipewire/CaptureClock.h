#pragma once

#include "base/MediaRates.h"

#include <optional>

namespace kasto::pipewire {

// Gives blocks of sound that follow each other the times at which they were captured. Measured times waver by
// when a thread was woken or a device asked; sound does not. A phase-locked loop follows them slowly, and the
// device's true rate with them. What is further off than half a block is a gap, and is kept.
class CaptureClock {
public:
    // The capture time of the first of so many samples, which was measured to be `measuredS`.
    double timeOf(double measuredS, int frames);

private:
    std::optional<double> nextS_;  // where the next block is expected
    double secondsPerFrame_ = 1.0 / kSoundRate;
};

}  // namespace kasto::pipewire
