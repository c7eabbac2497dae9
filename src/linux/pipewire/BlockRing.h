#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace kasto::pipewire {

// A piece of sound with the time of its first sample.
struct SoundBlock {
    std::vector<float> samples;
    std::int64_t timeNs = 0;
};

// Hands blocks of sound from one thread to another. Neither waits; the one that puts them in does not
// allocate either.
class BlockRing {
public:
    explicit BlockRing(std::size_t mostSamples) : samples_(mostSamples) {}

    // One thread. False if there is no room: the block is lost.
    bool push(std::span<const float> samples, std::int64_t timeNs);

    // One other thread.
    std::optional<SoundBlock> pop();

private:
    struct Header {
        std::size_t samples = 0;
        std::int64_t timeNs = 0;
    };

    std::vector<float> samples_;
    std::array<Header, 256> headers_;
    // All count up for ever; their remainders are positions.
    std::size_t written_ = 0;  // samples, the pushing thread's
    std::atomic<std::size_t> read_ = 0;
    std::atomic<std::size_t> blocksPushed_ = 0;
    std::atomic<std::size_t> blocksPopped_ = 0;
};

}  // namespace kasto::pipewire
