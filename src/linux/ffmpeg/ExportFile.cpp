#include "linux/ffmpeg/ExportFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

namespace kasto::ffmpeg {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kHiddenPrefix = ".kasto-";
constexpr std::string_view kHiddenSuffix = ".mp4.part";

// Exports run one after the other, so every such file is a leftover.
void removeLeftovers(const fs::path& folder) {
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        const auto name = entry->path().filename().string();
        std::error_code ignored;  // a leftover that cannot be removed does no harm
        if (name.starts_with(kHiddenPrefix) && name.ends_with(kHiddenSuffix))
            fs::remove(entry->path(), ignored);
    }
}

Error fileError(const fs::path& file, int errorNumber) { return systemError(file.string(), errorNumber); }

}  // namespace

Result<ExportFile> ExportFile::create(const fs::path& destination) {
    const auto folder = destination.parent_path();
    removeLeftovers(folder);
    FileDescriptor unnamed(open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666));
    if (unnamed) return ExportFile(std::move(unnamed), destination, {});
    // EISDIR comes from kernels that do not know the flag at all.
    if (errno != EOPNOTSUPP && errno != EISDIR) return std::unexpected(fileError(destination, errno));
    auto hidden =
        folder / (std::string(kHiddenPrefix) + destination.stem().string() + std::string(kHiddenSuffix));
    FileDescriptor named(open(hidden.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0666));
    if (!named) return std::unexpected(fileError(destination, errno));
    return ExportFile(std::move(named), destination, std::move(hidden));
}

ExportFile::ExportFile(FileDescriptor file, fs::path destination, fs::path hidden)
    : file_(std::move(file)), destination_(std::move(destination)), hidden_(std::move(hidden)) {}

ExportFile::~ExportFile() {
    if (!hidden_.empty()) unlink(hidden_.c_str());
}

std::string ExportFile::openPath() const { return "/proc/self/fd/" + std::to_string(file_.get()); }

Result<void> ExportFile::publish() {
    if (fsync(file_.get()) != 0) return std::unexpected(fileError(destination_, errno));
    const auto from = openPath();
    const bool isNamed =
        hidden_.empty()
            ? linkat(AT_FDCWD, from.c_str(), AT_FDCWD, destination_.c_str(), AT_SYMLINK_FOLLOW) == 0
            : renameat2(AT_FDCWD, hidden_.c_str(), AT_FDCWD, destination_.c_str(), 0) == 0;
    if (!isNamed) return std::unexpected(fileError(destination_, errno));
    hidden_.clear();
    // The name, too, must be on the disk before the caller removes the movie this was made of.
    const FileDescriptor folder(open(destination_.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder) (void)fsync(folder.get());
    return {};
}

}  // namespace kasto::ffmpeg
