#include "base/DebugLog.h"
#include "options/Prefs.h"
#include "platform/Workspace.h"
#include "shell/AppDelegate.h"

namespace kasto {

void AppDelegate::chooseOutputFolder() {
    const FolderQuestion question{
        .startFolder = Prefs::outputDir().value_or(Prefs::saveDir()),
        .prompt = "use folder",
        .message = "finished takes land here — the tolvane cloud toggle overrides while it's on"};
    desktop_.workspace.chooseFolder(question, [](const std::optional<std::filesystem::path>& folder) {
        if (!folder) return;
        Prefs::setOutputDir(folder);
        DebugLog::log("output folder set → " + folder->string());
    });
}

void AppDelegate::clearOutputFolder() {
    Prefs::setOutputDir(std::nullopt);
    DebugLog::log("output folder reset to default");
}

void AppDelegate::openFolder() {
    auto folder = Prefs::cloudKastos() ? Prefs::cloudKastosDir() : std::nullopt;
    if (!folder) folder = Prefs::outputDir();
    desktop_.workspace.openFolder(folder ? *folder : Prefs::saveDir());
}

}  // namespace kasto
