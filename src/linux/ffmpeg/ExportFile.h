#pragma once

#include "base/FileDescriptor.h"
#include "base/Result.h"

#include <filesystem>
#include <string>

namespace kasto::ffmpeg {

// A file that gets its name when it is complete. Until then it has none, or a hidden one beside the
// destination where the file system has no files without a name. One thread at a time.
class ExportFile {
public:
    // Also removes what an export that was killed has left in the folder under such a hidden name.
    static Result<ExportFile> create(const std::filesystem::path& destination);

    ExportFile(ExportFile&& other) noexcept = default;
    ExportFile& operator=(ExportFile&&) = delete;
    // Removes the file if it did not get its name.
    ~ExportFile();

    // A path under which libraries can open the file, as long as this object lives.
    std::string openPath() const;

    // Waits until the file is on the disk and gives it its name. Fails if there is such a file already.
    Result<void> publish();

private:
    ExportFile(FileDescriptor file, std::filesystem::path destination, std::filesystem::path hidden);

    FileDescriptor file_;
    std::filesystem::path destination_;
    std::filesystem::path hidden_;  // empty for a file without a name
};

}  // namespace kasto::ffmpeg
