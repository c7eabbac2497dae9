#pragma once

#include "settings/SettingsView.h"

#include <QPoint>
#include <QRect>
#include <QWidget>
#include <optional>

namespace kasto {

// The settings window: frameless, above other windows, of fixed width. Dragging its header moves it, dragging
// its upper or lower edge resizes it. The window manager does both where it can, otherwise the panel itself.
// Main thread.
class SettingsPanel final : public QWidget {
public:
    static constexpr int kMinHeight = 360;
    static constexpr int kMaxHeight = 1200;
    static constexpr int kFirstHeight = 640;

    // `host` outlives the panel.
    explicit SettingsPanel(SettingsHost& host);

    SettingsView& view() { return view_; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    // A move (without an edge) or a resize that the panel does itself.
    struct Drag {
        Qt::Edges edge;
        QPointF start;  // of the mouse, in global coordinates
        QRect frame;    // of the window at that time
    };

    Qt::Edges edgeAt(QPointF position) const;
    void startDrag(Qt::Edges edge, QPointF globalPosition);
    void continueDrag(QPointF globalPosition);

    SettingsView view_;
    std::optional<Drag> drag_;
};

}  // namespace kasto
