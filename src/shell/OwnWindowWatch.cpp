#include "shell/OwnWindowWatch.h"

#include "platform/OwnWindows.h"

#include <QCoreApplication>
#include <QEvent>
#include <QWidget>

namespace kasto {

OwnWindowWatch::OwnWindowWatch(OwnWindows& ownWindows) : ownWindows_(ownWindows) {
    QCoreApplication::instance()->installEventFilter(this);
}

bool OwnWindowWatch::eventFilter(QObject* object, QEvent* event) {
    const bool isShown = event->type() == QEvent::Show;
    if (!isShown && event->type() != QEvent::Hide) return false;
    const auto* window = qobject_cast<QWidget*>(object);
    if (!window || !window->isWindow()) return false;
    // Qt sends the show event before the window appears and the hide event after it has gone.
    const auto id = static_cast<std::uint64_t>(window->internalWinId());
    if (isShown && id != 0) {
        ownWindows_.set({.nativeId = id, .sharing = SharingType::none, .paintedPx = {}});
    } else if (!isShown) {
        ownWindows_.remove(id);
    }
    return false;
}

}  // namespace kasto
