#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>

namespace kasto {

// The text file of the log. It is opened and closed for every line, so it is complete after each line and may
// be moved or deleted at any time. One thread at a time. Errors are ignored, because the log is where they
// would be reported.
class LogFile {
public:
    // A file with more bytes is huge.
    static constexpr std::int64_t kMaxBytes = 1'000'000;

    explicit LogFile(std::filesystem::path file);

    // Appends the bytes. Makes the file if it is missing, but not its folder.
    void append(std::string_view line) const;

    // Deletes the file if it is huge.
    void trimIfHuge() const;

    const std::filesystem::path& location() const { return file_; }

private:
    std::filesystem::path file_;
};

}  // namespace kasto
