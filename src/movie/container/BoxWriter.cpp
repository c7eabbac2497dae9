#include "movie/container/BoxWriter.h"

namespace kasto {

void BoxWriter::zeros(std::size_t count) { out_.insert(out_.end(), count, 0); }

void BoxWriter::bytes(std::span<const std::uint8_t> data) {
    out_.insert(out_.end(), data.begin(), data.end());
}

void BoxWriter::text(std::string_view data) { out_.insert(out_.end(), data.begin(), data.end()); }

void BoxWriter::patchU32(std::size_t at, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i) out_[at + i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
}

void BoxWriter::put(std::uint64_t value, int bytes) {
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
        out_.push_back(static_cast<std::uint8_t>(value >> shift));
}

}  // namespace kasto
