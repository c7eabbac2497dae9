#pragma once

#include "linux/x11/server/Connection.h"

#include <cstddef>
#include <cstdint>

namespace kasto::x11 {

enum class SharingMethod {
    descriptor,  // a memory file whose descriptor is sent over the connection; works across sandboxes
    systemV,     // a System V segment that both sides attach by its identifier
};

// Memory that this process shares with the X server, which writes pictures into it. The mapping lasts as long
// as this object. The server detaches when the connection ends, so the object may outlive the connection. One
// thread makes it; any thread may read it.
class SharedMemory {
public:
    // Tries the descriptor, then System V. Fails if there is no memory or the server refuses both. Blocks for
    // a round trip.
    static Result<SharedMemory> make(const Connection& connection, std::size_t bytes);
    static Result<SharedMemory> make(const Connection& connection, std::size_t bytes, SharingMethod method);

    SharedMemory(SharedMemory&& other) noexcept;
    SharedMemory& operator=(SharedMemory&&) = delete;
    ~SharedMemory();

    std::uint8_t* data() const { return data_; }
    std::size_t bytes() const { return bytes_; }
    std::uint32_t segment() const { return segment_; }  // its id in the server

private:
    SharedMemory(std::uint8_t* data, std::size_t bytes, SharingMethod method)
        : data_(data), bytes_(bytes), method_(method) {}
    static Result<SharedMemory> makeFile(const Connection& connection, std::size_t bytes);
    static Result<SharedMemory> makeSystemV(const Connection& connection, std::size_t bytes);

    std::uint8_t* data_;
    std::size_t bytes_;
    SharingMethod method_;
    std::uint32_t segment_ = 0;
};

}  // namespace kasto::x11
