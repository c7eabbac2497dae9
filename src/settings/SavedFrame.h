#pragma once

#include <QObject>
#include <QRect>
#include <QTimer>

class QWidget;

namespace kasto {

// Keeps the frame of the settings window in the preference file (`OptionId::settingsFrame`), as
// "x,y,width,height" in the points of Qt's virtual desktop. Main thread.
class SavedFrame final : public QObject {
public:
    // Gives the window the stored frame, within the window's minimum and maximum size and moved onto the
    // screen that shows most of it. Without a stored frame, or if no screen shows any of it, the window is
    // put in the middle of the main screen. From then on a changed frame is stored 0.3 s after the last
    // change, or when the window is destroyed. The window owns this object.
    explicit SavedFrame(QWidget& window);
    ~SavedFrame() override;

private:
    bool eventFilter(QObject* watched, QEvent* event) override;
    bool restore();
    void centre();
    void save();

    QWidget& window_;
    QTimer changed_;
    QRect frame_;  // a copy: in the destructor the window has no geometry any more
};

}  // namespace kasto
