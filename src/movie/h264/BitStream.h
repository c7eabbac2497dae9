#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace kasto {

// Bits as H.264 headers are made of, most significant first. Reading past the end gives zeros.
class BitReader {
public:
    explicit BitReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    std::uint32_t bits(int count);
    std::uint32_t ue();  // an unsigned Exp-Golomb number
    bool flag() { return bits(1) != 0; }
    std::size_t position() const { return position_; }

private:
    std::span<const std::uint8_t> bytes_;
    std::size_t position_ = 0;
};

class BitWriter {
public:
    void bits(std::uint32_t value, int count);
    void ue(std::uint32_t value);
    void flag(bool value) { bits(value ? 1 : 0, 1); }
    // The bits [from, to) of other bytes.
    void copy(std::span<const std::uint8_t> bytes, std::size_t from, std::size_t to);
    // Zeros up to the next byte.
    void align() { free_ = 0; }
    // The one that ends a unit, and zeros up to the next byte.
    void stop();

    std::vector<std::uint8_t>& bytes() { return bytes_; }

private:
    std::vector<std::uint8_t> bytes_;
    int free_ = 0;  // bits of the last byte that are not written yet
};

// A NAL unit keeps its payload from looking like a start code by an extra 3 after two zeros.
std::vector<std::uint8_t> withoutEmulationPrevention(std::span<const std::uint8_t> nal);
void appendWithEmulationPrevention(std::span<const std::uint8_t> bytes, std::vector<std::uint8_t>& nal);

}  // namespace kasto
