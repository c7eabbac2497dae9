#pragma once

#include "base/FileDescriptor.h"
#include "base/Result.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace kasto {

// Reading and writing whole files. Any thread; all operations wait for the file system.

// The content of the file; nullopt if there is no such file. Fails if the file cannot be read, and for a
// pipe, a device or a folder.
Result<std::optional<std::string>> readWholeFile(const std::filesystem::path& file);

// Replaces the content of the file. At every moment, even after a power cut, the file has either all of its
// former content or all of the new one. Missing folders are made; they and the file can be accessed by the
// user only. After a failure the former content is unchanged.
Result<void> replaceFile(const std::filesystem::path& file, std::string_view content);

// False for pipes, devices and folders.
bool isRegularFile(const FileDescriptor& fd);

// Writes all of `content` at the descriptor's position. After a failure part of it may have been written.
Result<void> writeAll(const FileDescriptor& fd, std::string_view content);

}  // namespace kasto
