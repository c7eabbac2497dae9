#include "options/Prefs.h"
#include "shell/AppDelegate.h"

namespace kasto {

// At the start of a take: its tracks stay what they are, whatever the options say later.
void AppDelegate::nameAudioTracks() {
    overlay_.audioSuffix.clear();
    if (Prefs::captureSystemSound()) overlay_.audioSuffix += " · sys";
    if (Prefs::captureMic()) overlay_.audioSuffix += " · mic";
}

void AppDelegate::startOverlay() { overlay_.start(recorder_.captureDisplayID(), startDate_); }

void AppDelegate::stopOverlay() { overlay_.stop(); }

}  // namespace kasto
