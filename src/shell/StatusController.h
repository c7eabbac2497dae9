#pragma once

#include "platform/StatusItem.h"

#include <QTimer>
#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace kasto {

// The status item, which shows whether a take runs and for how long, and the stop button beside it, which is
// there while one runs. Main thread.
class StatusController {
public:
    struct Actions {
        std::function<void()> stop;      // a click on the item while a take runs, or on the stop button
        std::function<void()> showMenu;  // any other click on the item
        std::function<std::vector<MenuEntry>()> menu;  // for desktops that show the item's menu themselves
    };

    // Shows the idle item. `items` outlives it.
    StatusController(StatusItems& items, Actions actions);

    void showIdle();

    // The elapsed time counts from `startDate`.
    void showRecording(std::chrono::system_clock::time_point startDate);

    void showFinishing();

    // Whether the desktop shows the status item now.
    bool isShown() const { return statusItem_->isShown(); }

private:
    void statusClicked(const StatusClick& click);
    void stopFromBar(const StatusClick& click);
    void updateTitle();
    void setBusyGear(bool on);
    void spawnStopButton();

    StatusItems& items_;
    const Actions actions_;
    std::chrono::system_clock::time_point startDate_;
    const std::unique_ptr<StatusItem> statusItem_;
    std::unique_ptr<StatusItem> stopItem_;  // while a take runs
    QTimer titleTimer_;                     // runs while a take runs
};

}  // namespace kasto
