#pragma once

#include "base/Result.h"

#include <cstdint>
#include <filesystem>
#include <span>

namespace kasto {

// A new file that grows at its end. One thread at a time. Errors name the file.
class OutputFile {
public:
    // Fails if the file exists.
    static Result<OutputFile> create(const std::filesystem::path& file);

    OutputFile(OutputFile&& other) noexcept;
    OutputFile& operator=(OutputFile&&) = delete;
    ~OutputFile();

    // The sum of all successful appends.
    std::uint64_t sizeBytes() const { return sizeBytes_; }

    // Appends all pieces or none: after a failure the file ends where it ended before.
    Result<void> append(std::span<const std::span<const std::uint8_t>> pieces);

    // Makes sure that so many bytes can be appended, by allocating them on the disk where the file system
    // supports that. Fails if there is no room for them; the file and earlier reservations then stay as they
    // are.
    Result<void> reserve(std::uint64_t bytes);

    // Gives back what is reserved behind the file's end.
    void release();

    // Replaces bytes within the file.
    Result<void> overwrite(std::uint64_t offset, std::span<const std::uint8_t> data);

    // Returns when everything is on the disk.
    Result<void> sync();

private:
    OutputFile(int descriptor, std::filesystem::path file);
    Result<void> writeAt(std::uint64_t offset, std::span<const std::uint8_t> data);

    int descriptor_;
    std::filesystem::path file_;
    std::uint64_t sizeBytes_ = 0;
};

}  // namespace kasto
