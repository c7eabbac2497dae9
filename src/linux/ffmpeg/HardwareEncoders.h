#pragma once

#include "movie/encoder/VideoEncoder.h"

#include <vector>

namespace kasto::ffmpeg {

// The hardware encoders that libavcodec can drive on Linux, in the order in which they are to be tried:
// VA-API for Intel's and AMD's graphics processors, NVENC for NVIDIA's. Any of them may fail to open.
std::vector<VideoEncoderMaker> hardwareEncoders();

}  // namespace kasto::ffmpeg
