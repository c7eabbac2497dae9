#include "base/DebugLog.h"
#include "input/KeyCodes.h"
#include "options/Prefs.h"
#include "platform/ScreenAccess.h"
#include "settings/SettingsController.h"
#include "shell/AppDelegate.h"
#include "shell/MainMenu.h"
#include "shell/StatusMenus.h"
#include "ui/Brand.h"

#include <QCoreApplication>

namespace kasto {

namespace {

const char* trueOrFalse(bool value) { return value ? "true" : "false"; }

}  // namespace

AppDelegate::AppDelegate(const Desktop& desktop) : desktop_(desktop) {}

AppDelegate::~AppDelegate() {
    mainQueue_->close();
    touchPad_->stop();
    delete alert_;
}

void AppDelegate::buildMainMenu() {
    mainMenu_ = std::make_unique<MainMenu>(
        desktop_.ownWindows, [this] { showSettings(); }, [this] { terminate(); });
}

void AppDelegate::applicationDidFinishLaunching() {
    Brand::registerFonts();
    buildMainMenu();
    makeStatusItem();
    updateIcon();
    optionObservation_ = Prefs::observe([this](OptionId option) { follow(option); });
    hotKey_ = HotKey::make(desktop_.hotKeys, kToggleChord);
    if (hotKey_) {
        hotKey_->onPress = [this, queue = std::weak_ptr(mainQueue_)] {
            if (const auto main = queue.lock()) main->async([this] { toggleRecording(); });
        };
    }
    recorder_.onStreamStopped = [this, queue = std::weak_ptr(mainQueue_)](const std::optional<Error>&) {
        if (const auto main = queue.lock()) main->async([this] { streamStopped(); });
    };
    poller_.onQuickMenu = [this, queue = std::weak_ptr(mainQueue_)] {
        if (const auto main = queue.lock()) main->async([this] { showQuickMenu(); });
    };
    if (!desktop_.screenAccess.preflight()) {
        desktop_.screenAccess.request();
        startPermissionWatch();
    }
    DebugLog::trimIfHuge();
    const auto version = QCoreApplication::applicationVersion().toStdString();
    DebugLog::log("launched " + (version.empty() ? "?" : version) +
                  ", screenAccess=" + trueOrFalse(desktop_.screenAccess.preflight()) +
                  " ax=" + trueOrFalse(desktop_.screenAccess.accessibilityTrusted()));
}

void AppDelegate::terminate() {
    quitsWhenIdle_ = true;
    if (isRecording_) {
        finishStop(false);
    } else if (!isBusy_) {
        emit readyToTerminate();
    }
}

}  // namespace kasto
