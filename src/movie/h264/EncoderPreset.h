#pragma once

#include "platform/MovieWriter.h"

#include <array>
#include <cstddef>

namespace kasto {

// libx264's presets that a take may use, best first.
inline constexpr std::array<const char*, 3> kX264Presets{"veryfast", "superfast", "ultrafast"};

// The number of the preset that keeps up with a take on so many processor cores and leaves room for the rest
// of the program.
std::size_t x264Preset(const VideoInputSettings& settings, unsigned cores);

}  // namespace kasto
