#pragma once

#include "platform/MovieWriter.h"

namespace kasto {

// The libx264 preset that keeps up with a take on so many processor cores and leaves room for the rest of
// the program.
const char* x264Preset(const VideoInputSettings& settings, unsigned cores);

}  // namespace kasto
