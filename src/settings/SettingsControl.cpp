#include "settings/SettingsControl.h"

#include <utility>

namespace kasto {

namespace {

struct Appender {
    std::vector<SettingsControl>& controls;
    const PlacedRow& placed;

    void operator()(const SectionRow&) const {}

    // A click anywhere in the row flips the switch.
    void operator()(const ToggleRow& row) const {
        const bool isOn = row.get();
        controls.push_back({.kind = SettingsControl::Kind::onOff,
                            .name = row.title,
                            .description = row.desc,
                            .isOn = isOn,
                            .rect = placed.rect,
                            .run = [set = row.set, isOn] { set(!isOn); }});
    }

    void operator()(const ChoiceRow& row) const {
        controls.push_back({.kind = SettingsControl::Kind::choice,
                            .name = row.title,
                            .description = row.desc,
                            .value = row.value(),
                            .rect = placed.rect,
                            .run = row.next});
    }

    void operator()(const ActionRow& row) const {
        for (std::size_t i = 0; i < row.buttons.size(); ++i) {
            const auto& button = row.buttons[i];
            controls.push_back({.name = row.title + ": " + button.label,
                                .description = row.desc,
                                .isEnabled = button.enabled,
                                .rect = placed.controls[i],
                                .run = button.run});
        }
    }
};

}  // namespace

std::vector<SettingsControl> controlsOf(const std::vector<Row>& rows, const std::vector<PlacedRow>& placed) {
    std::vector<SettingsControl> controls;
    for (std::size_t i = 0; i < rows.size(); ++i) std::visit(Appender{controls, placed[i]}, rows[i]);
    return controls;
}

}  // namespace kasto
