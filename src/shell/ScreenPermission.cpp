#include "base/DebugLog.h"
#include "platform/ScreenAccess.h"
#include "platform/Workspace.h"
#include "shell/AppDelegate.h"

#include <QPushButton>
#include <QTimer>

namespace kasto {

void AppDelegate::startPermissionWatch() {
    if (permissionTimer_) return;
    permissionTimer_ = std::make_unique<QTimer>();
    permissionTimer_->setInterval(std::chrono::seconds(2));
    connect(permissionTimer_.get(), &QTimer::timeout, this, &AppDelegate::permissionTick);
    permissionTimer_->start();
}

void AppDelegate::permissionTick() {
    if (!desktop_.screenAccess.preflight()) return;
    // Not destroyed here, in the middle of its own signal.
    permissionTimer_->stop();
    permissionTimer_.release()->deleteLater();
    DebugLog::log("screen access granted — relaunching");
    desktop_.workspace.relaunch();
    terminate();
}

void AppDelegate::permissionAlert() {
    auto& alert = showAlert(
        "kasto needs screen recording access",
        "System Settings → Privacy & Security → Screen & System Audio Recording → enable kasto. kasto "
        "relaunches itself once granted.",
        {"open settings", "later"});
    connect(&alert, &QMessageBox::buttonClicked, this, [this, &alert](const QAbstractButton* clicked) {
        if (clicked == alert.defaultButton()) openPrivacyPane();
    });
}

bool AppDelegate::mayRecordScreen() const { return desktop_.screenAccess.preflight(); }

void AppDelegate::openPrivacyPane() {
    if (const auto link = desktop_.screenAccess.settingsLink()) desktop_.workspace.openLink(*link);
}

}  // namespace kasto
