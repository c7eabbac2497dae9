#include "settings/SettingsRows.h"

#include "options/PreferenceStore.h"
#include "options/Prefs.h"
#include "settings/SettingsHost.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace kasto {

namespace {

constexpr auto kDefaultCamera = "SYSTEM DEFAULT";

struct CameraChoice {
    QString name;
    std::optional<std::string> id;  // none = the default camera
};

using CameraChoices = std::vector<CameraChoice>;

CameraChoices cameraChoices(SettingsHost& host) {
    CameraChoices choices{{kDefaultCamera, std::nullopt}};
    for (const auto& camera : host.cameras())
        choices.push_back({QString::fromStdString(camera.name).toUpper(), camera.id});
    return choices;
}

// Where the stored camera is among the choices; the default one's place when it is not connected.
std::size_t chosenCamera(const CameraChoices& choices) {
    const auto stored = std::ranges::find(choices, Prefs::cameraID(), &CameraChoice::id);
    return stored == choices.end() ? 0 : std::size_t(stored - choices.begin());
}

ChoiceRow cameraRow(SettingsHost& host) {
    const auto choices = std::make_shared<const CameraChoices>(cameraChoices(host));
    return {"camera", "click to cycle devices", [choices] { return (*choices)[chosenCamera(*choices)].name; },
            [choices, &host] {
                host.chooseCamera((*choices)[(chosenCamera(*choices) + 1) % choices->size()].id);
            }};
}

// A switch for a preference that takes effect by being stored.
ToggleRow optionRow(const QString& title, const QString& desc, const char* key, bool (*get)()) {
    return {title, desc, get, [key](bool on) { Prefs::store().set(key, on); }};
}

ToggleRow hostRow(SettingsHost& host, const QString& title, const QString& desc, bool (*get)(),
                  void (SettingsHost::*set)(bool)) {
    return {title, desc, get, [&host, set](bool on) { (host.*set)(on); }};
}

ToggleRow frameRateRow() {
    return {"60 fps", "off records 30 · applies to the next take", [] { return Prefs::fps() == 60; },
            [](bool on) { Prefs::store().set("fps", on ? 60 : 30); }};
}

// Without its fraction.
QString wholeNumber(double value) {
    using Limits = std::numeric_limits<int>;
    return QString::number(int(std::clamp(value, double(Limits::min()), double(Limits::max()))));
}

ActionRow regionRow(SettingsHost& host) {
    const auto region = Prefs::regionRect();
    const bool idle = !host.isRecording();
    const auto desc =
        region ? wholeNumber(region->width) + "×" + wholeNumber(region->height) + " · zoom stays inside it"
               : QString("full screen · set one to frame a slice");
    return {"region",
            desc,
            {{"SET…", idle, [&host] { host.beginSetRegion(); }},
             {"CLEAR", idle && region, [&host] { host.clearRegion(); }}}};
}

QString lastComponent(const std::filesystem::path& folder) {
    const auto& named = folder.has_filename() ? folder : folder.parent_path();
    return QString::fromStdString((named.has_filename() ? named.filename() : named).string());
}

ActionRow outputFolderRow(SettingsHost& host) {
    const auto folder = Prefs::outputDir();
    const auto desc = folder ? lastComponent(*folder) + " · the cloud toggle wins while it's on"
                             : QString("Movies/kasto · the default");
    return {"output folder",
            desc,
            {{"CHOOSE…", true, [&host] { host.chooseOutputFolder(); }},
             {"DEFAULT", folder.has_value(), [&host] { host.clearOutputFolder(); }}}};
}

}  // namespace

std::vector<Row> settingsRows(SettingsHost& host) {
    return {
        SectionRow{"CAPTURE"},
        optionRow("show clicks", "a pulse where you press, drawn into the file", "showClicks",
                  &Prefs::showClicks),
        hostRow(host, "show marquee", "the live frame outline — you see it, the file never does",
                &Prefs::showMarquee, &SettingsHost::setShowMarquee),
        frameRateRow(),
        regionRow(host),
        SectionRow{"CAMERA"},
        hostRow(host, "camera pip", "your webcam in the corner of the take", &Prefs::pipEnabled,
                &SettingsHost::setPipEnabled),
        hostRow(host, "round camera", "crop the pip to a circle", &Prefs::roundCamera,
                &SettingsHost::setRoundCamera),
        cameraRow(host),
        SectionRow{"SOUND"},
        optionRow("system sound", "its own audio track · next take", "captureSystemSound",
                  &Prefs::captureSystemSound),
        optionRow("microphone", "its own audio track · asks once · next take", "captureMic",
                  &Prefs::captureMic),
        SectionRow{"OUTPUT"},
        optionRow("mp4", "convert finished takes to .mp4 — no re-encode", "convertMP4", &Prefs::convertMP4),
        optionRow("save to tolvane cloud", "finished takes land in iCloud Drive/tolvane/kastos",
                  "cloudKastos", &Prefs::cloudKastos),
        outputFolderRow(host),
        SectionRow{"GESTURES"},
        optionRow("invert pan", "flip the 3-finger and ⌥-scroll pan direction", "invertPan",
                  &Prefs::invertPan),
    };
}

}  // namespace kasto
