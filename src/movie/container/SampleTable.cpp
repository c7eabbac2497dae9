#include "movie/container/SampleTable.h"

#include <numeric>

namespace kasto {

void SampleTable::addChunk(std::uint64_t fileOffset, std::int64_t firstTimeUnits,
                           std::span<const SampleRecord> samples) {
    if (samples.empty()) return;
    if (isEmpty()) startUnits = firstTimeUnits;
    chunks.push_back({fileOffset, static_cast<std::uint32_t>(samples.size())});
    for (const auto& sample : samples) {
        sizes.push_back(sample.sizeBytes);
        durations.push_back(sample.durationUnits);
        if (sample.isSync) syncSamples.push_back(static_cast<std::uint32_t>(sizes.size()));
    }
}

void SampleTable::dropFrom(std::uint64_t fileOffset) {
    while (!chunks.empty() && chunks.back().fileOffset >= fileOffset) {
        const std::size_t left = sizes.size() - chunks.back().samples;
        sizes.resize(left);
        durations.resize(left);
        chunks.pop_back();
    }
    while (!syncSamples.empty() && syncSamples.back() > sizes.size()) syncSamples.pop_back();
}

std::uint64_t SampleTable::maxTableBytes() const {
    constexpr std::uint64_t kSample = 4 + 8;  // stsz and stts
    constexpr std::uint64_t kSyncSample = 4;  // stss
    constexpr std::uint64_t kChunk = 12 + 8;  // stsc and co64
    return sizes.size() * kSample + syncSamples.size() * kSyncSample + chunks.size() * kChunk;
}

std::uint64_t SampleTable::durationUnits() const {
    return std::accumulate(durations.begin(), durations.end(), std::uint64_t{0});
}

}  // namespace kasto
