#pragma once

#include "movie/container/MovieBoxes.h"

#include <cstdint>
#include <span>
#include <vector>

namespace kasto {

// The large pieces a movie file is put together from. Pure functions, any thread.

// Holds the place of the header of the one box that takes up all fragments in the end.
inline constexpr std::size_t kPlaceholderBytes = 16;

// The beginning of a movie in fragments: the type, the placeholder and a description of the tracks.
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

// What stands before the samples of a fragment that begins at `fileOffset`; the data of the runs follow
// directly, in the order given. `sequence` counts the fragments from 1.
std::vector<std::uint8_t> fragmentHead(std::uint32_t sequence, std::uint64_t fileOffset,
                                       std::span<const FragmentRun> runs);

// The description of the complete movie with all sample tables.
std::vector<std::uint8_t> completeMovie(std::span<const MovieTrack> tracks);

// The header of a media box of any size, header included: as long as the placeholder.
std::vector<std::uint8_t> mediaBoxHeader(std::uint64_t boxBytes);

}  // namespace kasto
