#pragma once

#include "movie/h264/VideoEncoder.h"

namespace kasto {

// Encodes with libx264, and spares it what it need not see: a picture that is the one before takes a few
// bytes, and one that differs from the last encoded picture in a few places only takes those places as they
// are. Pictures leave at once.
Result<std::unique_ptr<VideoEncoder>> openSoftwareEncoder(const VideoInputSettings& settings);

// The same with one of kX264Presets, by its number. When pictures pile up it goes on with a faster one.
Result<std::unique_ptr<VideoEncoder>> openSoftwareEncoder(const VideoInputSettings& settings,
                                                          std::size_t preset);

}  // namespace kasto
