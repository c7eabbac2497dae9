#pragma once

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWidget>

// What a user does to a widget, delivered as Qt would.
namespace kasto::test {

inline void mouse(QWidget& view, QEvent::Type type, QPointF at, Qt::MouseButton button = Qt::LeftButton) {
    const auto held = type == QEvent::MouseButtonRelease ? Qt::NoButton : button;
    QMouseEvent event(type, at, view.mapToGlobal(at), type == QEvent::MouseMove ? Qt::NoButton : button, held,
                      Qt::NoModifier);
    QApplication::sendEvent(&view, &event);
}

inline void hover(QWidget& view, QPointF at) { mouse(view, QEvent::MouseMove, at, Qt::NoButton); }

inline void drag(QWidget& view, QPointF from, QPointF to) {
    mouse(view, QEvent::MouseButtonPress, from);
    mouse(view, QEvent::MouseMove, to);
    mouse(view, QEvent::MouseButtonRelease, to);
}

inline void click(QWidget& view, QPointF at) { drag(view, at, at); }

inline void key(QWidget& view, Qt::Key pressed) {
    QKeyEvent event(QEvent::KeyPress, pressed, Qt::NoModifier);
    QApplication::sendEvent(&view, &event);
}

}  // namespace kasto::test
