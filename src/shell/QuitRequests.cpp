#include "shell/QuitRequests.h"

#include <QCoreApplication>
#include <QEvent>
#include <utility>

namespace kasto {

QuitRequests::QuitRequests(std::function<void()> onQuit) : onQuit_(std::move(onQuit)) {
    qApp->installEventFilter(this);
}

bool QuitRequests::eventFilter(QObject* object, QEvent* event) {
    if (object != qApp || event->type() != QEvent::Quit) return false;
    onQuit_();
    return true;
}

}  // namespace kasto
