#pragma once

#include "picker/RegionPickView.h"

#include <QScreen>
#include <QTimer>
#include <QWidget>

namespace kasto {

// A borderless window over one screen, unknown to window managers, that gets the keys all the same. It leaves
// the input focus where it is: what had it goes on having it when the panel is gone. Main thread.
class KeyablePanel final : public QWidget {
public:
    // Covers the screen when shown. `screenPicture` as for the view, which is opaque then.
    KeyablePanel(QScreen& screen, std::optional<QPixmap> screenPicture);

    RegionPickView& view() { return *view_; }

    // Takes the keyboard for the view, again and again until nobody else holds it. The panel is shown.
    void makeKey();

    // Hides the panel and gives the keyboard back.
    void orderOut();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    RegionPickView* view_;
    QTimer retry_;
};

}  // namespace kasto
