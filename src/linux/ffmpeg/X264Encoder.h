#pragma once

#include "linux/ffmpeg/VideoEncoder.h"

namespace kasto {

// The software encoder. It works on several processor cores at a time, holds no picture back, and is not
// asked again for what has not changed. Without a preset it takes one that keeps up on this machine.
Result<std::unique_ptr<VideoEncoder>> openX264Encoder(const VideoInputSettings& settings);
Result<std::unique_ptr<VideoEncoder>> openX264Encoder(const VideoInputSettings& settings, const char* preset);

}  // namespace kasto
