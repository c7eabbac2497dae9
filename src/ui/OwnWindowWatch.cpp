#include "ui/OwnWindowWatch.h"

#include <QEvent>
#include <QWidget>

namespace kasto {

namespace {

class Watch final : public QObject {
public:
    Watch(QWidget& window, OwnWindows& ownWindows, SharingType sharing)
        : QObject(&window), nativeId_(window.winId()), ownWindows_(ownWindows), sharing_(sharing) {
        window.installEventFilter(this);
    }
    ~Watch() override { ownWindows_.remove(nativeId_); }

private:
    bool eventFilter(QObject*, QEvent* event) override {
        // Qt sends the show event before the window appears, and the hide event after it has disappeared.
        if (event->type() == QEvent::Show) {
            ownWindows_.set({.nativeId = nativeId_, .sharing = sharing_, .paintedPx = {}});
        } else if (event->type() == QEvent::Hide) {
            ownWindows_.remove(nativeId_);
        }
        return false;
    }

    const std::uint64_t nativeId_;
    OwnWindows& ownWindows_;
    const SharingType sharing_;
};

}  // namespace

void watchOwnWindow(QWidget& window, OwnWindows& ownWindows, SharingType sharing) {
    new Watch(window, ownWindows, sharing);
}

}  // namespace kasto
