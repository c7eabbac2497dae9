#pragma once

#include "base/Result.h"

#include <filesystem>

namespace kasto {

// Moves a file to a new place and name, on the same file system or another. Never overwrites: a file that is
// there already is an error. Across file systems the copy is complete and synced under its final name before
// the source is removed, so that at every moment one whole file exists; a copy that fails half-way is removed
// again and the source stays. Blocks for as long as the copy takes. Any thread.
Result<void> moveFile(const std::filesystem::path& source, const std::filesystem::path& destination);

}  // namespace kasto
