#pragma once

#include "platform/ExportSession.h"

#include <filesystem>
#include <optional>

namespace kasto {

// Rewraps a finished movie as an MPEG-4 file in the same folder, replacing an existing file of that name, and
// then removes the movie. Returns the new file, or none if that failed; the movie is then kept and there is
// no MPEG-4 file. Blocks. Any thread.
std::optional<std::filesystem::path> convertToMP4(MovieExports& exports, const std::filesystem::path& source);

}  // namespace kasto
