#pragma once

#include <cstdint>

namespace kasto {

// Units a second in which the movie's header and its video track count time. 600 is a multiple of 24, 25, 30
// and 60.
inline constexpr std::int32_t kMovieTimescale = 600;

// Sound is captured, placed and encoded at this rate: frames (one sample of each channel) a second.
inline constexpr int kSoundRate = 48'000;

// Frames in one packet of AAC.
inline constexpr int kAacPacketFrames = 1024;

}  // namespace kasto
