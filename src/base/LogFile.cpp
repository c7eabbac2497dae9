#include "base/LogFile.h"

#include "base/Files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <utility>

namespace kasto {

LogFile::LogFile(std::filesystem::path file) : file_(std::move(file)) {}

void LogFile::append(std::string_view line) const {
    // The kernel finds the end, so that two programs' lines cannot overwrite each other.
    const FileDescriptor fd(open(file_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644));
    if (fd) (void)writeAll(fd, line);  // lost from the file only: the system log has it
}

void LogFile::trimIfHuge() const {
    struct stat found {};
    if (lstat(file_.c_str(), &found) == 0 && found.st_size > kMostBytes) unlink(file_.c_str());
}

}  // namespace kasto
