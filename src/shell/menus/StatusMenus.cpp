#include "shell/menus/StatusMenus.h"

#include "input/KeyCodes.h"
#include "options/Prefs.h"
#include "shell/menus/MenuHost.h"
#include "shell/menus/OptionEntries.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace kasto {

namespace {

// The shortcuts of menus follow the desktop's habit, which is Ctrl and a letter. The chord for recording is
// the same as the hot key's.
constexpr KeyChord kSettingsKeys{.key = U',', .control = true};
constexpr KeyChord kQuitKeys{.key = U'q', .control = true};

constexpr auto kHelpLines = std::to_array<const char*>({
    "3-finger spread / pinch — zoom in / out",
    "3-finger move — pan the frame",
    "⌥ pinch — zoom · ⌥ scroll — pan",
    "zoom out — origin eases back to mouse",
    "fn + right click — options popup",
    "icon click while recording — stop · right-click — menu",
    "siri — \"start / stop recording in kasto\"",
    "region — zoom extents for next takes",
});

MenuEntry separator() { return {}; }

void append(std::vector<MenuEntry>& entries, std::vector<MenuEntry> more) {
    std::ranges::move(more, std::back_inserter(entries));
}

}  // namespace

StatusMenus::StatusMenus(MenuHost& host, OwnWindows& ownWindows, const PointerInput& pointer)
    : host_(host), statusMenu_(ownWindows, pointer), quickMenu_(ownWindows, pointer) {}

std::vector<MenuEntry> StatusMenus::statusEntries() {
    Prefs::readAgain();
    std::vector<MenuEntry> entries{
        {.title = "settings…", .keyEquivalent = kSettingsKeys, .action = [this] { host_.showSettings(); }},
        separator(),
        {.title = host_.isRecording() ? "stop recording" : "start recording",
         .keyEquivalent = kToggleChord,
         .action = [this] { host_.toggleRecording(); }},
        separator(),
    };
    for (const auto* line : kHelpLines) entries.push_back({.title = line, .isEnabled = false});
    entries.push_back(separator());
    append(entries, optionEntries(Menus::statusAndQuick, host_));
    append(entries, optionEntries(Menus::status, host_));
    entries.push_back(separator());
    append(entries, placeEntries(host_));
    entries.push_back(separator());
    entries.push_back({.title = "open recordings", .action = [this] { host_.openFolder(); }});
    if (!host_.mayRecordScreen())
        entries.push_back(
            {.title = "grant screen recording…", .action = [this] { host_.openPrivacyPane(); }});
    entries.push_back(separator());
    entries.push_back(
        {.title = "quit kasto", .keyEquivalent = kQuitKeys, .action = [this] { host_.terminate(); }});
    return entries;
}

std::vector<MenuEntry> StatusMenus::quickEntries() {
    Prefs::readAgain();
    std::vector<MenuEntry> entries{
        {.title = "stop recording", .action = [this] { host_.toggleRecording(); }},
        separator(),
    };
    append(entries, optionEntries(Menus::statusAndQuick, host_));
    return entries;
}

void StatusMenus::showStatusMenu() {
    close();
    statusMenu_.setEntries(statusEntries());
    statusMenu_.popUpAtPointer();
}

void StatusMenus::showQuickMenu() {
    close();
    quickMenu_.setEntries(quickEntries());
    quickMenu_.popUpAtPointer();
}

void StatusMenus::close() {
    statusMenu_.close();
    quickMenu_.close();
}

}  // namespace kasto
