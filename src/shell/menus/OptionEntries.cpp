#include "shell/menus/OptionEntries.h"

#include "options/OptionTexts.h"
#include "options/Prefs.h"
#include "settings/SettingsHost.h"
#include "shell/menus/MenuText.h"

#include <optional>
#include <string>

namespace kasto {

namespace {

bool mayChange(OptionId option, const SettingsHost& host) {
    return !(optionOf(option).isFixedDuringTake && host.isRecording());
}

MenuEntry switchEntry(const Option& option) {
    return {.title = std::string(option.menuTitle),
            .isOn = Prefs::isOn(option.id),
            .onToggle = [id = option.id](bool on) { Prefs::setOn(id, on); }};
}

MenuEntry cameraChoice(const std::string& title, const std::optional<std::string>& id) {
    return {.title = title,
            .isOn = id == Prefs::cameraID(),
            .onToggle = [id](bool) { Prefs::setCameraID(id); },
            .isChoice = true,
            .rep = id};
}

MenuEntry cameraEntry(const Option& option, SettingsHost& host) {
    std::vector<MenuEntry> choices{cameraChoice("system default", std::nullopt)};
    for (const auto& camera : host.cameras()) {
        const auto& name = camera.name.empty() ? camera.id : camera.name;
        choices.push_back(cameraChoice(singleLine(name).toStdString(), camera.id));
    }
    return {.title = std::string(option.menuTitle), .submenu = std::move(choices)};
}

void addOutputFolderEntries(std::vector<MenuEntry>& entries, SettingsHost& host) {
    const auto folder = Prefs::outputDir();
    const auto name = folder ? singleLine(folderName(*folder)).toStdString() : std::string();
    entries.push_back({.title = folder ? "output: " + name + " — change…" : "choose output folder…",
                       .action = [&host] { host.chooseOutputFolder(); }});
    if (folder)
        entries.push_back(
            {.title = "use default folder (Movies/kasto)", .action = [&host] { host.clearOutputFolder(); }});
}

void addRegionEntries(std::vector<MenuEntry>& entries, SettingsHost& host) {
    const bool isEnabled = mayChange(OptionId::regionRect, host);
    entries.push_back(
        {.title = "set region…", .isEnabled = isEnabled, .action = [&host] { host.beginSetRegion(); }});
    if (const auto region = Prefs::regionRect())
        entries.push_back({.title = "clear region (" + sizeText(*region) + ")",
                           .isEnabled = isEnabled,
                           .action = [&host] { host.clearRegion(); }});
}

}  // namespace

std::vector<MenuEntry> optionEntries(Menus menus, SettingsHost& host) {
    std::vector<MenuEntry> entries;
    for (const auto& option : kOptions) {
        if (option.menus != menus) continue;
        auto entry = option.control == Control::camera ? cameraEntry(option, host) : switchEntry(option);
        entry.isEnabled = mayChange(option.id, host);
        entries.push_back(std::move(entry));
    }
    return entries;
}

std::vector<MenuEntry> placeEntries(SettingsHost& host) {
    std::vector<MenuEntry> entries;
    addOutputFolderEntries(entries, host);
    addRegionEntries(entries, host);
    return entries;
}

}  // namespace kasto
