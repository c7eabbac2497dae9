#pragma once

#include "linux/ffmpeg/VideoEncoder.h"

namespace kasto {

// The encoder of NVIDIA's graphics processors. Fails where there is none.
Result<std::unique_ptr<VideoEncoder>> openNvencEncoder(const VideoInputSettings& settings);

}  // namespace kasto
