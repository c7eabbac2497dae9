#include "movie/container/OutputFile.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace kasto {

namespace {

std::unexpected<Error> fileFailure(const std::filesystem::path& file, int errorNumber) {
    return std::unexpected(systemError("write the movie " + file.string(), errorNumber));
}

// Whether a limit on the size of this process's files allows this one to grow to so many bytes.
bool isWithinLimit(std::uint64_t sizeBytes) {
    rlimit limit{};
    return getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY ||
           sizeBytes <= limit.rlim_cur;
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

Result<void> OutputFile::reserve(std::uint64_t bytes) {
    if (!isWithinLimit(sizeBytes_ + bytes)) return fileFailure(file_, EFBIG);
    int result = 0;
    do {
        result = fallocate(descriptor_, FALLOC_FL_KEEP_SIZE, static_cast<off_t>(sizeBytes_),
                           static_cast<off_t>(bytes));
    } while (result != 0 && errno == EINTR);
    if (result == 0) return {};
    if (errno != EOPNOTSUPP && errno != ENOSYS) return fileFailure(file_, errno);
    // Without reservations the free space is compared, though other programs may use it meanwhile.
    struct statvfs disk = {};
    const bool isFull = fstatvfs(descriptor_, &disk) == 0 && disk.f_bavail * disk.f_frsize < bytes;
    return isFull ? fileFailure(file_, ENOSPC) : Result<void>();
}

void OutputFile::release() {
    // Space that stays reserved does no harm to the movie.
    [[maybe_unused]] const int cut = ftruncate(descriptor_, static_cast<off_t>(sizeBytes_));
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
