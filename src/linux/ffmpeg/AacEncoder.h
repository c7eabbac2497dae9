#pragma once

#include "movie/encoder/SoundEncoder.h"

namespace kasto::ffmpeg {

// libavcodec's encoder for AAC-LC, behind libswresample, which stretches. Blocks.
Result<std::unique_ptr<SoundEncoder>> openAacEncoder(const AudioInputSettings& settings);

}  // namespace kasto::ffmpeg
