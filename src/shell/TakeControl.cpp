#include "base/SystemLog.h"
#include "options/Prefs.h"
#include "platform/ScreenAccess.h"
#include "shell/AppDelegate.h"

#include <utility>

namespace kasto {

void AppDelegate::startRecording() {
    if (isRecording_ || isBusy_ || quitsWhenIdle_) return;
    if (!desktop_.screenAccess.preflight()) {
        desktop_.screenAccess.request();
        startPermissionWatch();
        permissionAlert();
        return;
    }
    isBusy_ = true;
    streamEnded_ = false;
    worker_.async([this] {
        auto started = recorder_.start();
        mainQueue_->async([this, started = std::move(started)] { takeStarted(started); });
    });
}

void AppDelegate::toggleRecording() {
    if (isRecording_) {
        finishStop(true);
    } else {
        startRecording();
    }
}

void AppDelegate::stopFromCommand() {
    if (isRecording_) finishStop(true);
}

void AppDelegate::takeStarted(const Result<void>& started) {
    if (!started) {
        takeFailed(started.error());
        return;
    }
    startDate_ = std::chrono::system_clock::now();
    if (Prefs::showMarquee()) {
        nameAudioTracks();
        startOverlay();
    }
    applyPipState();
    poller_.start();
    scrollPan_.start();
    touchPad_->start();
    quickClick_ = desktop_.hotKeys.keepFnRightClick();
    isRecording_ = true;
    closeMenus();
    spawnStopButton();
    startTitleTimer();
    updateIcon();
    isBusy_ = false;
    if (quitsWhenIdle_) {
        finishStop(false);
    } else if (streamEnded_) {
        finishStop(true);
    }
}

void AppDelegate::takeFailed(const Error& error) {
    systemLog("kasto: start failed: " + error.description);
    if (!quitsWhenIdle_) showAlert("recording failed", error.description, {"OK"});
    becomeIdle();
}

void AppDelegate::streamStopped() {
    // A stream may be gone again before its take has begun here; that take is then finished as it begins.
    streamEnded_ = true;
    finishStop(true);
}

void AppDelegate::becomeIdle() {
    isBusy_ = false;
    if (quitsWhenIdle_) emit readyToTerminate();
}

}  // namespace kasto
