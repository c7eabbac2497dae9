#include "movie/container/OutputFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace kasto {

namespace {

std::unexpected<Error> fileFailure(const std::filesystem::path& file, int errorNumber) {
    return std::unexpected(systemError("write the movie " + file.string(), errorNumber));
}

}  // namespace

Result<OutputFile> OutputFile::create(const std::filesystem::path& file) {
    const int descriptor = open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0) return fileFailure(file, errno);
    return OutputFile(descriptor, file);
}

OutputFile::OutputFile(int descriptor, std::filesystem::path file)
    : descriptor_(descriptor), file_(std::move(file)) {}

OutputFile::OutputFile(OutputFile&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)),
      file_(std::move(other.file_)),
      sizeBytes_(other.sizeBytes_) {}

OutputFile::~OutputFile() {
    if (descriptor_ >= 0) close(descriptor_);
}

Result<void> OutputFile::append(std::span<const std::span<const std::uint8_t>> pieces) {
    std::uint64_t end = sizeBytes_;
    for (const auto& piece : pieces) {
        if (const auto written = writeAt(end, piece); !written) {
            // If the incomplete fragment cannot be cut off, players stop before it all the same.
            [[maybe_unused]] const int cut = ftruncate(descriptor_, static_cast<off_t>(sizeBytes_));
            return written;
        }
        end += piece.size();
    }
    sizeBytes_ = end;
    return {};
}

Result<void> OutputFile::overwrite(std::uint64_t offset, std::span<const std::uint8_t> data) {
    return writeAt(offset, data);
}

Result<void> OutputFile::sync() {
    if (fdatasync(descriptor_) != 0) return fileFailure(file_, errno);
    return {};
}

Result<void> OutputFile::writeAt(std::uint64_t offset, std::span<const std::uint8_t> data) {
    while (!data.empty()) {
        const auto written = pwrite(descriptor_, data.data(), data.size(), static_cast<off_t>(offset));
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return fileFailure(file_, errno);
        if (written == 0) return fileFailure(file_, ENOSPC);
        offset += static_cast<std::uint64_t>(written);
        data = data.subspan(static_cast<std::size_t>(written));
    }
    return {};
}

}  // namespace kasto
