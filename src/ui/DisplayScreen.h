#pragma once

#include "platform/Displays.h"

#include <QPoint>

class QScreen;

namespace kasto {

// Qt's screen for a display: the one of its name, else the one at its place; null when there is none. Main
// thread.
//
// Only the origin of a screen differs between the two when the desktop is scaled (Qt leaves it in pixels), so
// points go from one to the other by way of the display's top-left corner.
QScreen* screenOf(const Display& display);

// A point in global points as a position on Qt's virtual desktop.
QPointF toVirtualDesktop(Point globalPts, const Display& display, const QScreen& screen);

// The way back.
Point toGlobalPts(QPointF position, const Display& display, const QScreen& screen);

}  // namespace kasto
