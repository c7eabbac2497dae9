#include "shell/menus/MainMenu.h"

#include "ui/OwnWindowWatch.h"

#include <QApplication>
#include <QEvent>
#include <QWidget>

namespace kasto {

MainMenu::MainMenu(OwnWindows& ownWindows, std::function<void()> showSettings,
                   std::function<void()> terminate)
    : ownWindows_(ownWindows), settings_("settings…"), quit_("quit kasto") {
    settings_.setShortcut(Qt::CTRL | Qt::Key_Comma);
    quit_.setShortcut(Qt::CTRL | Qt::Key_Q);
    connect(&settings_, &QAction::triggered, this, std::move(showSettings));
    connect(&quit_, &QAction::triggered, this, std::move(terminate));
    qApp->installEventFilter(this);
}

bool MainMenu::eventFilter(QObject* object, QEvent* event) {
    if (!object->isWidgetType() || event->type() != QEvent::Show) return false;
    auto& widget = *static_cast<QWidget*>(object);
    const auto type = widget.windowType();
    // Windows that Qt makes by itself.
    if (widget.inherits("QTipLabel") || widget.inherits("QSystemTrayIconSys")) {
        watchOwnWindow(widget, ownWindows_);
    } else if (type == Qt::Window || type == Qt::Dialog) {
        widget.addActions({&settings_, &quit_});
    }
    return false;
}

}  // namespace kasto
