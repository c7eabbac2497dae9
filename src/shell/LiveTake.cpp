#include "shell/LiveTake.h"

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

LiveTake::LiveTake(CaptureModel& model, WebcamTile& tile, const Desktop& desktop)
    : tile_(tile), overlay_(model, desktop.displays, desktop.ownWindows, desktop.overlaySupport) {
    overlay_.setCameraLayer([this] { return tile_.source().latest(); });
}

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
    tile_.stopCamera();
    overlay_.stop();
}

void LiveTake::follow(OptionId option) {
    switch (optionOf(option).effect) {
        case Effect::showOrHideOverlay:
            setOverlayShown(Prefs::showMarquee());
            break;
        case Effect::startOrStopCamera:
        case Effect::changeTileShape:
            applyPipState();
            break;
        case Effect::changeCamera:
            if (Prefs::pipEnabled()) tile_.changeCamera(Prefs::cameraID());
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
    tile_.apply(
        {.isShown = Prefs::pipEnabled(), .isRound = Prefs::roundCamera(), .cameraId = Prefs::cameraID()});
}

}  // namespace kasto
