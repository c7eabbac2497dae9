#include "picker/KeyablePanel.h"

#include <QEvent>
#include <QWindow>
#include <utility>

namespace kasto {

namespace {

// An open menu or a global shortcut of another program holds the keyboard for a moment.
constexpr int kRetryMs = 50;

}  // namespace

KeyablePanel::KeyablePanel(QScreen& screen, std::optional<QPixmap> screenPicture)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                           Qt::X11BypassWindowManagerHint | Qt::NoDropShadowWindowHint) {
    const bool isTranslucent = !screenPicture;
    setAttribute(isTranslucent ? Qt::WA_TranslucentBackground : Qt::WA_OpaquePaintEvent);
    setScreen(&screen);
    setGeometry(screen.geometry());
    view_ = new RegionPickView(std::move(screenPicture), this);
    view_->setGeometry(rect());
    view_->installEventFilter(this);
    view_->setFocus();
    retry_.setInterval(kRetryMs);
    connect(&retry_, &QTimer::timeout, this, [this] { makeKey(); });
}

void KeyablePanel::makeKey() {
    // A grab suffices: the server reports the focus to the grabbing window and gives it back afterwards.
    // Setting the focus instead would lose it where no window manager restores it.
    if (windowHandle()->setKeyboardGrabEnabled(true)) {
        retry_.stop();
    } else if (!retry_.isActive()) {
        retry_.start();
    }
}

void KeyablePanel::orderOut() {
    retry_.stop();
    windowHandle()->setKeyboardGrabEnabled(false);
    hide();
}

bool KeyablePanel::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::MouseButtonPress) makeKey();
    return QWidget::eventFilter(watched, event);
}

}  // namespace kasto
