#pragma once

#include "platform/ExportSession.h"

#include <filesystem>
#include <optional>

namespace kasto {

// Rewraps a finished movie as an MPEG-4 file beside it, replacing one of that name that is there, and then
// removes the movie. The new file, or none when that failed: exactly one of the two is left in either case.
// Blocks; any thread.
std::optional<std::filesystem::path> convertToMP4(MovieExports& exports, const std::filesystem::path& source);

}  // namespace kasto
