#pragma once

#include "movie/encoder/VideoEncoder.h"

#include <vector>

namespace kasto {

// A maker that opens the first of the hardware encoders that passes a trial, and the software encoder where
// none does. A trial encodes a few pictures with the movie's own settings, because drivers accept settings
// that they then fail to encode. It takes as long as its encoder needs to open. A hardware encoder that fails
// in mid-take is replaced by what `replacement` opens (see ReplaceableEncoder).
VideoEncoderMaker preferHardware(std::vector<VideoEncoderMaker> hardware, VideoEncoderMaker software,
                                 VideoEncoderMaker replacement);

}  // namespace kasto
