#pragma once

#include "base/FileDescriptor.h"
#include "base/Result.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace kasto {

// Whole files at a time. Any thread; all block on the file system.

// The file's content; none if there is no such file. Fails if there is one that cannot be read.
Result<std::optional<std::string>> readWholeFile(const std::filesystem::path& file);

// Puts `content` in the place of the file: whoever opens it, even after a power cut, finds all of the former
// content or all of the new. Makes missing folders for the user alone; the file, too, is the user's alone.
// After a failure the former content is untouched.
Result<void> replaceFile(const std::filesystem::path& file, std::string_view content);

// Writes all of `content` where the descriptor stands. Fails with what part of it was written left there.
Result<void> writeAll(const FileDescriptor& fd, std::string_view content);

}  // namespace kasto
