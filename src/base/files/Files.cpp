#include "base/files/Files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace kasto {

namespace {

namespace fs = std::filesystem;

std::unexpected<Error> failed(const char* what, const fs::path& file, int errorNumber = errno) {
    return std::unexpected(systemError(std::string(what) + " " + file.string(), errorNumber));
}

Result<void> makeFolder(const fs::path& folder) {
    struct stat found = {};
    if (folder.empty() || stat(folder.c_str(), &found) == 0) return {};
    if (auto made = makeFolder(folder.parent_path()); !made) return made;
    if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) return failed("make", folder);
    return {};
}

// Writes the content to the open file `aside`, waits until it is on the disk, and renames it to `file`.
Result<void> writeAside(const FileDescriptor& aside, const std::string& asideName, std::string_view content,
                        const fs::path& file) {
    if (auto written = writeAll(aside, content); !written) return failed("write", file, written.error().code);
    if (fsync(aside.get()) != 0) return failed("sync", file);
    if (std::rename(asideName.c_str(), file.c_str()) != 0) return failed("replace", file);
    return {};
}

}  // namespace

Result<std::optional<std::string>> readWholeFile(const fs::path& file) {
    // O_NONBLOCK, because opening a pipe would wait until another program opens it for writing.
    const FileDescriptor fd(open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!fd) {
        if (errno == ENOENT || errno == ENOTDIR) return std::nullopt;
        return failed("open", file);
    }
    if (!isRegularFile(fd)) return failure("no regular file: " + file.string());
    std::string content;
    std::array<char, 16384> block;
    while (true) {
        const auto count = read(fd.get(), block.data(), block.size());
        if (count == 0) return content;
        if (count > 0) {
            content.append(block.data(), static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            return failed("read", file);
        }
    }
}

Result<void> replaceFile(const fs::path& file, std::string_view content) {
    const fs::path folder = file.parent_path();
    if (auto made = makeFolder(folder); !made) return made;

    std::string asideName = file.string() + ".new-XXXXXX";
    const FileDescriptor aside(mkostemp(asideName.data(), O_CLOEXEC));
    if (!aside) return failed("make a file beside", file);
    if (auto written = writeAside(aside, asideName, content, file); !written) {
        unlink(asideName.c_str());
        return written;
    }
    // If this fails, a power cut may bring back the former content, which is complete too.
    const FileDescriptor folderFd(open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_CLOEXEC));
    if (folderFd) fsync(folderFd.get());
    return {};
}

bool isRegularFile(const FileDescriptor& fd) {
    struct stat found = {};
    return fstat(fd.get(), &found) == 0 && S_ISREG(found.st_mode);
}

Result<void> writeAll(const FileDescriptor& fd, std::string_view content) {
    while (!content.empty()) {
        const auto count = write(fd.get(), content.data(), content.size());
        if (count >= 0) {
            content.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            return std::unexpected(systemError("write", errno));
        }
    }
    return {};
}

}  // namespace kasto
