#include "linux/pipewire/sound/BlockRing.h"

#include <bit>

namespace kasto::pipewire {

BlockRing::BlockRing(std::size_t samples) : memory_(std::bit_ceil(samples * sizeof(float))) {}

std::uint32_t BlockRing::offsetOf(std::uint32_t index) const {
    return index & (static_cast<std::uint32_t>(memory_.size()) - 1);
}

bool BlockRing::push(std::span<const float> samples, std::int64_t timeNs) {
    const Header header{timeNs, static_cast<std::uint32_t>(samples.size_bytes())};
    const auto size = static_cast<std::uint32_t>(memory_.size());
    std::uint32_t index = 0;
    const auto filled = static_cast<std::size_t>(spa_ringbuffer_get_write_index(&indices_, &index));
    if (filled + sizeof header + samples.size_bytes() > memory_.size()) return false;
    spa_ringbuffer_write_data(&indices_, memory_.data(), size, offsetOf(index), &header, sizeof header);
    index += sizeof header;
    spa_ringbuffer_write_data(&indices_, memory_.data(), size, offsetOf(index), samples.data(),
                              header.sampleBytes);
    spa_ringbuffer_write_update(&indices_, static_cast<std::int32_t>(index + header.sampleBytes));
    return true;
}

std::optional<SoundBlock> BlockRing::pop() {
    const auto size = static_cast<std::uint32_t>(memory_.size());
    std::uint32_t index = 0;
    if (spa_ringbuffer_get_read_index(&indices_, &index) == 0) return std::nullopt;
    Header header;
    spa_ringbuffer_read_data(&indices_, memory_.data(), size, offsetOf(index), &header, sizeof header);
    index += sizeof header;
    SoundBlock block{.samples = std::vector<float>(header.sampleBytes / sizeof(float)),
                     .timeNs = header.timeNs};
    spa_ringbuffer_read_data(&indices_, memory_.data(), size, offsetOf(index), block.samples.data(),
                             header.sampleBytes);
    spa_ringbuffer_read_update(&indices_, static_cast<std::int32_t>(index + header.sampleBytes));
    return block;
}

}  // namespace kasto::pipewire
