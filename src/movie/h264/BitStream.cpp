#include "movie/h264/BitStream.h"

#include <bit>

namespace kasto {

std::uint32_t BitReader::bits(int count) {
    std::uint32_t value = 0;
    for (; count > 0; --count, ++position_) {
        const auto byte = position_ / 8;
        const auto bit = byte < bytes_.size() ? bytes_[byte] >> (7 - position_ % 8) & 1 : 0;
        value = value << 1 | static_cast<std::uint32_t>(bit);
    }
    return value;
}

std::uint32_t BitReader::ue() {
    constexpr int kMaxZeros = 31;
    int zeros = 0;
    while (zeros < kMaxZeros && !flag()) ++zeros;
    return (1U << zeros) - 1 + bits(zeros);
}

void BitWriter::bits(std::uint32_t value, int count) {
    while (count > 0) {
        if (free_ == 0) {
            bytes_.push_back(0);
            free_ = 8;
        }
        --count;
        --free_;
        bytes_.back() = static_cast<std::uint8_t>(bytes_.back() | (value >> count & 1) << free_);
    }
}

void BitWriter::ue(std::uint32_t value) {
    const int length = std::bit_width(value + 1);
    bits(0, length - 1);
    bits(value + 1, length);
}

void BitWriter::copy(std::span<const std::uint8_t> bytes, std::size_t from, std::size_t to) {
    for (; from < to; ++from) bits(static_cast<std::uint32_t>(bytes[from / 8] >> (7 - from % 8) & 1), 1);
}

void BitWriter::stop() {
    bits(1, 1);
    free_ = 0;
}

std::vector<std::uint8_t> withoutEmulationPrevention(std::span<const std::uint8_t> nal) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(nal.size() + 2);
    int zeros = 0;
    for (const auto byte : nal) {
        if (zeros == 2 && byte == 3) {
            zeros = 0;
            continue;
        }
        zeros = byte == 0 ? zeros + 1 : 0;
        bytes.push_back(byte);
    }
    return bytes;
}

void appendWithEmulationPrevention(std::span<const std::uint8_t> bytes, std::vector<std::uint8_t>& nal) {
    int zeros = 0;
    for (const auto byte : bytes) {
        if (zeros == 2 && byte <= 3) {
            nal.push_back(3);
            zeros = 0;
        }
        zeros = byte == 0 ? zeros + 1 : 0;
        nal.push_back(byte);
    }
}

}  // namespace kasto
