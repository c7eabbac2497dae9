#pragma once

#include "settings/Row.h"
#include "settings/SettingsLayout.h"

#include <QRectF>
#include <QString>
#include <functional>
#include <vector>

namespace kasto {

// Something in the settings window that can be clicked, chosen from the keyboard and told to assistive
// programs.
struct SettingsControl {
    enum class Kind { onOff, choice, button };

    Kind kind = Kind::button;
    QString name = {};         // what it is: "show clicks", "region: SET…", "close"
    QString description = {};  // empty where there is none
    QString value = {};        // of a choice
    bool isOn = false;         // of a switch
    bool isEnabled = true;
    QRectF rect = {};  // where it takes clicks, in the view's points; rows may be scrolled out of sight
    std::function<void()> run = {};
};

// The controls of the rows as things are now, in the order of the rows. `placed` belongs to `rows`.
std::vector<SettingsControl> controlsOf(const std::vector<Row>& rows, const std::vector<PlacedRow>& placed);

}  // namespace kasto
