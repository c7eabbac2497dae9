#include "shell/StatusController.h"

#include <QString>
#include <algorithm>
#include <utility>

namespace kasto {

StatusController::StatusController(StatusItems& items, Actions actions)
    : items_(items),
      actions_(std::move(actions)),
      statusItem_(items.make("kasto", {.onClick = [this](const StatusClick& click) { statusClicked(click); },
                                       .menu = actions_.menu})) {
    // A coarse timer may fire early, and the title would then skip a second now and then.
    titleTimer_.setTimerType(Qt::PreciseTimer);
    titleTimer_.setInterval(std::chrono::seconds(1));
    QObject::connect(&titleTimer_, &QTimer::timeout, &titleTimer_, [this] { updateTitle(); });
    showIdle();
}

void StatusController::showIdle() {
    titleTimer_.stop();
    stopItem_.reset();
    statusItem_->setImage(StatusImage::idle, "kasto");
    setBusyGear(false);
}

void StatusController::showRecording(std::chrono::system_clock::time_point startDate) {
    startDate_ = startDate;
    spawnStopButton();
    titleTimer_.start();
    statusItem_->setImage(StatusImage::recording, "recording");
    updateTitle();
}

void StatusController::showFinishing() {
    showIdle();
    setBusyGear(true);
}

void StatusController::updateTitle() {
    const auto elapsed = std::chrono::system_clock::now() - startDate_;
    // The clock may have been set back.
    const int seconds = std::max<int>(0, std::chrono::duration_cast<std::chrono::seconds>(elapsed).count());
    statusItem_->setTitle(QString::asprintf(" %d:%02d", seconds / 60, seconds % 60).toStdString());
}

void StatusController::setBusyGear(bool on) { statusItem_->setTitle(on ? " ⚙" : ""); }

void StatusController::spawnStopButton() {
    // Some desktops activate an item on a double click only, and open its menu on a single one.
    stopItem_ = items_.make("kasto-stop",
                            {.onClick = [this](const StatusClick& click) { stopFromBar(click); },
                             .menu =
                                 [this] {
                                     return std::vector<MenuEntry>{
                                         {.title = "stop recording", .action = [this] { actions_.stop(); }}};
                                 }});
    stopItem_->setImage(StatusImage::stop, "stop recording");
}

void StatusController::statusClicked(const StatusClick& click) {
    const bool isRecording = stopItem_ != nullptr;
    if (isRecording && !click.isRight && !click.isControlHeld) {
        actions_.stop();
    } else {
        actions_.showMenu();
    }
}

void StatusController::stopFromBar(const StatusClick& click) {
    if (!click.isRight) actions_.stop();
}

}  // namespace kasto
