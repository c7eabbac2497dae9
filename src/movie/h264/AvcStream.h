#pragma once

#include "base/Result.h"

#include <cstdint>
#include <span>
#include <vector>

namespace kasto {

// Encoders separate NAL units by start codes; a movie file wants each after its length, and the parameter
// sets apart from the pictures. Pure functions, any thread.

// The contents of an avcC box from a stream that holds the parameter sets. Fails unless there is one set of
// each kind, of profile High.
Result<std::vector<std::uint8_t>> avcDecoderConfiguration(std::span<const std::uint8_t> startCodeStream);

// Appends the NAL units, each after its length in four bytes, to `sample`. Parameter sets and delimiters,
// which have no place in a sample, are left out.
void appendAvcSample(std::span<const std::uint8_t> startCodeStream, std::vector<std::uint8_t>& sample);

}  // namespace kasto
