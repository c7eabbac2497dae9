#pragma once

#include <unistd.h>

#include <utility>

namespace kasto {

// An open file descriptor, closed by the destructor. One thread at a time.
class FileDescriptor {
public:
    FileDescriptor() = default;
    // Owns `fd` from now on. A negative one, as failed system calls return it, counts as none.
    explicit FileDescriptor(int fd) : fd_(fd) {}
    ~FileDescriptor() {
        if (fd_ >= 0) close(fd_);
    }
    FileDescriptor(FileDescriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }

    int get() const { return fd_; }
    // Gives up ownership; the caller has to close the descriptor.
    int release() { return std::exchange(fd_, -1); }
    explicit operator bool() const { return fd_ >= 0; }

private:
    int fd_ = -1;
};

}  // namespace kasto
