// The menu of the status item and the options that the quick menu has too.

#include "input/KeyCodes.h"
#include "options/PreferenceStore.h"
#include "options/Prefs.h"
#include "platform/ScreenAccess.h"
#include "shell/AppDelegate.h"
#include "shell/MenuText.h"
#include "shell/PopupMenu.h"

#include <array>
#include <cmath>
#include <utility>

namespace kasto {

namespace {

// Menus follow the desktop, where Ctrl goes with the key of a command; the hot key is the keyboard's own.
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

MenuEntry option(const std::string& title, bool isOn, std::function<void(bool)> onToggle) {
    return {.title = title, .isOn = isOn, .onToggle = std::move(onToggle)};
}

// One that nothing but the next look at it depends on.
MenuEntry storedOption(const std::string& title, const std::string& key, bool isOn) {
    return option(title, isOn, [key](bool on) { Prefs::store().set(key, on); });
}

std::string wholeNumber(double value) { return QString::number(std::trunc(value), 'f', 0).toStdString(); }

std::string lastComponent(const std::filesystem::path& folder) {
    const auto name = (folder.has_filename() ? folder : folder.parent_path()).filename().string();
    return name.empty() ? folder.string() : name;
}

}  // namespace

std::vector<MenuEntry> AppDelegate::statusMenuEntries() {
    std::vector<MenuEntry> entries{
        {.title = "settings…", .keyEquivalent = kSettingsKeys, .action = [this] { showSettings(); }},
        {},
        {.title = isRecording_ ? "stop recording" : "start recording",
         .keyEquivalent = kToggleChord,
         .action = [this] { toggleRecording(); }},
        {},
    };
    for (const auto* line : kHelpLines) entries.push_back({.title = line, .isEnabled = false});
    entries.push_back({});
    for (auto& entry : optionItems()) entries.push_back(std::move(entry));
    entries.push_back(
        option("60 fps", Prefs::fps() == 60, [](bool on) { Prefs::store().set("fps", on ? 60 : 30); }));
    entries.push_back({});
    addPlaceItems(entries);
    entries.push_back({});
    entries.push_back({.title = "open recordings", .action = [this] { openFolder(); }});
    if (!desktop_.screenAccess.preflight())
        entries.push_back({.title = "grant screen recording…", .action = [this] { openPrivacyPane(); }});
    entries.push_back({});
    entries.push_back({.title = "quit kasto", .keyEquivalent = kQuitKeys, .action = [this] { terminate(); }});
    return entries;
}

// Where takes go and what of the screen they show.
void AppDelegate::addPlaceItems(std::vector<MenuEntry>& entries) {
    const auto folder = Prefs::outputDir();
    const auto name = folder ? singleLine(lastComponent(*folder)).toStdString() : std::string();
    entries.push_back({.title = folder ? "output: " + name + " — change…" : "choose output folder…",
                       .action = [this] { chooseOutputFolder(); }});
    if (folder)
        entries.push_back(
            {.title = "use default folder (Movies/kasto)", .action = [this] { clearOutputFolder(); }});
    entries.push_back(
        {.title = "set region…", .isEnabled = !isRecording_, .action = [this] { beginSetRegion(); }});
    if (const auto region = Prefs::regionRect())
        entries.push_back(
            {.title = "clear region (" + wholeNumber(region->width) + "×" + wholeNumber(region->height) + ")",
             .isEnabled = !isRecording_,
             .action = [this] { clearRegion(); }});
}

std::vector<MenuEntry> AppDelegate::optionItems() {
    return {
        storedOption("show clicks", "showClicks", Prefs::showClicks()),
        option("show marquee", Prefs::showMarquee(), [this](bool on) { setShowMarquee(on); }),
        option("camera pip", Prefs::pipEnabled(), [this](bool on) { setPipEnabled(on); }),
        option("round camera", Prefs::roundCamera(), [this](bool on) { setRoundCamera(on); }),
        {.title = "camera", .submenu = cameraItems()},
        storedOption("capture system sound", "captureSystemSound", Prefs::captureSystemSound()),
        storedOption("capture mic", "captureMic", Prefs::captureMic()),
        storedOption("mp4", "convertMP4", Prefs::convertMP4()),
        storedOption("save to tolvane cloud", "cloudKastos", Prefs::cloudKastos()),
        storedOption("invert pan", "invertPan", Prefs::invertPan()),
    };
}

std::vector<MenuEntry> AppDelegate::cameraItems() {
    const auto chosen = Prefs::cameraID();
    const auto row = [&](const std::string& title, const std::optional<std::string>& id) {
        return MenuEntry{.title = title,
                         .isOn = id == chosen,
                         .onToggle = [this, id](bool) { chooseCamera(id); },
                         .isChoice = true,
                         .rep = id};
    };
    std::vector<MenuEntry> rows{row("system default", std::nullopt)};
    for (const auto& camera : cameras()) {
        const auto& name = camera.name.empty() ? camera.id : camera.name;
        rows.push_back(row(singleLine(name).toStdString(), camera.id));
    }
    return rows;
}

void AppDelegate::showStatusMenu() {
    closeMenus();
    statusMenu_->setEntries(statusMenuEntries());
    statusMenu_->popUpAtPointer();
}

void AppDelegate::showQuickMenu() {
    if (!isRecording_) return;
    std::vector<MenuEntry> entries{{.title = "stop recording", .action = [this] { toggleRecording(); }}, {}};
    for (auto& entry : optionItems()) entries.push_back(std::move(entry));
    closeMenus();
    quickMenu_->setEntries(entries);
    quickMenu_->popUpAtPointer();
}

// What is open shows a phase that has passed.
void AppDelegate::closeMenus() {
    if (statusMenu_) statusMenu_->close();
    if (quickMenu_) quickMenu_->close();
}

}  // namespace kasto
