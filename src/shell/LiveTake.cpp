#include "shell/LiveTake.h"

#include "model/CaptureModel.h"
#include "options/Prefs.h"

namespace kasto {

namespace {

// How the heads-up display ends: the sound tracks of the movie.
std::string audioSuffix() {
    std::string suffix;
    if (Prefs::captureSystemSound()) suffix += " · sys";
    if (Prefs::captureMic()) suffix += " · mic";
    return suffix;
}

}  // namespace

LiveTake::LiveTake(CaptureModel& model, CameraSource& camera, const Desktop& desktop)
    : model_(model),
      camera_(camera),
      overlay_(model, desktop.displays, desktop.ownWindows, desktop.overlaySupport) {}

void LiveTake::begin(DisplayId display, std::chrono::system_clock::time_point startDate) {
    display_ = display;
    startDate_ = startDate;
    if (Prefs::showMarquee()) {
        // Once per take: a movie's tracks stay what they are when the options change.
        overlay_.audioSuffix = audioSuffix();
        setOverlayShown(true);
    }
    applyPipState();
}

void LiveTake::end() {
    camera_.stop();
    overlay_.setCameraLayer({});
    overlay_.stop();
}

void LiveTake::follow(OptionId option) {
    switch (optionOf(option).effect) {
        case Effect::showOrHideOverlay:
            setOverlayShown(Prefs::showMarquee());
            break;
        case Effect::startOrStopCamera:
            applyPipState();
            break;
        case Effect::changeTileShape:
            model_.setPip(Prefs::pipEnabled(), Prefs::roundCamera());
            break;
        case Effect::changeCamera:
            if (Prefs::pipEnabled()) restartCamera();
            break;
        case Effect::none:
            break;
    }
}

void LiveTake::setOverlayShown(bool isShown) {
    if (isShown) {
        overlay_.start(display_, startDate_);
    } else {
        overlay_.stop();
    }
}

void LiveTake::applyPipState() {
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

void LiveTake::restartCamera() {
    camera_.stop();
    camera_.start(Prefs::cameraID());
}

}  // namespace kasto
