#pragma once

#include "platform/OwnWindows.h"

class QWidget;

namespace kasto {

// Registers a top-level widget as one of the program's own windows while it is shown. Its whole shape counts
// as painted. `ownWindows` outlives the widget. Main thread.
void watchOwnWindow(QWidget& window, OwnWindows& ownWindows, SharingType sharing = SharingType::none);

}  // namespace kasto
