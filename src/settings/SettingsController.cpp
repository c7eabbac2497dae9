#include "settings/SettingsController.h"

#include "options/Prefs.h"
#include "settings/SavedFrame.h"
#include "settings/SettingsPanel.h"
#include "ui/OwnWindowWatch.h"

namespace kasto {

SettingsController::SettingsController(SettingsHost& host, OwnWindows& ownWindows)
    : host_(host), ownWindows_(ownWindows) {}

SettingsController::~SettingsController() = default;

void SettingsController::makeWindow() {
    window_ = std::make_unique<SettingsPanel>(host_);
    const bool capturable = qEnvironmentVariableIsSet("KASTO_CAPTURABLE");
    watchOwnWindow(*window_, ownWindows_, capturable ? SharingType::readOnly : SharingType::none);
    window_->view().onClose = [window = window_.get()] { window->hide(); };
    new SavedFrame(*window_);
}

void SettingsController::show() {
    if (!window_) makeWindow();
    Prefs::readAgain();
    window_->view().reload();
    // Without an explicit position the window manager would choose a new place for the window.
    window_->move(window_->pos());
    window_->setWindowState(window_->windowState() & ~Qt::WindowMinimized);
    window_->show();
    window_->raise();
    window_->activateWindow();
    window_->view().setFocus();
}

void SettingsController::showPhase() {
    if (window_) window_->view().reload();
}

void SettingsController::toggle() {
    if (window_ && window_->isVisible() && !window_->isMinimized()) {
        window_->hide();
    } else {
        show();
    }
}

}  // namespace kasto
