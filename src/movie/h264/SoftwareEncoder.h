#pragma once

#include "movie/encoder/VideoEncoder.h"

#include <cstddef>

namespace kasto {

// Encodes with libx264, but only what needs it: a picture that is the one before becomes a skip picture, and
// one that differs from the last encoded picture in a few macroblocks becomes a patch picture (see
// PictureInserter). No picture is held back. The preset is chosen by the size, the frame rate and the
// machine; when pictures pile up the encoder goes on with a faster one.
Result<std::unique_ptr<VideoEncoder>> openSoftwareEncoder(const VideoInputSettings& settings);

// The same as the replacement of another encoder in one track: its parameter sets have ids from 2 on.
Result<std::unique_ptr<VideoEncoder>> openReplacementEncoder(const VideoInputSettings& settings);

// The same with a given best preset: an index of kX264Presets.
Result<std::unique_ptr<VideoEncoder>> openSoftwareEncoderWithPreset(const VideoInputSettings& settings,
                                                                    std::size_t preset);

}  // namespace kasto
