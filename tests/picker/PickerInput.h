#pragma once

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWidget>

namespace kasto::test {

inline void mouse(QWidget& view, QEvent::Type type, QPointF at, Qt::MouseButton button = Qt::LeftButton) {
    const auto held = type == QEvent::MouseButtonRelease ? Qt::NoButton : button;
    QMouseEvent event(type, at, view.mapToGlobal(at), type == QEvent::MouseMove ? Qt::NoButton : button, held,
                      Qt::NoModifier);
    QApplication::sendEvent(&view, &event);
}

inline void drag(QWidget& view, QPointF from, QPointF to) {
    mouse(view, QEvent::MouseButtonPress, from);
    mouse(view, QEvent::MouseMove, to);
    mouse(view, QEvent::MouseButtonRelease, to);
}

inline void key(QWidget& view, Qt::Key pressed) {
    QKeyEvent event(QEvent::KeyPress, pressed, Qt::NoModifier);
    QApplication::sendEvent(&view, &event);
}

}  // namespace kasto::test
