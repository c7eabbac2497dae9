#pragma once

#include "linux/ffmpeg/VideoEncoder.h"

namespace kasto {

// The software encoder. It works on several processor cores and holds back one picture fewer than it has
// threads, at most.
Result<std::unique_ptr<VideoEncoder>> openX264Encoder(const VideoInputSettings& settings);

}  // namespace kasto
