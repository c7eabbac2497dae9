#include "base/DebugLog.h"
#include "options/PreferenceStore.h"
#include "options/Prefs.h"
#include "shell/AppDelegate.h"

namespace kasto {

void AppDelegate::setShowMarquee(bool on) {
    Prefs::store().set("showMarquee", on);
    if (!isRecording_) return;
    if (on) {
        startOverlay();
    } else {
        stopOverlay();
    }
}

void AppDelegate::setPipEnabled(bool on) {
    Prefs::store().set("pipEnabled", on);
    if (isRecording_) applyPipState();
}

void AppDelegate::setRoundCamera(bool on) {
    Prefs::store().set("roundCamera", on);
    if (isRecording_) model_.setPip(Prefs::pipEnabled(), on);
}

void AppDelegate::chooseCamera(const std::optional<std::string>& id) {
    if (id) {
        Prefs::store().set("cameraID", *id);
    } else {
        Prefs::store().remove("cameraID");
    }
    if (isRecording_ && Prefs::pipEnabled()) restartCamera();
}

void AppDelegate::clearRegion() {
    Prefs::store().remove("regionDisplayID");
    Prefs::setRegionRect(std::nullopt);
    DebugLog::log("region cleared — full screen");
}

}  // namespace kasto
