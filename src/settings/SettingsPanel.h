#pragma once

#include "settings/SettingsView.h"

#include <QPoint>
#include <QRect>
#include <QWidget>
#include <optional>

namespace kasto {

// The window of the settings: frameless, above others, of fixed width. Its header moves it and its upper and
// lower edge resize it, by the window manager where one does that, else by the panel itself. Main thread.
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
    // A move (no edge) or resize by hand.
    struct Drag {
        Qt::Edges edge;
        QPointF start;  // of the mouse, in global coordinates
        QRect frame;    // of the window then
    };

    Qt::Edges edgeAt(QPointF position) const;
    void startDrag(Qt::Edges edge, QPointF globalPosition);
    void continueDrag(QPointF globalPosition);

    SettingsView view_;
    std::optional<Drag> drag_;
};

}  // namespace kasto
