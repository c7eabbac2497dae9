#pragma once

#include "base/Result.h"

#include <cstdint>
#include <span>
#include <vector>

namespace kasto {

// Builds the contents of an avcC box from one SPS and one PPS, each a NAL unit without start code or length.
// Fails unless both are there and the SPS is of profile High. Any thread.
Result<std::vector<std::uint8_t>> avcDecoderConfiguration(std::span<const std::uint8_t> sps,
                                                          std::span<const std::uint8_t> pps);

}  // namespace kasto
