#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace kasto {

struct SampleRecord {
    std::uint32_t sizeBytes = 0;
    std::uint32_t durationUnits = 0;
    bool isKey = false;
};

// Where the samples of one track lie in the file and how long each lasts: 8 bytes of memory a sample.
class SampleTable {
public:
    // Adds samples that lie one after the other from `fileOffset` on. The first ones ever added begin at
    // `firstTimeUnits`.
    void addChunk(std::uint64_t fileOffset, std::int64_t firstTimeUnits,
                  std::span<const SampleRecord> samples);

    // Forgets the samples that begin at or behind this place in the file.
    void dropFrom(std::uint64_t fileOffset);

    bool isEmpty() const { return sizes.empty(); }
    std::uint64_t durationUnits() const;

    struct Chunk {
        std::uint64_t fileOffset = 0;
        std::uint32_t samples = 0;
    };
    std::int64_t startUnits = 0;  // the movie's zero to the first sample
    std::vector<std::uint32_t> sizes;
    std::vector<std::uint32_t> durations;
    std::vector<std::uint32_t> keys;  // numbers of the key samples, from 1
    std::vector<Chunk> chunks;
};

}  // namespace kasto
