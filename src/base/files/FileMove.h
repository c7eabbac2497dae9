#pragma once

#include "base/Result.h"

#include <filesystem>

namespace kasto {

// Moves a file to a new path, on the same file system or another one. Never overwrites: it is an error if the
// destination exists. A file whose path already is the destination is left alone, which is no error. To
// another file system the file is copied; the source is removed only after the copy is complete and on the
// disk under its final name. After a failure the source is unchanged. Returns when the copy is done, however
// long it takes. Any thread.
Result<void> moveFile(const std::filesystem::path& source, const std::filesystem::path& destination);

}  // namespace kasto
