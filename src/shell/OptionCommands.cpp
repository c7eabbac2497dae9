#include "shell/OptionCommands.h"

#include "base/log/DebugLog.h"
#include "options/OptionTexts.h"
#include "options/Prefs.h"
#include "platform/Desktop.h"
#include "platform/Workspace.h"

namespace kasto {

namespace {

namespace fs = std::filesystem;

void keep(const RegionChoice& choice) {
    Prefs::setRegionDisplayID(choice.display);
    Prefs::setRegionRect(choice.rect);
    DebugLog::log("region set " + sizeText(choice.rect) + " @ (" + wholeNumber(choice.rect.minX()) + "," +
                  wholeNumber(choice.rect.minY()) + ") display " + std::to_string(choice.display));
}

// The folder, or the one above it if it is gone, and so on.
fs::path nearestExisting(fs::path folder) {
    std::error_code ignored;
    while (folder.has_relative_path() && !fs::is_directory(folder, ignored)) folder = folder.parent_path();
    return folder;
}

}  // namespace

void OptionCommands::setRegion() {
    const auto display = Prefs::regionDisplayID();
    const auto rect = Prefs::regionRect();
    const auto initial = display && rect ? std::optional(RegionChoice{*display, *rect}) : std::nullopt;
    if (!picker_)
        picker_ = std::make_unique<RegionPicker>(desktop_.displays, desktop_.screenCapture,
                                                 desktop_.ownWindows, desktop_.overlaySupport);
    picker_->begin(initial, [](const std::optional<RegionChoice>& choice) {
        if (choice) keep(*choice);
    });
}

void OptionCommands::clearRegion() {
    Prefs::setRegionDisplayID(std::nullopt);
    Prefs::setRegionRect(std::nullopt);
    DebugLog::log("region cleared — full screen");
}

void OptionCommands::chooseOutputFolder() {
    const FolderQuestion question{
        .startFolder = nearestExisting(Prefs::outputDir().value_or(Prefs::saveDir())),
        .prompt = "use folder",
        .message = "finished takes land here — the tolvane cloud toggle overrides while it's on"};
    desktop_.workspace.chooseFolder(question, [](const std::optional<std::filesystem::path>& folder) {
        if (!folder) return;
        Prefs::setOutputDir(folder);
        DebugLog::log("output folder set → " + folder->string());
    });
}

void OptionCommands::clearOutputFolder() {
    Prefs::setOutputDir(std::nullopt);
    DebugLog::log("output folder reset to default");
}

void OptionCommands::openFolder() {
    auto folder = Prefs::cloudKastos() ? Prefs::cloudKastosDir() : std::nullopt;
    if (!folder) folder = Prefs::outputDir();
    desktop_.workspace.openFolder(folder ? *folder : Prefs::saveDir());
}

}  // namespace kasto
