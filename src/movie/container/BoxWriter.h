#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace kasto {

// Appends the big-endian fields and nested boxes of a movie file to a byte buffer, which must outlive the
// writer. One thread at a time.
class BoxWriter {
public:
    explicit BoxWriter(std::vector<std::uint8_t>& out) : out_(out) {}

    // An open box: everything written during its life lies inside it. Its size is written when it closes.
    // Boxes close in reverse order.
    class Box {
    public:
        Box(BoxWriter& writer, std::string_view type) : writer_(writer), begin_(writer.size()) {
            writer.u32(0);
            writer.text(type);
        }
        ~Box() { writer_.patchU32(begin_, static_cast<std::uint32_t>(writer_.size() - begin_)); }
        Box(const Box&) = delete;
        Box& operator=(const Box&) = delete;

    private:
        BoxWriter& writer_;
        std::size_t begin_;
    };

    [[nodiscard]] Box box(std::string_view type) { return Box(*this, type); }

    // The first four bytes of a full box's contents.
    void versionAndFlags(std::uint8_t version, std::uint32_t flags) {
        u32(static_cast<std::uint32_t>(version) << 24 | flags);
    }

    void u8(std::uint8_t value) { put(value, 1); }
    void u16(std::uint16_t value) { put(value, 2); }
    void u32(std::uint32_t value) { put(value, 4); }
    void u64(std::uint64_t value) { put(value, 8); }
    void zeros(std::size_t count);
    void bytes(std::span<const std::uint8_t> data);
    void text(std::string_view data);

    std::size_t size() const { return out_.size(); }
    void patchU32(std::size_t at, std::uint32_t value);

private:
    void put(std::uint64_t value, int bytes);

    std::vector<std::uint8_t>& out_;
};

}  // namespace kasto
