#include "options/Prefs.h"
#include "shell/AppDelegate.h"

namespace kasto {

// Lets a take that runs follow an option that has changed, whatever changed it.
void AppDelegate::follow(OptionId option) {
    if (!isRecording_) return;
    switch (optionOf(option).effect) {
        case Effect::showOrHideOverlay:
            Prefs::showMarquee() ? startOverlay() : stopOverlay();
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

void AppDelegate::beginSetRegion() {
    if (!isRecording_) optionCommands_.setRegion();
}

}  // namespace kasto
