#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace kasto {

struct SampleRecord {
    std::uint32_t sizeBytes = 0;
    std::uint32_t durationUnits = 0;
    bool isSync = false;
};

// Where the samples of one track lie in the file and how long each lasts: 8 bytes of memory a sample. One
// thread at a time.
class SampleTable {
public:
    // Adds samples that lie one after the other in the file from `fileOffset` on. The first one begins at
    // `firstTimeUnits`; that counts for the first chunk only, because durations give all later times.
    void addChunk(std::uint64_t fileOffset, std::int64_t firstTimeUnits,
                  std::span<const SampleRecord> samples);

    // Removes the chunks at or behind this offset of the file.
    void dropFrom(std::uint64_t fileOffset);

    // The most that the track's tables in the final moov box take.
    std::uint64_t maxTableBytes() const;

    bool isEmpty() const { return sizes.empty(); }
    std::uint64_t durationUnits() const;

    struct Chunk {
        std::uint64_t fileOffset = 0;
        std::uint32_t samples = 0;
    };
    std::int64_t startUnits = 0;  // time of the first sample
    std::vector<std::uint32_t> sizes;
    std::vector<std::uint32_t> durations;
    std::vector<std::uint32_t> syncSamples;  // their numbers, from 1
    std::vector<Chunk> chunks;
};

}  // namespace kasto
