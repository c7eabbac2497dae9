// Places of the controller whose rooms are being built.

#include "shell/AppDelegate.h"

namespace kasto {

void AppDelegate::applyPipState() {}

void AppDelegate::restartCamera() {}

std::vector<CameraDevice> AppDelegate::cameras() { return {}; }

}  // namespace kasto
