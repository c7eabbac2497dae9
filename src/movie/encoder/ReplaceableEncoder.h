#pragma once

#include "movie/encoder/VideoEncoder.h"

namespace kasto {

// An encoder that is replaced when it fails in mid-take: a graphics driver may be reset, or suspended with
// the machine. The replacement encodes the picture that failed as an IDR picture and all that follow;
// pictures the failed encoder still held are lost.
//
// A movie describes its parameter sets before the first picture. The replacement's must therefore be known
// from the beginning and have other ids than the encoder's: it is opened once to read them, and again when it
// is needed. Where the two cannot be described together, `encoder` is returned as it is.
std::unique_ptr<VideoEncoder> makeReplaceable(std::unique_ptr<VideoEncoder> encoder,
                                              const VideoEncoderMaker& openReplacement,
                                              const VideoInputSettings& settings);

}  // namespace kasto
