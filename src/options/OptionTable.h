#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace kasto {

// All that the user can switch or choose, in one table. The preference file (`Prefs`), the menus and the rows
// of the settings window are made from it.
//
// To add an option that is on or off: add its name to `OptionId` and its row to `kOptions`. If a running take
// has to follow it, name the effect in the row and say what it does in `LiveTake::follow`. An option of
// another kind needs a `Control` of its own, which the menus (`shell/menus/OptionEntries`) and the settings
// (`settings/SettingsRows`) know how to show.

enum class OptionId : std::uint8_t {
    showClicks,
    showMarquee,
    fps,
    regionRect,
    pipEnabled,
    roundCamera,
    cameraID,
    captureSystemSound,
    captureMic,
    convertMP4,
    cloudKastos,
    outputDir,
    invertPan,
    regionDisplayID,
    settingsFrame,
};

// How an option is shown, and with that what the preference file holds under its key.
enum class Control : std::uint8_t {
    none,          // a number or a text that is shown nowhere
    onOff,         // a switch; a boolean, or an integer where the row names two (`Option::integers`)
    camera,        // a choice among the cameras; the camera's identifier, a text
    region,        // buttons and commands; a text (`Prefs::regionRect`)
    outputFolder,  // buttons and commands; a path, a text
};

// Which menus an on/off option or a choice is in. Regions and folders are commands of the status menu.
enum class Menus : std::uint8_t { none, status, statusAndQuick };

// The headings of the settings window.
enum class Section : std::uint8_t { capture, camera, sound, output, gestures };

// What a running take does at once when the option changes. Without one, the option counts from when it is
// next read: by the next take, when the take is finished, or at the next movement of the hand.
enum class Effect : std::uint8_t {
    none,
    showOrHideOverlay,
    startOrStopCamera,
    changeTileShape,
    changeCamera,
};

struct IntegerPair {
    int on = 0;
    int off = 0;
};

struct Option {
    OptionId id;
    std::string_view key;  // in the preference file
    Control control = Control::onOff;
    bool isOnByDefault = false;                // what a missing value, or one of another type, stands for
    std::optional<IntegerPair> integers = {};  // stored in the place of true and false
    Menus menus = Menus::none;
    std::string_view menuTitle = {};
    Section section = Section::capture;
    std::string_view title = {};        // in the settings window; none: the option is not there
    std::string_view description = {};  // under the title; none: made from the option's value
    Effect effect = Effect::none;
    bool isFixedDuringTake = false;  // cannot be changed while a take runs
};

// In the order of the settings window. Menus keep this order; there, those that are only in the status menu
// come after those that are in both.
inline constexpr auto kOptions = std::to_array<Option>({
    {.id = OptionId::showClicks,
     .key = "showClicks",
     .isOnByDefault = true,
     .menus = Menus::statusAndQuick,
     .menuTitle = "show clicks",
     .section = Section::capture,
     .title = "show clicks",
     .description = "a pulse where you press, drawn into the file"},
    {.id = OptionId::showMarquee,
     .key = "showMarquee",
     .isOnByDefault = true,
     .menus = Menus::statusAndQuick,
     .menuTitle = "show marquee",
     .section = Section::capture,
     .title = "show marquee",
     .description = "the live frame outline — you see it, the file never does",
     .effect = Effect::showOrHideOverlay},
    {.id = OptionId::fps,
     .key = "fps",
     .isOnByDefault = true,
     .integers = IntegerPair{.on = 60, .off = 30},
     .menus = Menus::status,
     .menuTitle = "60 fps",
     .section = Section::capture,
     .title = "60 fps",
     .description = "off records 30 · applies to the next take"},
    {.id = OptionId::regionRect,
     .key = "regionRect",
     .control = Control::region,
     .section = Section::capture,
     .title = "region",
     .isFixedDuringTake = true},
    {.id = OptionId::pipEnabled,
     .key = "pipEnabled",
     .isOnByDefault = true,
     .menus = Menus::statusAndQuick,
     .menuTitle = "camera pip",
     .section = Section::camera,
     .title = "camera pip",
     .description = "your webcam in the corner of the take",
     .effect = Effect::startOrStopCamera},
    {.id = OptionId::roundCamera,
     .key = "roundCamera",
     .isOnByDefault = true,
     .menus = Menus::statusAndQuick,
     .menuTitle = "round camera",
     .section = Section::camera,
     .title = "round camera",
     .description = "crop the pip to a circle",
     .effect = Effect::changeTileShape},
    {.id = OptionId::cameraID,
     .key = "cameraID",
     .control = Control::camera,
     .menus = Menus::statusAndQuick,
     .menuTitle = "camera",
     .section = Section::camera,
     .title = "camera",
     .description = "click to cycle devices",
     .effect = Effect::changeCamera},
    {.id = OptionId::captureSystemSound,
     .key = "captureSystemSound",
     .isOnByDefault = true,
     .menus = Menus::statusAndQuick,
     .menuTitle = "capture system sound",
     .section = Section::sound,
     .title = "system sound",
     .description = "its own audio track · next take"},
    {.id = OptionId::captureMic,
     .key = "captureMic",
     .menus = Menus::statusAndQuick,
     .menuTitle = "capture mic",
     .section = Section::sound,
     .title = "microphone",
     .description = "its own audio track · asks once · next take"},
    {.id = OptionId::convertMP4,
     .key = "convertMP4",
     .menus = Menus::statusAndQuick,
     .menuTitle = "mp4",
     .section = Section::output,
     .title = "mp4",
     .description = "convert finished takes to .mp4 — no re-encode"},
    {.id = OptionId::cloudKastos,
     .key = "cloudKastos",
     .isOnByDefault = true,
     .menus = Menus::statusAndQuick,
     .menuTitle = "save to tolvane cloud",
     .section = Section::output,
     .title = "save to tolvane cloud",
     .description = "finished takes land in iCloud Drive/tolvane/kastos"},
    {.id = OptionId::outputDir,
     .key = "outputDir",
     .control = Control::outputFolder,
     .section = Section::output,
     .title = "output folder"},
    {.id = OptionId::invertPan,
     .key = "invertPan",
     .menus = Menus::statusAndQuick,
     .menuTitle = "invert pan",
     .section = Section::gestures,
     .title = "invert pan",
     .description = "flip the 3-finger and ⌥-scroll pan direction"},
    {.id = OptionId::regionDisplayID, .key = "regionDisplayID", .control = Control::none},
    {.id = OptionId::settingsFrame, .key = "kastoSettings", .control = Control::none},
});

// The row of an option. The rows stand in the order of their names, which is proved here.
constexpr const Option& optionOf(OptionId id) { return kOptions[static_cast<std::size_t>(id)]; }

static_assert([] {
    for (std::size_t i = 0; i < kOptions.size(); ++i)
        if (kOptions[i].id != static_cast<OptionId>(i)) return false;
    return true;
}());

constexpr std::string_view headingOf(Section section) {
    switch (section) {
        case Section::capture:
            return "CAPTURE";
        case Section::camera:
            return "CAMERA";
        case Section::sound:
            return "SOUND";
        case Section::output:
            return "OUTPUT";
        case Section::gestures:
            return "GESTURES";
    }
    return {};
}

}  // namespace kasto
