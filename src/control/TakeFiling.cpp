#include "control/TakeFiling.h"

#include "base/files/FileMove.h"
#include "base/log/DebugLog.h"
#include "options/Prefs.h"

#include <string>
#include <system_error>

namespace kasto {

namespace fs = std::filesystem;

namespace {

Result<void> makeFolders(const fs::path& folder) {
    std::error_code failed;
    fs::create_directories(folder, failed);
    if (failed) return std::unexpected(systemError(folder.string(), failed.value()));
    return {};
}

fs::path moveToCloud(const fs::path& take, const fs::path& cloud) {
    const auto destination = cloud / take.filename();
    if (const auto moved = moveFile(take, destination); !moved) {
        DebugLog::log("cloud move failed (" + moved.error().description + ") — kept local");
        return take;
    }
    DebugLog::log("kasto → tolvane cloud (" + destination.filename().string() + ")");
    return destination;
}

fs::path moveToOutput(const fs::path& take, const fs::path& folder) {
    const auto destination = folder / take.filename();
    auto moved = makeFolders(folder);
    if (moved) moved = moveFile(take, destination);
    if (!moved) {
        DebugLog::log("output move failed (" + moved.error().description + ") — kept local");
        return take;
    }
    DebugLog::log("kasto → " + folder.string());
    return destination;
}

}  // namespace

fs::path fileTake(const fs::path& take) {
    if (Prefs::cloudKastos())
        if (const auto cloud = Prefs::cloudKastosDir()) return moveToCloud(take, *cloud);
    if (const auto folder = Prefs::outputDir()) return moveToOutput(take, *folder);
    return take;
}

}  // namespace kasto
