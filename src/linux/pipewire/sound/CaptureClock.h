#pragma once

#include "base/MediaRates.h"

#include <spa/utils/dll.h>

#include <optional>

namespace kasto::pipewire {

// Smooths the capture times of consecutive blocks of sound.
//
// Goal: a take places each block of sound by its time. The times that the media server reports jitter by some
// milliseconds, because they depend on when a thread was woken or a device was asked, while the samples
// themselves were taken at a perfectly even rate. Placed by the raw times, blocks would overlap and leave
// gaps, which is audible as crackling. Besides, the device's clock is not exactly 48 kHz of the media clock;
// over an hour, 100 ppm are a third of a second.
//
// Idea: a phase-locked loop (the media server's own spa_dll). It expects each block where the one before it
// ended, and gives it that time. The error between measured and expected time is fed back: a little of it
// into the phase, so the times follow the device, and much less of it into the rate, so the loop learns how
// fast the device really runs. The bandwidth of 0.1 Hz lets pass what changes over many seconds (drift) and
// removes what changes from block to block (jitter).
//
// Invariants:
// - Times of consecutive blocks never overlap by more than the loop's correction, a few microseconds a block.
// - The rate stays within 0.2 % of the nominal one. Real devices are within 0.05 %; more than 0.2 % means
//   that the measured times are wrong.
// - A block that is further from its expected time than half its own length is not jitter: samples were lost,
//   or the device changed. Its measured time is kept as it is, and the loop goes on from there with the rate
//   it has learned.
//
// Removing holes from the movie, and resampling sound that drifts away from it, is not done here: the sound
// track does both with the times it gets from here (movie/sound/SoundTimeline).
class CaptureClock {
public:
    CaptureClock();

    // The smoothed capture time of the first frame of a block that has `frames` frames, in seconds of the
    // media clock. `measuredS` is the time that the server reported for it. One thread at a time.
    double timeOf(double measuredS, int frames);

private:
    spa_dll loop_{};
    std::optional<double> nextS_;  // the expected time of the next block
};

}  // namespace kasto::pipewire
