#include "options/Prefs.h"
#include "platform/Workspace.h"
#include "recording/Mp4Conversion.h"
#include "shell/AppDelegate.h"
#include "shell/TakeFiling.h"

#include <utility>

namespace kasto {

void AppDelegate::finishStop(bool reveal, std::function<void()> done) {
    if (!isRecording_) return;
    isRecording_ = false;
    isBusy_ = true;
    closeMenus();
    stopItem_.reset();
    quickClick_.reset();
    stopComponents();
    titleTimer_.stop();
    updateIcon();
    setBusyGear(true);
    // Converting and moving may take as long as copying the movie does: both stay off the main thread.
    worker_.async([this, reveal, done = std::move(done)]() mutable {
        auto file = stopAndFile();
        mainQueue_->async([this, reveal, file = std::move(file), done = std::move(done)] {
            takeFinished(file, reveal);
            if (done) done();
        });
    });
}

// What is live only while a take runs.
void AppDelegate::stopComponents() {
    poller_.stop();
    scrollPan_.stop();
    touchPad_->stop();
    camera_.stop();
    overlay_.setCameraLayer({});
    stopOverlay();
}

// On the worker.
std::optional<std::filesystem::path> AppDelegate::stopAndFile() {
    auto file = recorder_.stop();
    if (file && Prefs::convertMP4()) file = convertToMP4(desktop_.movieExports, *file).value_or(*file);
    if (file) file = fileTake(*file);
    return file;
}

void AppDelegate::finishNow() {
    stopComponents();
    if (isRecording_ || isBusy_) worker_.async([this] { stopAndFile(); });
    isRecording_ = false;
    worker_.drain();
}

void AppDelegate::takeFinished(const std::optional<std::filesystem::path>& file, bool reveal) {
    setBusyGear(false);
    updateIcon();
    isBusy_ = false;
    if (reveal && file) desktop_.workspace.reveal(*file);
    becomeIdle();
}

}  // namespace kasto
