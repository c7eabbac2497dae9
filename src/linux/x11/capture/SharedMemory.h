#pragma once

#include "linux/x11/server/Connection.h"

#include <cstddef>
#include <cstdint>

namespace kasto::x11 {

enum class SharingMethod {
    descriptor,  // a memory file handed over the connection; works across sandboxes
    systemV,     // an identifier both sides attach
};

// Memory that the X server writes pictures into. The mapping stays until this object goes; the server's side
// ends with the connection, so the object may outlive it.
class SharedMemory {
public:
    // Tries the ways one after the other.
    static Result<SharedMemory> make(const Connection& connection, std::size_t bytes);
    static Result<SharedMemory> make(const Connection& connection, std::size_t bytes, SharingMethod way);

    SharedMemory(SharedMemory&& other) noexcept;
    SharedMemory& operator=(SharedMemory&&) = delete;
    ~SharedMemory();

    std::uint8_t* data() const { return data_; }
    std::size_t bytes() const { return bytes_; }
    std::uint32_t segment() const { return segment_; }  // the server's name for it

private:
    SharedMemory(std::uint8_t* data, std::size_t bytes, SharingMethod way)
        : data_(data), bytes_(bytes), way_(way) {}
    static Result<SharedMemory> makeFile(const Connection& connection, std::size_t bytes);
    static Result<SharedMemory> makeSystemV(const Connection& connection, std::size_t bytes);

    std::uint8_t* data_;
    std::size_t bytes_;
    SharingMethod way_;
    std::uint32_t segment_ = 0;
};

}  // namespace kasto::x11
