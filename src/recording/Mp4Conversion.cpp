#include "recording/Mp4Conversion.h"

#include "base/log/DebugLog.h"

#include <system_error>

namespace kasto {

namespace fs = std::filesystem;

std::optional<fs::path> convertToMP4(MovieExports& exports, const fs::path& source) {
    std::error_code ignored;  // there may be no file to remove, and one that stays does no harm
    auto session = exports.makePassthroughSession(source);
    if (!session) {
        DebugLog::log("mp4 convert: no export session — kept mov");
        return std::nullopt;
    }
    auto destination = source;
    destination.replace_extension("mp4");
    fs::remove(destination, ignored);
    if (const auto exported = (*session)->exportMpeg4(destination); !exported) {
        const auto& why = exported.error().description;
        DebugLog::log("mp4 convert failed: " + (why.empty() ? "unknown" : why) + " — kept mov");
        fs::remove(destination, ignored);
        return std::nullopt;
    }
    fs::remove(source, ignored);
    DebugLog::log("converted → " + destination.filename().string());
    return destination;
}

}  // namespace kasto
