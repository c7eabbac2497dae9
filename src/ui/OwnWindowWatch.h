#pragma once

#include "platform/OwnWindows.h"

class QWidget;

namespace kasto {

// Registers a top-level widget as one of the program's own windows for as long as it is shown, with the whole
// of its shape as what it has painted. `ownWindows` outlives the widget. Main thread.
void watchOwnWindow(QWidget& window, OwnWindows& ownWindows, SharingType sharing = SharingType::none);

}  // namespace kasto
