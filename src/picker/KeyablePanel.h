#pragma once

#include "picker/RegionPickView.h"

#include <QScreen>
#include <QTimer>
#include <QWidget>

namespace kasto {

// A borderless window over one screen that window managers do not manage. It receives the keys by a keyboard
// grab and leaves the input focus alone, so that the focused window is still focused when the panel is gone.
// Main thread.
class KeyablePanel final : public QWidget {
public:
    // Covers the screen when shown. `screenPicture` as for RegionPickView; with it the panel is opaque.
    KeyablePanel(QScreen& screen, std::optional<QPixmap> screenPicture);

    RegionPickView& view() { return *view_; }

    // Grabs the keyboard for the view. If another program holds a grab, tries again until it is free. The
    // panel must be shown.
    void makeKey();

    // Hides the panel and releases the keyboard.
    void orderOut();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    RegionPickView* view_;
    QTimer retry_;
};

}  // namespace kasto
