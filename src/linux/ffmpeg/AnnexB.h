#pragma once

#include "base/Result.h"

#include <cstdint>
#include <span>
#include <vector>

namespace kasto::ffmpeg {

// libavcodec's encoders separate NAL units by start codes (Annex B of H.264). In a movie file each NAL unit
// stands after its length instead, and the parameter sets are kept apart from the pictures. Pure functions,
// any thread.

// The contents of an avcC box. Fails unless the stream holds exactly one SPS, of profile High, and one PPS.
Result<std::vector<std::uint8_t>> avcDecoderConfiguration(std::span<const std::uint8_t> annexB);

// Appends the picture's NAL units to `sample`, each after its length in four bytes. Parameter sets and access
// unit delimiters do not belong into a sample and are left out.
void appendAvcSample(std::span<const std::uint8_t> annexB, std::vector<std::uint8_t>& sample);

}  // namespace kasto::ffmpeg
