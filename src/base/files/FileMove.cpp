#include "base/files/FileMove.h"

#include "base/FileDescriptor.h"
#include "base/files/Files.h"

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

// All functions below that return an int return 0 or an error number.

// A rename that fails with EEXIST if the destination exists.
int renameWithoutReplacing(const fs::path& from, const fs::path& to) {
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return errno;
    // Some network file systems do not support that flag. Making a hard link does not replace either.
    if (link(from.c_str(), to.c_str()) == 0) {
        unlink(from.c_str());
        return 0;
    }
    if (errno != EPERM && errno != EOPNOTSUPP && errno != ENOSYS) return errno;
    // Without hard links one can only look before renaming; another process may still come in between.
    struct stat existing = {};
    if (lstat(to.c_str(), &existing) == 0) return EEXIST;
    return std::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

// The file that a copy is written to, in the folder of its destination. Preferably it has no name until it is
// complete: then nothing is left of it if the process is killed. Not all file systems can do that; on the
// others it has a hidden name. The destructor removes it unless it has got its final name.
class UnfinishedCopy {
public:
    explicit UnfinishedCopy(const fs::path& destination, bool mayBeNameless) : destination_(destination) {
        const fs::path folder = destination.parent_path();
        if (mayBeNameless)
            file_ = FileDescriptor(
                open(folder.empty() ? "." : folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600));
        if (file_) return;
        name_ = (folder / ("." + destination.filename().string() + ".XXXXXX")).string();
        file_ = FileDescriptor(mkostemp(name_.data(), O_CLOEXEC));
        if (!file_) name_.clear();
    }
    ~UnfinishedCopy() {
        if (!name_.empty()) unlink(name_.c_str());
    }
    UnfinishedCopy(const UnfinishedCopy&) = delete;
    UnfinishedCopy& operator=(const UnfinishedCopy&) = delete;

    const FileDescriptor& file() const { return file_; }
    bool isNameless() const { return file_ && name_.empty(); }

    // Gives the file its final name; fails with EEXIST if that exists.
    int publish() {
        if (isNameless()) {
            const auto self = "/proc/self/fd/" + std::to_string(file_.get());
            return linkat(AT_FDCWD, self.c_str(), AT_FDCWD, destination_.c_str(), AT_SYMLINK_FOLLOW) == 0
                       ? 0
                       : errno;
        }
        const int failed = renameWithoutReplacing(name_, destination_);
        if (!failed) name_.clear();
        return failed;
    }

private:
    const fs::path& destination_;
    FileDescriptor file_;
    std::string name_;
};

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

int copyContent(const FileDescriptor& from, const FileDescriptor& to) {
    constexpr std::size_t kMaxAtOnce = 1 << 30;
    while (true) {
        const auto copied = copy_file_range(from.get(), nullptr, to.get(), nullptr, kMaxAtOnce, 0);
        if (copied > 0 || (copied < 0 && errno == EINTR)) continue;
        // Some file systems return 0 before the end of the file. Both positions are where the copying
        // stopped, so reading and writing can take over, and at the end of the file has nothing to do.
        const bool isUnsupported =
            copied == 0 || errno == EXDEV || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP;
        return isUnsupported ? copyThroughMemory(from, to) : errno;
    }
}

// Copies the content, checks that all of it arrived, and waits until it is on the disk.
int copyCompletely(const FileDescriptor& from, const FileDescriptor& to) {
    if (const int failed = copyContent(from, to)) return failed;
    struct stat source = {};
    struct stat copy = {};
    if (fstat(from.get(), &source) != 0 || fstat(to.get(), &copy) != 0) return errno;
    if (copy.st_size != source.st_size) return EIO;
    // A copy without the original times and mode is still a complete copy, so errors are ignored.
    const std::array<timespec, 2> times{source.st_atim, source.st_mtim};
    (void)futimens(to.get(), times.data());
    (void)fchmod(to.get(), source.st_mode & 07777);
    return fsync(to.get()) == 0 ? 0 : errno;
}

int syncFolder(const fs::path& folder) {
    const FileDescriptor handle(
        open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return handle && fsync(handle.get()) == 0 ? 0 : errno;
}

Result<void> copyThenRemove(const fs::path& source, const fs::path& destination, bool mayBeNameless = true) {
    const FileDescriptor from(open(source.c_str(), O_RDONLY | O_CLOEXEC));
    if (!from) return std::unexpected(systemError(source.string(), errno));
    UnfinishedCopy copy(destination, mayBeNameless);
    if (!copy.file()) return std::unexpected(moveError(destination, errno));
    if (const int failed = copyCompletely(from, copy.file()))
        return std::unexpected(moveError(destination, failed));
    if (const int failed = copy.publish()) {
        const bool mayTryNamed =
            copy.isNameless() && failed != EEXIST && failed != ENOSPC && failed != EDQUOT;
        if (mayTryNamed) return copyThenRemove(source, destination, false);
        return std::unexpected(moveError(destination, failed));
    }
    // If the folder cannot be synced, as on some network file systems, both files are kept: a power cut could
    // make the new name disappear.
    if (syncFolder(destination.parent_path()) == 0) unlink(source.c_str());
    return {};
}

}  // namespace

Result<void> moveFile(const fs::path& source, const fs::path& destination) {
    std::error_code ignored;
    const bool isThere = source.filename() == destination.filename() &&
                         fs::equivalent(source.parent_path(), destination.parent_path(), ignored);
    if (isThere && fs::exists(source, ignored)) return {};
    const int failed = renameWithoutReplacing(source, destination);
    if (failed == 0) return {};
    if (failed == EXDEV) return copyThenRemove(source, destination);
    struct stat existing = {};
    const bool isSourceMissing = failed == ENOENT && lstat(source.c_str(), &existing) != 0;
    return std::unexpected(moveError(isSourceMissing ? source : destination, failed));
}

}  // namespace kasto
