#include "ui/DisplayScreen.h"

#include <QGuiApplication>
#include <QScreen>

namespace kasto {

QScreen* screenOf(const Display& display) {
    const auto screens = QGuiApplication::screens();
    for (auto* screen : screens)
        if (screen->name().toStdString() == display.name) return screen;
    for (auto* screen : screens)
        if (screen->geometry().topLeft() == QPoint(int(display.boundsPts.x), int(display.boundsPts.y)))
            return screen;
    return nullptr;
}

QPointF toVirtualDesktop(Point globalPts, const Display& display, const QScreen& screen) {
    return screen.geometry().topLeft() +
           QPointF(globalPts.x - display.boundsPts.x, globalPts.y - display.boundsPts.y);
}

Point toGlobalPts(QPointF position, const Display& display, const QScreen& screen) {
    const auto onScreen = position - screen.geometry().topLeft();
    return {display.boundsPts.x + onScreen.x(), display.boundsPts.y + onScreen.y()};
}

}  // namespace kasto
