#pragma once

#include "platform/MovieWriter.h"

#include <array>
#include <cstddef>

namespace kasto {

// libx264's presets that a take may use, best first.
inline constexpr std::array<const char*, 3> kX264Presets{"veryfast", "superfast", "ultrafast"};

// The index of the best preset that keeps up with the movie on so many processor cores and leaves enough time
// for the compositor and the recorded programs. Any thread.
std::size_t x264Preset(const VideoInputSettings& settings, unsigned cores);

}  // namespace kasto
