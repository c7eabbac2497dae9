#pragma once

#include "movie/encoder/VideoEncoder.h"

namespace kasto::ffmpeg {

// The encoder of Intel's and AMD's graphics processors, on the default render device. Fails where there is
// none.
Result<std::unique_ptr<VideoEncoder>> openVaapiEncoder(const VideoInputSettings& settings);

}  // namespace kasto::ffmpeg
