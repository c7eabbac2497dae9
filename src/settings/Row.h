#pragma once

#include <QString>
#include <functional>
#include <variant>
#include <vector>

namespace kasto {

// One row of the settings. The callbacks run on the main thread and hold what they act on by reference.

struct SectionRow {
    QString title;
};

// An option that is on or off.
struct ToggleRow {
    QString title, desc;
    std::function<bool()> get;
    std::function<void(bool)> set;
};

// An option with several values: each click takes the next one.
struct ChoiceRow {
    QString title, desc;
    std::function<QString()> value;
    std::function<void()> next;
};

struct RowButton {
    QString label;
    bool enabled = true;
    std::function<void()> run;
};

struct ActionRow {
    QString title, desc;
    std::vector<RowButton> buttons;
};

using Row = std::variant<SectionRow, ToggleRow, ChoiceRow, ActionRow>;

}  // namespace kasto
