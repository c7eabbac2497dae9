#pragma once

#include <unistd.h>

#include <utility>

namespace kasto {

// An open file descriptor, closed at the end of its life. One owner, no lock.
class FileDescriptor {
public:
    FileDescriptor() = default;
    // Takes over `fd`; a negative one, as failed system calls return it, is none.
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
    // Gives the descriptor up to whoever closes it from here on.
    int release() { return std::exchange(fd_, -1); }
    explicit operator bool() const { return fd_ >= 0; }

private:
    int fd_ = -1;
};

}  // namespace kasto
