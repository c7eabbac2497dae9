#pragma once

#include "base/Result.h"

#include <cstdint>
#include <span>
#include <vector>

namespace kasto {

// The contents of avcC boxes. Pure functions, any thread.

// From one SPS and one PPS, each a NAL unit without start code or length. Fails unless both are there and the
// SPS is of profile High.
Result<std::vector<std::uint8_t>> avcDecoderConfiguration(std::span<const std::uint8_t> sps,
                                                          std::span<const std::uint8_t> pps);

// The parameter sets of two encoders in one, so that a track may go on with the other one at an IDR picture.
// Fails unless all their ids are different and small.
Result<std::vector<std::uint8_t>> mergedConfigurations(std::span<const std::uint8_t> first,
                                                       std::span<const std::uint8_t> second);

}  // namespace kasto
