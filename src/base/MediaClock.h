#pragma once

#include <cstdint>

namespace kasto {

// Seconds of the media clock, CLOCK_MONOTONIC: the clock of the model, the compositor and all sound. Any
// thread.
double mediaClockNow();

// A time as a whole number of 1/timescale seconds, as movie files store it.
struct MediaTime {
    std::int64_t value = 0;
    std::int32_t timescale = 1;

    // Rounded to the nearest unit of `timescale`.
    static MediaTime fromSeconds(double seconds, std::int32_t timescale);

    double seconds() const { return static_cast<double>(value) / timescale; }

    bool operator==(const MediaTime&) const = default;
};

}  // namespace kasto
