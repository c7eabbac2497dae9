#pragma once

#include "movie/h264/VideoEncoder.h"

#include <span>

namespace kasto::ffmpeg {

// Opens the first of the hardware encoders that encodes a few pictures with these very settings as it should,
// else the fallback. Blocks: a trial takes as long as its encoder needs to open.
Result<std::unique_ptr<VideoEncoder>> chooseVideoEncoder(std::span<const VideoEncoderMaker> hardware,
                                                         const VideoEncoderMaker& fallback,
                                                         const VideoInputSettings& settings);

// The choice among the encoders this machine may have.
Result<std::unique_ptr<VideoEncoder>> openVideoEncoder(const VideoInputSettings& settings);

}  // namespace kasto::ffmpeg
