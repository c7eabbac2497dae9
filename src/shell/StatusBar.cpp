// The status item and the stop button beside it.

#include "shell/AppDelegate.h"
#include "shell/StatusMenus.h"

#include <QString>
#include <algorithm>

namespace kasto {

void AppDelegate::makeStatusItem() {
    menus_ = std::make_unique<StatusMenus>(*this, desktop_.ownWindows, desktop_.pointer);
    statusItem_ = desktop_.statusItems.make(
        "kasto", {.onClick = [this](const StatusClick& click) { statusClicked(click); },
                  .menu = [this] { return menus_->statusEntries(); }});
    // A tick that came early would make the title skip a second now and then.
    titleTimer_.setTimerType(Qt::PreciseTimer);
    titleTimer_.setInterval(std::chrono::seconds(1));
    connect(&titleTimer_, &QTimer::timeout, this, &AppDelegate::updateTitle);
}

void AppDelegate::updateIcon() {
    if (isRecording_) {
        statusItem_->setImage(StatusImage::recording, "recording");
        updateTitle();
    } else {
        statusItem_->setImage(StatusImage::idle, "kasto");
        statusItem_->setTitle("");
    }
}

void AppDelegate::updateTitle() {
    if (!isRecording_) return;
    const auto elapsed = std::chrono::system_clock::now() - startDate_;
    // The clock may be set back meanwhile.
    const int seconds = std::max<int>(0, std::chrono::duration_cast<std::chrono::seconds>(elapsed).count());
    statusItem_->setTitle(QString::asprintf(" %d:%02d", seconds / 60, seconds % 60).toStdString());
}

void AppDelegate::startTitleTimer() {
    titleTimer_.start();
    updateTitle();
}

void AppDelegate::setBusyGear(bool on) { statusItem_->setTitle(on ? " ⚙" : ""); }

void AppDelegate::spawnStopButton() {
    stopItem_ = desktop_.statusItems.make("kasto-stop", {.onClick = [this](const StatusClick& click) {
                                              if (!click.isRight) stopFromBar();
                                          }});
    stopItem_->setImage(StatusImage::stop, "stop recording");
}

void AppDelegate::statusClicked(const StatusClick& click) {
    if (isRecording_ && !click.isRight && !click.isControlHeld) {
        toggleRecording();
    } else {
        menus_->showStatusMenu();
    }
}

void AppDelegate::stopFromBar() { toggleRecording(); }

void AppDelegate::showQuickMenu() {
    if (isRecording_) menus_->showQuickMenu();
}

// An open menu shows a phase that has passed.
void AppDelegate::closeMenus() {
    if (menus_) menus_->close();
}

}  // namespace kasto
