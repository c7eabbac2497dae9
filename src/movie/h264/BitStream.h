#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace kasto {

// Reads bits, most significant first. Reading past the end gives zeros.
class BitReader {
public:
    explicit BitReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    std::uint32_t bits(int count);
    std::uint32_t ue();  // ue(v): an unsigned Exp-Golomb number
    bool flag() { return bits(1) != 0; }
    std::size_t position() const { return position_; }

private:
    std::span<const std::uint8_t> bytes_;
    std::size_t position_ = 0;
};

// Appends bits, most significant first.
class BitWriter {
public:
    void bits(std::uint32_t value, int count);
    void ue(std::uint32_t value);
    void flag(bool value) { bits(value ? 1 : 0, 1); }
    // Appends the bits from position `from` up to `to` of other bytes.
    void copy(std::span<const std::uint8_t> bytes, std::size_t from, std::size_t to);
    // Appends zeros up to the next byte boundary.
    void align() { free_ = 0; }
    // Appends rbsp_stop_one_bit and zeros up to the next byte boundary.
    void stop();

    std::vector<std::uint8_t>& bytes() { return bytes_; }

private:
    std::vector<std::uint8_t> bytes_;
    int free_ = 0;  // unwritten bits of the last byte
};

// Within a NAL unit a byte 3 is inserted after two zero bytes where the payload would otherwise look like a
// start code. These two functions remove and insert it. Any thread.
std::vector<std::uint8_t> withoutEmulationPrevention(std::span<const std::uint8_t> nal);
void appendWithEmulationPrevention(std::span<const std::uint8_t> bytes, std::vector<std::uint8_t>& nal);

}  // namespace kasto
