#pragma once

#include "movie/encoder/VideoEncoder.h"

namespace kasto::ffmpeg {

// The encoder of NVIDIA's graphics processors. Fails where there is none.
Result<std::unique_ptr<VideoEncoder>> openNvencEncoder(const VideoInputSettings& settings);

}  // namespace kasto::ffmpeg
