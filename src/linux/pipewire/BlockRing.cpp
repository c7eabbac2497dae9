#include "linux/pipewire/BlockRing.h"

#include <algorithm>

namespace kasto::pipewire {

bool BlockRing::push(std::span<const float> samples, std::int64_t timeNs) {
    const std::size_t block = blocksPushed_.load(std::memory_order_relaxed);
    if (block - blocksPopped_.load(std::memory_order_acquire) == headers_.size()) return false;
    if (written_ - read_.load(std::memory_order_acquire) + samples.size() > samples_.size()) return false;
    const std::size_t start = written_ % samples_.size();
    const std::size_t untilEnd = std::min(samples.size(), samples_.size() - start);
    std::ranges::copy(samples.first(untilEnd), samples_.begin() + static_cast<std::ptrdiff_t>(start));
    std::ranges::copy(samples.subspan(untilEnd), samples_.begin());
    headers_[block % headers_.size()] = {samples.size(), timeNs};
    written_ += samples.size();
    blocksPushed_.store(block + 1, std::memory_order_release);
    return true;
}

std::optional<SoundBlock> BlockRing::pop() {
    const std::size_t block = blocksPopped_.load(std::memory_order_relaxed);
    if (block == blocksPushed_.load(std::memory_order_acquire)) return std::nullopt;
    const Header header = headers_[block % headers_.size()];
    const std::size_t position = read_.load(std::memory_order_relaxed);
    const std::size_t start = position % samples_.size();
    const std::size_t untilEnd = std::min(header.samples, samples_.size() - start);
    const std::span<const float> all(samples_);
    SoundBlock popped{.samples = {}, .timeNs = header.timeNs};
    popped.samples.reserve(header.samples);
    for (const auto part : {all.subspan(start, untilEnd), all.first(header.samples - untilEnd)})
        popped.samples.insert(popped.samples.end(), part.begin(), part.end());
    read_.store(position + header.samples, std::memory_order_release);
    blocksPopped_.store(block + 1, std::memory_order_release);
    return popped;
}

}  // namespace kasto::pipewire
