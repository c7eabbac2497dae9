#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>

namespace kasto {

// The text file behind the log. It is opened and closed for every line, so it is whole after each and may be
// moved or deleted by anyone at any time. One thread at a time; every error is swallowed, for there is nobody
// left to tell.
class LogFile {
public:
    // A file of more bytes is huge.
    static constexpr std::int64_t kMostBytes = 1'000'000;

    explicit LogFile(std::filesystem::path file);

    // Adds the bytes at the end; makes the file, but not its folder, if it is missing.
    void append(std::string_view line) const;

    // Deletes the file if it is huge.
    void trimIfHuge() const;

    const std::filesystem::path& location() const { return file_; }

private:
    std::filesystem::path file_;
};

}  // namespace kasto
