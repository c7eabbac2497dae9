#pragma once

#include "options/OptionTable.h"

#include <QString>
#include <functional>
#include <variant>
#include <vector>

namespace kasto {

// One row of the settings window, as data: `SettingsView` draws it and runs its callbacks on the main thread.
// The callbacks hold what they act on by reference.

// A heading.
struct SectionRow {
    QString title;
};

// An option that is on or off.
struct ToggleRow {
    OptionId option;
    QString title, desc;
    std::function<bool()> get;
    std::function<void(bool)> set;
};

// An option with several values: each click takes the next one. `value` is the text of its button.
struct ChoiceRow {
    OptionId option;
    QString title, desc;
    std::function<QString()> value;
    std::function<void()> next;
};

// A disabled button is drawn and cannot be clicked.
struct RowButton {
    QString label;
    bool enabled = true;
    std::function<void()> run;
};

// An option that is set by commands.
struct ActionRow {
    OptionId option;
    QString title, desc;
    std::vector<RowButton> buttons;
};

using Row = std::variant<SectionRow, ToggleRow, ChoiceRow, ActionRow>;

inline bool isSection(const Row& row) { return std::holds_alternative<SectionRow>(row); }

}  // namespace kasto
