#pragma once

#include "platform/Displays.h"

class QScreen;

namespace kasto {

// Qt's screen for a display: the screen of the same name, else the screen at the same position, else null.
// Main thread.
QScreen* screenOf(const Display& display);

}  // namespace kasto
