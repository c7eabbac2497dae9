#include "shell/ScreenAccessWatch.h"

#include "base/log/DebugLog.h"
#include "platform/ScreenAccess.h"
#include "platform/Workspace.h"
#include "shell/Alerts.h"

#include <QPushButton>
#include <chrono>
#include <utility>

namespace kasto {

ScreenAccessWatch::ScreenAccessWatch(const Desktop& desktop, Alerts& alerts, std::function<void()> terminate)
    : desktop_(desktop), alerts_(alerts), terminate_(std::move(terminate)) {
    permissionTimer_.setInterval(std::chrono::seconds(2));
    QObject::connect(&permissionTimer_, &QTimer::timeout, &permissionTimer_, [this] { permissionTick(); });
}

bool ScreenAccessWatch::isGranted() const { return desktop_.screenAccess.preflight(); }

void ScreenAccessWatch::askIfMissing() {
    if (isGranted()) return;
    desktop_.screenAccess.request();
    startPermissionWatch();
}

bool ScreenAccessWatch::isGrantedElseExplain() {
    if (isGranted()) return true;
    askIfMissing();
    permissionAlert();
    return false;
}

void ScreenAccessWatch::startPermissionWatch() {
    if (!permissionTimer_.isActive()) permissionTimer_.start();
}

void ScreenAccessWatch::permissionTick() {
    if (!isGranted()) return;
    permissionTimer_.stop();
    DebugLog::log("screen access granted — relaunching");
    desktop_.workspace.relaunch();
    terminate_();
}

void ScreenAccessWatch::permissionAlert() {
    auto& alert = alerts_.show(
        "kasto needs screen recording access",
        "System Settings → Privacy & Security → Screen & System Audio Recording → enable kasto. kasto "
        "relaunches itself once granted.",
        {"open settings", "later"});
    QObject::connect(&alert, &QMessageBox::buttonClicked, &permissionTimer_,
                     [this, &alert](const QAbstractButton* clicked) {
                         if (clicked == alert.defaultButton()) openPrivacyPane();
                     });
}

void ScreenAccessWatch::openPrivacyPane() {
    if (const auto link = desktop_.screenAccess.settingsLink()) desktop_.workspace.openLink(*link);
}

}  // namespace kasto
