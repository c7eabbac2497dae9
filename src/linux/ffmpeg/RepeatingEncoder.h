#pragma once

#include "linux/ffmpeg/VideoEncoder.h"

namespace kasto {

// Spares an encoder the pictures that show nothing new: a buffer that is given again is, once the encoder has
// had a few turns to refine it, written as a repetition of a few bytes. Key pictures are counted over all
// pictures.
//
// The encoder must hold nothing back. Where its stream is of a kind that cannot be added to, the encoder
// itself is handed back.
std::unique_ptr<VideoEncoder> sparingRepeats(std::unique_ptr<VideoEncoder> encoder,
                                             const VideoInputSettings& settings);

}  // namespace kasto
