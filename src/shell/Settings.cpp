#include "settings/SettingsController.h"
#include "shell/AppDelegate.h"

namespace kasto {

void AppDelegate::showSettings() {
    if (!settings_) settings_ = std::make_unique<SettingsController>(*this, desktop_.ownWindows);
    settings_->toggle();
}

}  // namespace kasto
