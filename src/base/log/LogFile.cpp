#include "base/log/LogFile.h"

#include "base/files/Files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <utility>

namespace kasto {

LogFile::LogFile(std::filesystem::path file) : file_(std::move(file)) {}

void LogFile::append(std::string_view line) const {
    // O_APPEND makes the kernel find the end, so the lines of two processes cannot overwrite each other.
    // O_NONBLOCK keeps the program from waiting for ever if the file is a pipe without a reader.
    constexpr int kFlags = O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_CLOEXEC;
    const FileDescriptor fd(open(file_.c_str(), kFlags, 0644));
    // A line that cannot be written is still in the system log.
    if (fd && isRegularFile(fd)) (void)writeAll(fd, line);
}

void LogFile::trimIfHuge() const {
    struct stat found = {};
    if (lstat(file_.c_str(), &found) == 0 && found.st_size > kMaxBytes) unlink(file_.c_str());
}

}  // namespace kasto
