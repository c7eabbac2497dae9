#pragma once

#include <QObject>

namespace kasto {

class OwnWindows;

// Keeps the program's windows (alerts, dialogs, menus) out of every recording: each is registered before it
// appears and until after it has gone. Main thread; needs the application object.
class OwnWindowWatch final : public QObject {
public:
    // The registry outlives the watch.
    explicit OwnWindowWatch(OwnWindows& ownWindows);

private:
    bool eventFilter(QObject* object, QEvent* event) override;

    OwnWindows& ownWindows_;
};

}  // namespace kasto
