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

}  // namespace kasto
