#include "linux/x11/capture/SharedMemory.h"

#include "base/FileDescriptor.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/shm.h>
#include <xcb/shm.h>

#include <cerrno>

namespace kasto::x11 {

namespace {

constexpr const char* kRefused = "the X server does not share memory with this program";

}  // namespace

Result<SharedMemory> SharedMemory::make(const Connection& connection, std::size_t bytes) {
    auto made = make(connection, bytes, SharingMethod::descriptor);
    if (made) return made;
    return make(connection, bytes, SharingMethod::systemV);
}

Result<SharedMemory> SharedMemory::make(const Connection& connection, std::size_t bytes,
                                        SharingMethod method) {
    return method == SharingMethod::descriptor ? makeFile(connection, bytes) : makeSystemV(connection, bytes);
}

Result<SharedMemory> SharedMemory::makeFile(const Connection& connection, std::size_t bytes) {
    auto* c = connection.raw();
    FileDescriptor file(memfd_create("kasto-picture", MFD_CLOEXEC));
    if (!file) return std::unexpected(systemError("memory for pictures", errno));
    // Without this, missing memory would end the process when the first pixel is written.
    if (const int error = posix_fallocate(file.get(), 0, static_cast<off_t>(bytes)); error != 0)
        return std::unexpected(systemError("memory for pictures", error));
    void* mapped = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (mapped == MAP_FAILED) return std::unexpected(systemError("memory for pictures", errno));

    SharedMemory memory(static_cast<std::uint8_t*>(mapped), bytes, SharingMethod::descriptor);
    memory.segment_ = xcb_generate_id(c);
    // xcb closes the descriptor once it is sent.
    const auto cookie = xcb_shm_attach_fd_checked(c, memory.segment_, file.release(), 0);
    const Reply<xcb_generic_error_t> error(xcb_request_check(c, cookie));
    if (error || connection.isLost()) return failure(kRefused);
    return memory;
}

Result<SharedMemory> SharedMemory::makeSystemV(const Connection& connection, std::size_t bytes) {
    auto* c = connection.raw();
    const int id = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
    if (id < 0) return std::unexpected(systemError("memory for pictures", errno));
    void* mapped = shmat(id, nullptr, 0);
    if (mapped == reinterpret_cast<void*>(-1)) {
        const int error = errno;
        shmctl(id, IPC_RMID, nullptr);
        return std::unexpected(systemError("memory for pictures", error));
    }
    SharedMemory memory(static_cast<std::uint8_t*>(mapped), bytes, SharingMethod::systemV);
    memory.segment_ = xcb_generate_id(c);
    const auto cookie = xcb_shm_attach_checked(c, memory.segment_, static_cast<std::uint32_t>(id), 0);
    const Reply<xcb_generic_error_t> error(xcb_request_check(c, cookie));
    // Both sides are attached, so the identifier can go, and nothing is left behind after a crash.
    shmctl(id, IPC_RMID, nullptr);
    if (error || connection.isLost()) return failure(kRefused);
    return memory;
}

SharedMemory::SharedMemory(SharedMemory&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)),
      bytes_(other.bytes_),
      method_(other.method_),
      segment_(other.segment_) {}

SharedMemory::~SharedMemory() {
    if (!data_) return;
    if (method_ == SharingMethod::descriptor) {
        munmap(data_, bytes_);
    } else {
        shmdt(data_);
    }
}

}  // namespace kasto::x11
