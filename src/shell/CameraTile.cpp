#include "options/Prefs.h"
#include "shell/AppDelegate.h"

namespace kasto {

void AppDelegate::applyPipState() {
    const bool on = Prefs::pipEnabled();
    if (on) {
        camera_.start(Prefs::cameraID());
        overlay_.setCameraLayer([this] { return camera_.latest(); });
    } else {
        camera_.stop();
        overlay_.setCameraLayer({});
    }
    model_.setPip(on, Prefs::roundCamera());
}

void AppDelegate::restartCamera() {
    camera_.stop();
    camera_.start(Prefs::cameraID());
}

std::vector<CameraDevice> AppDelegate::cameras() { return camera_.devices(); }

}  // namespace kasto
