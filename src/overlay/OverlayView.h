#pragma once

#include "overlay/DashedOutline.h"
#include "overlay/OverlayLayout.h"
#include "overlay/OverlayPainter.h"

#include <QRegion>
#include <QString>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kasto {

// The overlay's picture: takes snapshots, tells which pixels they change, and paints them. Pixels are counted
// from the top-left corner of the screen. Main thread.
class OverlayView {
public:
    // Where the view is shown.
    struct Canvas {
        Size sizePts;
        double scale = 1;
        // Without it nothing translucent is painted, and the red lines are left to `linesPx`.
        bool blends = true;
        bool operator==(const Canvas&) const = default;
    };
    void setCanvas(const Canvas& canvas);
    bool isBlended() const { return canvas_.blends; }

    // Where the newest camera picture comes from (bgra or bgrx, top row first); an empty function takes the
    // tile away.
    void setCameraPreview(std::function<PixelBufferRef()> latestFrame);

    // Shows a snapshot on a screen whose top-left corner is at `originPts`, in global points. `timeS` moves
    // the dashes. A snapshot without a recorded area changes nothing.
    void render(const RenderSnapshot& snapshot, int elapsedS, const std::string& audioSuffix, Point originPts,
                double timeS);

    // What differs from what was painted before; empty after that.
    QRegion takeDirty();

    // All that `paint` paints, and where that is opaque.
    QRegion paintedPx() const;
    QRegion shapePx() const;

    // The dashes and pulses of a canvas that does not blend, all of the accent colour, and where they are and
    // the dashes may move; nothing on one that does.
    std::vector<PixelRect> linesPx() const;
    QRegion linesAreaPx() const;

    // Paints what meets `partPx`, with a painter in points whose clip is that part, on a transparent ground.
    void paint(QPainter& painter, const QRegion& partPx) const;

private:
    void showOutline(const DashedOutline& outline);
    void showClicks(std::vector<OverlayLayout::Circle> clicks);
    void showTile(const std::optional<OverlayLayout::Tile>& tile);
    void showHud(const std::string& text);
    void replace(QRegion& area, QRegion next, bool isPainted);
    QRegion screenPx() const;
    PixelRect viewPx() const;

    Canvas canvas_;
    std::function<PixelBufferRef()> latestFrame_;
    DashedOutline outline_;
    std::vector<OverlayLayout::Circle> clicks_;
    std::optional<OverlayLayout::Tile> tile_;
    PixelBufferRef picture_;
    std::string text_;
    QString hudText_;
    HudLayout hud_;
    QRegion outlineArea_;
    QRegion clicksArea_;
    QRegion tileArea_;
    QRegion hudArea_;
    QRegion dirty_;
};

}  // namespace kasto
