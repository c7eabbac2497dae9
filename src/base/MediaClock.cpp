#include "base/MediaClock.h"

#include <chrono>
#include <cmath>

namespace kasto {

double mediaClockNow() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

MediaTime MediaTime::fromSeconds(double seconds, std::int32_t timescale) {
    return {std::llround(seconds * timescale), timescale};
}

}  // namespace kasto
