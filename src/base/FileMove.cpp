#include "base/FileMove.h"

#include "base/FileDescriptor.h"
#include "base/Files.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <string>
#include <vector>

namespace kasto {

namespace fs = std::filesystem;

namespace {

Error moveError(const fs::path& destination, int errorNumber) {
    return systemError(destination.string(), errorNumber);
}

// A rename that fails where the destination exists. 0, or the error's number.
int renameWithoutReplacing(const fs::path& from, const fs::path& to) {
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return errno;
    // File systems without that flag (some network ones) still make hard links, which do not replace either.
    if (link(from.c_str(), to.c_str()) == 0) {
        unlink(from.c_str());
        return 0;
    }
    if (errno != EPERM && errno != EOPNOTSUPP && errno != ENOSYS) return errno;
    // Neither: what is left is to look first.
    struct stat there {};
    if (lstat(to.c_str(), &there) == 0) return EEXIST;
    return std::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

int copyThroughMemory(const FileDescriptor& from, const FileDescriptor& to) {
    std::vector<char> block(1 << 20);
    while (true) {
        const auto got = read(from.get(), block.data(), block.size());
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return errno;
        if (got == 0) return 0;
        if (const auto written = writeAll(to, {block.data(), static_cast<std::size_t>(got)}); !written)
            return written.error().code;
    }
}

int copyContents(const FileDescriptor& from, const FileDescriptor& to) {
    constexpr std::size_t kMostAtATime = 1 << 30;
    bool any = false;
    while (true) {
        const auto copied = copy_file_range(from.get(), nullptr, to.get(), nullptr, kMostAtATime, 0);
        if (copied == 0) return any ? 0 : copyThroughMemory(from, to);  // some file systems answer 0 at once
        if (copied > 0) {
            any = true;
        } else if (errno == EXDEV || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP) {
            return copyThroughMemory(from, to);
        } else if (errno != EINTR) {
            return errno;
        }
    }
}

int syncFolder(const fs::path& folder) {
    const FileDescriptor handle(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!handle || fsync(handle.get()) != 0) return errno;
    return 0;
}

Result<void> copyThenRemove(const fs::path& source, const fs::path& destination) {
    const FileDescriptor from(open(source.c_str(), O_RDONLY | O_CLOEXEC));
    if (!from) return std::unexpected(systemError(source.string(), errno));
    struct stat info {};
    if (fstat(from.get(), &info) != 0) return std::unexpected(systemError(source.string(), errno));

    auto partName =
        (destination.parent_path() / ("." + destination.filename().string() + ".XXXXXX")).string();
    const FileDescriptor to(mkostemp(partName.data(), O_CLOEXEC));
    if (!to) return std::unexpected(moveError(destination, errno));

    int failed = copyContents(from, to);
    if (!failed && fsync(to.get()) != 0) failed = errno;
    if (!failed) {
        // The times and the mode are a courtesy; the data is what must not be lost.
        const std::array<timespec, 2> times{info.st_atim, info.st_mtim};
        (void)futimens(to.get(), times.data());
        (void)fchmod(to.get(), info.st_mode & 07777);
        failed = renameWithoutReplacing(partName, destination);
    }
    if (failed) {
        unlink(partName.c_str());
        return std::unexpected(moveError(destination, failed));
    }
    // A folder that cannot be synced (some network file systems) keeps both names rather than risk the data.
    if (syncFolder(destination.parent_path()) == 0) unlink(source.c_str());
    return {};
}

}  // namespace

Result<void> moveFile(const fs::path& source, const fs::path& destination) {
    const int failed = renameWithoutReplacing(source, destination);
    if (failed == 0) return {};
    if (failed == EXDEV) return copyThenRemove(source, destination);
    return std::unexpected(moveError(failed == ENOENT && !fs::exists(source) ? source : destination, failed));
}

}  // namespace kasto
