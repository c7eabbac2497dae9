#pragma once

#include "movie/container/MovieBoxes.h"

#include <cstdint>
#include <span>
#include <vector>

namespace kasto {

// The pieces that a movie file is composed of. While it is recorded: ftyp, a placeholder, moov without
// samples, and a moof and an mdat for each fragment. When it is finished, the placeholder becomes the header
// of one mdat that spans everything up to the final moov, which is appended. Pure functions, any thread.

// The size of the placeholder: a free box as large as an mdat header with a 64-bit size.
inline constexpr std::size_t kPlaceholderBytes = 16;

// The beginning of a movie in fragments: ftyp, the placeholder and moov.
struct MovieHead {
    std::vector<std::uint8_t> bytes;
    std::uint64_t placeholderOffset = 0;
};
MovieHead movieHead(std::span<const MovieTrack> tracks);

// The samples of one track in one fragment.
struct FragmentRun {
    std::size_t track = 0;
    std::int64_t firstTimeUnits = 0;
    std::uint64_t dataBytes = 0;
    std::span<const SampleRecord> samples;
};

// The moof box and the mdat header of a fragment that begins at `fileOffset`. The samples of the runs follow
// directly, in the order given. `sequence` counts the fragments from 1.
std::vector<std::uint8_t> fragmentHead(std::uint32_t sequence, std::uint64_t fileOffset,
                                       std::span<const FragmentRun> runs);

// The final moov box with all sample tables.
std::vector<std::uint8_t> completeMovie(std::span<const MovieTrack> tracks);

// An mdat header as large as the placeholder, for a box of so many bytes with its header.
std::vector<std::uint8_t> mediaBoxHeader(std::uint64_t boxBytes);

}  // namespace kasto
