#include "shell/OwnWindowWatch.h"

#include "platform/OwnWindows.h"

#include <QEvent>
#include <QWidget>

namespace kasto {

namespace {

class Watch final : public QObject {
public:
    Watch(QWidget& window, OwnWindows& ownWindows)
        : QObject(&window), nativeId_(window.winId()), ownWindows_(ownWindows) {
        window.installEventFilter(this);
    }
    ~Watch() override { ownWindows_.remove(nativeId_); }

private:
    bool eventFilter(QObject*, QEvent* event) override {
        // Qt sends the show event before the window appears and the hide event after it has gone.
        if (event->type() == QEvent::Show) {
            ownWindows_.set({.nativeId = nativeId_, .sharing = SharingType::none, .paintedPx = {}});
        } else if (event->type() == QEvent::Hide) {
            ownWindows_.remove(nativeId_);
        }
        return false;
    }

    const std::uint64_t nativeId_;
    OwnWindows& ownWindows_;
};

}  // namespace

void keepOutOfRecordings(QWidget& window, OwnWindows& ownWindows) { new Watch(window, ownWindows); }

}  // namespace kasto
