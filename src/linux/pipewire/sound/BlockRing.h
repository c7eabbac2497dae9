#pragma once

#include <spa/utils/ringbuffer.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace kasto::pipewire {

// A piece of sound with the time of its first sample.
struct SoundBlock {
    std::vector<float> samples;  // interleaved
    std::int64_t timeNs = 0;     // CLOCK_MONOTONIC
};

// Passes blocks of sound from one thread to another without locks. Pushing neither waits nor allocates, so a
// realtime thread may do it.
class BlockRing {
public:
    // Room for at least this many samples.
    explicit BlockRing(std::size_t samples);

    // Called by one thread only. False if there is no room; the block is lost then.
    bool push(std::span<const float> samples, std::int64_t timeNs);

    // Called by one other thread only. The oldest block; nullopt if there is none.
    std::optional<SoundBlock> pop();

private:
    // What is stored before the samples of a block.
    struct Header {
        std::int64_t timeNs = 0;
        std::uint32_t sampleBytes = 0;
    };

    std::uint32_t offsetOf(std::uint32_t index) const;

    spa_ringbuffer indices_ = SPA_RINGBUFFER_INIT();
    std::vector<std::byte> memory_;  // its size is a power of two, as indices that wrap around require
};

}  // namespace kasto::pipewire
