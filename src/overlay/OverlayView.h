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

// The overlay's content: lays out snapshots, finds the pixels that change, and paints them. Pixels are
// counted from the top-left corner of the screen. Main thread.
class OverlayView {
public:
    // The screen that the view is shown on.
    struct Canvas {
        Size sizePts;
        double scale = 1;  // pixels per point
        // Whether translucent pixels are blended with what is under the window. If not, every pixel is
        // painted opaque, and the red lines are given by `linesPx` and not painted.
        bool blends = true;
        bool operator==(const Canvas&) const = default;
    };

    // Changes the screen. The next render() lays everything out anew.
    void setCanvas(const Canvas& canvas);
    bool isBlended() const { return canvas_.blends; }

    // Sets the function that returns the webcam's newest picture (bgra or bgrx, top row first). An empty
    // function removes the tile.
    void setCameraPreview(std::function<PixelBufferRef()> latestFrame);

    // Lays out a snapshot for a screen whose top-left corner is at `originPts`, in global points. `timeS`, on
    // the media clock, moves the dashes. A snapshot without a capture area changes nothing.
    void render(const RenderSnapshot& snapshot, int elapsedS, const std::string& audioSuffix, Point originPts,
                double timeS);

    // The pixels that render() has changed since the last call.
    QRegion takeDirty();

    // The pixels that paint() may touch.
    QRegion paintedPx() const;

    // The shape that the window is cut to where nothing is blended.
    QRegion shapePx() const;

    // Where nothing is blended: the pixels of the dashes and pulses, all of the accent colour, and the area
    // in which the dashes move. Both are empty on a canvas that blends.
    std::vector<PixelRect> linesPx() const;
    QRegion linesAreaPx() const;

    // Paints the part `partPx` of the content over transparent pixels. The painter draws in points and is
    // clipped to that part.
    void paint(QPainter& painter, const QRegion& partPx) const;

private:
    void showOutline(const DashedOutline& outline);
    void showPulses(std::vector<OverlayLayout::Circle> pulses);
    void showTile(const std::optional<OverlayLayout::Tile>& tile);
    void showHud(const std::string& text);
    void replace(QRegion& area, QRegion next, bool isPainted);
    QRegion screenPx() const;
    PixelRect viewPx() const;

    Canvas canvas_;
    std::function<PixelBufferRef()> latestFrame_;
    DashedOutline outline_;
    std::vector<OverlayLayout::Circle> pulses_;
    std::optional<OverlayLayout::Tile> tile_;
    PixelBufferRef picture_;
    std::string text_;
    QString hudText_;
    HudLayout hud_;
    QRegion outlineArea_;
    QRegion pulsesArea_;
    QRegion tileArea_;
    QRegion hudArea_;
    QRegion dirty_;
};

}  // namespace kasto
