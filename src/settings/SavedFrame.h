#pragma once

#include <QObject>
#include <QRect>
#include <QTimer>
#include <string>

class QWidget;

namespace kasto {

// Keeps a window's place and height in the preferences, as "x,y,width,height" in the points of Qt's virtual
// desktop. Main thread.
class SavedFrame final : public QObject {
public:
    // Gives the window the frame that is stored under the key, within the window's own limits and moved onto
    // the screen it is mostly on, or puts it in the middle of the main screen when there is none or it is on
    // none. From then on the frame is stored when it has changed, a moment later or when the window goes. The
    // window owns this.
    SavedFrame(QWidget& window, std::string key);
    ~SavedFrame() override;

private:
    bool eventFilter(QObject* watched, QEvent* event) override;
    bool restore();
    void centre();
    void save();

    QWidget& window_;
    const std::string key_;
    QTimer changed_;
    QRect frame_;  // kept, as the window may be half gone when it is saved
};

}  // namespace kasto
