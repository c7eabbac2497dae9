#include "shell/AppDelegate.h"

#include "base/log/DebugLog.h"
#include "input/KeyCodes.h"
#include "options/Prefs.h"
#include "platform/RunningInstance.h"
#include "platform/ScreenAccess.h"
#include "platform/Workspace.h"
#include "settings/SettingsController.h"
#include "shell/UrlCommands.h"
#include "shell/menus/MainMenu.h"
#include "shell/menus/StatusMenus.h"
#include "ui/Brand.h"

#include <QCoreApplication>
#include <QTimer>
#include <chrono>
#include <utility>

namespace kasto {

namespace {

const char* trueOrFalse(bool value) { return value ? "true" : "false"; }

}  // namespace

AppDelegate::AppDelegate(const Desktop& desktop) : desktop_(desktop) {}

// Jobs of the take controller must not run any more when it goes.
AppDelegate::~AppDelegate() { mainQueue_->close(); }

// The recorder's and the poller's threads may report when the queue is gone already.
TakeController::RunOnMain AppDelegate::runOnMain() {
    return [queue = std::weak_ptr(mainQueue_)](TakeController::Job job) {
        if (const auto main = queue.lock()) main->async(std::move(job));
    };
}

void AppDelegate::applicationDidFinishLaunching() {
    Brand::registerFonts();
    buildMainMenu();
    makeStatusItem();
    registerHotKey();
    optionObservation_ = Prefs::observe([this](OptionId option) {
        if (isRecording()) live_.follow(option);
    });
    screenAccess_.askIfMissing();
    DebugLog::trimIfHuge();
    const auto version = QCoreApplication::applicationVersion().toStdString();
    DebugLog::log("launched " + (version.empty() ? "?" : version) +
                  ", screenAccess=" + trueOrFalse(desktop_.screenAccess.preflight()) +
                  " ax=" + trueOrFalse(desktop_.screenAccess.accessibilityTrusted()));
}

void AppDelegate::buildMainMenu() {
    const auto settings = [this] { showSettings(); };
    const auto quit = [this] { terminate(); };
    mainMenu_ = std::make_unique<MainMenu>(desktop_.ownWindows, settings, quit);
}

void AppDelegate::makeStatusItem() {
    menus_ = std::make_unique<StatusMenus>(*this, desktop_.ownWindows, desktop_.pointer);
    status_ = std::make_unique<StatusController>(
        desktop_.statusItems, StatusController::Actions{.stop = [this] { stopFromBar(); },
                                                        .showMenu = [this] { menus_->showStatusMenu(); },
                                                        .menu = [this] { return menus_->statusEntries(); }});
}

void AppDelegate::registerHotKey() {
    hotKey_ = HotKey::make(desktop_.hotKeys, kToggleChord);
    // Later, because the key's event is still being handled.
    if (hotKey_) hotKey_->onPress = [this] { mainQueue_->async([this] { toggleRecording(); }); };
}

void AppDelegate::terminate() {
    emit terminating();
    desktop_.runningInstance.release();
    hotKey_.reset();
    take_.quit();
}

void AppDelegate::activate() {
    // A start may be so new that the desktop has not yet told whether it shows the item.
    QTimer::singleShot(std::chrono::seconds(1), this, [this] {
        if (!status_->isShown()) settings().show();
    });
}

void AppDelegate::openUrls(const std::vector<std::string>& urls) {
    for (const auto& url : urls) {
        const auto word = commandWord(url);
        DebugLog::log("url command: " + word);
        runCommand(word);
    }
}

void AppDelegate::runCommand(const std::string& word) {
    if (word == "record" || word == "start") startRecording();
    if (word == "stop") stopFromCommand();
    if (word == "toggle") toggleRecording();
    if (word == "settings") showSettings();
}

SettingsController& AppDelegate::settings() {
    if (!settings_) settings_ = std::make_unique<SettingsController>(*this, desktop_.ownWindows);
    return *settings_;
}

void AppDelegate::showSettings() { settings().toggle(); }

void AppDelegate::showQuickMenu() {
    if (isRecording()) menus_->showQuickMenu();
}

void AppDelegate::beginSetRegion() {
    if (isRecording()) return;
    alerts_.close();
    optionCommands_.setRegion();
}

void AppDelegate::finishStop(bool reveal) {
    if (reveal) {
        take_.stop();
    } else {
        take_.stopUnseen();
    }
}

void AppDelegate::finishNow() {
    tile_.stopCamera();
    take_.finishNow();
}

bool AppDelegate::mayStartTake() {
    Prefs::readAgain();
    return screenAccess_.isGrantedElseExplain();
}

void AppDelegate::takeBegan() {
    alerts_.close();
    live_.begin(take_.displayID(), take_.startDate());
    menus_->close();
    if (settings_) settings_->showPhase();
    status_->showRecording(take_.startDate());
}

void AppDelegate::takeFailed(const Error& error) {
    alerts_.show("recording failed", error.description, {"OK"});
}

void AppDelegate::takeEnding() {
    Prefs::readAgain();
    menus_->close();
    if (settings_) settings_->showPhase();
    live_.end();
    status_->showFinishing();
}

void AppDelegate::takeEnded(const EndedTake& take) {
    status_->showIdle();
    if (!take.reveal) return;
    if (take.file) desktop_.workspace.reveal(*take.file);
    if (take.reason) tellWhyEnded(*take.reason, take.file);
}

void AppDelegate::tellWhyEnded(const Error& reason, const std::optional<std::filesystem::path>& file) {
    const auto name = file ? " · " + file->filename().string() : "";
    alerts_.show("recording stopped", reason.description + name, {"OK"});
}

}  // namespace kasto
