#include "settings/SettingsRows.h"

#include "options/OptionTable.h"
#include "options/OptionTexts.h"
#include "options/Prefs.h"
#include "settings/SettingsHost.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace kasto {

namespace {

constexpr auto kDefaultCamera = "SYSTEM DEFAULT";

struct CameraChoice {
    QString name;
    std::optional<std::string> id;  // none: the default camera
};

using CameraChoices = std::vector<CameraChoice>;

QString toQt(std::string_view text) { return QString::fromUtf8(text.data(), qsizetype(text.size())); }

CameraChoices cameraChoices(SettingsHost& host) {
    CameraChoices choices{{kDefaultCamera, std::nullopt}};
    for (const auto& camera : host.cameras()) choices.push_back({toQt(camera.name).toUpper(), camera.id});
    return choices;
}

// The index of the stored camera among the choices; that of the default camera if it is not connected.
std::size_t chosenCamera(const CameraChoices& choices) {
    const auto stored = std::ranges::find(choices, Prefs::cameraID(), &CameraChoice::id);
    return stored == choices.end() ? 0 : std::size_t(stored - choices.begin());
}

Row cameraRow(const Option& option, SettingsHost& host) {
    const auto choices = std::make_shared<const CameraChoices>(cameraChoices(host));
    return ChoiceRow{option.id, toQt(option.title), toQt(option.description),
                     [choices] { return (*choices)[chosenCamera(*choices)].name; },
                     [choices] {
                         const auto next = (chosenCamera(*choices) + 1) % choices->size();
                         Prefs::setCameraID((*choices)[next].id);
                     }};
}

Row switchRow(const Option& option) {
    return ToggleRow{option.id, toQt(option.title), toQt(option.description),
                     [id = option.id] { return Prefs::isOn(id); },
                     [id = option.id](bool on) { Prefs::setOn(id, on); }};
}

Row regionRow(const Option& option, SettingsHost& host) {
    const auto region = Prefs::regionRect();
    const bool mayChange = !(option.isFixedDuringTake && host.isRecording());
    return ActionRow{option.id,
                     toQt(option.title),
                     region ? toQt(sizeText(*region)) + " · zoom stays inside it"
                            : QString("full screen · set one to frame a slice"),
                     {{"SET…", mayChange, [&host] { host.beginSetRegion(); }},
                      {"CLEAR", mayChange && region, [&host] { host.clearRegion(); }}}};
}

Row outputFolderRow(const Option& option, SettingsHost& host) {
    const auto folder = Prefs::outputDir();
    return ActionRow{option.id,
                     toQt(option.title),
                     folder ? toQt(folderName(*folder)) + " · the cloud toggle wins while it's on"
                            : QString("Movies/kasto · the default"),
                     {{"CHOOSE…", true, [&host] { host.chooseOutputFolder(); }},
                      {"DEFAULT", folder.has_value(), [&host] { host.clearOutputFolder(); }}}};
}

std::optional<Row> rowFor(const Option& option, SettingsHost& host) {
    switch (option.control) {
        case Control::onOff:
            return switchRow(option);
        case Control::camera:
            return cameraRow(option, host);
        case Control::region:
            return regionRow(option, host);
        case Control::outputFolder:
            return outputFolderRow(option, host);
        case Control::none:
            break;
    }
    return std::nullopt;
}

}  // namespace

std::vector<Row> settingsRows(SettingsHost& host) {
    std::vector<Row> rows;
    std::optional<Section> section;
    for (const auto& option : kOptions) {
        auto row = rowFor(option, host);
        if (!row) continue;
        if (option.section != section) rows.push_back(SectionRow{toQt(headingOf(option.section))});
        section = option.section;
        rows.push_back(std::move(*row));
    }
    return rows;
}

}  // namespace kasto
