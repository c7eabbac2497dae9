#include "base/LogFile.h"

#include "base/Files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <utility>

namespace kasto {

LogFile::LogFile(std::filesystem::path file) : file_(std::move(file)) {}

void LogFile::append(std::string_view line) const {
    // O_APPEND makes the kernel find the end, so the lines of two processes cannot overwrite each other.
    const FileDescriptor fd(open(file_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644));
    if (fd) (void)writeAll(fd, line);  // a line that cannot be written is still in the system log
}

void LogFile::trimIfHuge() const {
    struct stat found {};
    if (lstat(file_.c_str(), &found) == 0 && found.st_size > kMaxBytes) unlink(file_.c_str());
}

}  // namespace kasto
