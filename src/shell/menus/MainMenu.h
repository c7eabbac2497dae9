#pragma once

#include "platform/OwnWindows.h"

#include <QAction>
#include <QObject>
#include <functional>

namespace kasto {

// What a menu bar would hold: "settings…" and "quit kasto", by their keys in every window of the program.
// Also keeps tool tips and icons in the tray out of takes. Main thread; lives as long as the windows do.
class MainMenu final : private QObject {
public:
    // `ownWindows` outlives it.
    MainMenu(OwnWindows& ownWindows, std::function<void()> showSettings, std::function<void()> terminate);

private:
    bool eventFilter(QObject* object, QEvent* event) override;

    OwnWindows& ownWindows_;
    QAction settings_;
    QAction quit_;
};

}  // namespace kasto
