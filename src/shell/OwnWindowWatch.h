#pragma once

class QWidget;

namespace kasto {

class OwnWindows;

// Keeps a top-level widget out of recordings for as long as it is shown. `ownWindows` outlives the widget.
void keepOutOfRecordings(QWidget& window, OwnWindows& ownWindows);

}  // namespace kasto
