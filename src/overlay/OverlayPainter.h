#pragma once

#include "base/Geometry.h"
#include "imaging/PixelBuffer.h"
#include "overlay/OverlayLayout.h"

#include <QPainter>
#include <QRegion>
#include <QString>
#include <span>
#include <vector>

namespace kasto {

// How the overlay's parts look. QPainters here draw in points. Regions are in pixels of the screen, with
// `scale` pixels per point.

// The pixels that painting a part may touch, including those of smoothed edges.
QRegion areaOf(const std::vector<OverlayLayout::Circle>& pulses, double scale);
QRegion areaOf(const Rect& rect, double scale);

// The pixels of a part for a window that cannot be translucent: each pixel belongs to it or does not. A tile
// without a picture is its border only.
QRegion shapeOf(const std::vector<OverlayLayout::Circle>& pulses, double scale);
QRegion shapeOf(const OverlayLayout::Tile& tile, bool hasPicture, double scale);

void paintDashes(QPainter& painter, std::span<const PixelRect> dashesPx, double scale);

void paintPulses(QPainter& painter, const std::vector<OverlayLayout::Circle>& pulses);

// Paints the picture so that it fills the tile; what is larger is cut off. Without a picture only the tile's
// border is painted. `softly`: edges may be translucent and are smoothed.
void paintTile(QPainter& painter, const OverlayLayout::Tile& tile, const PixelBufferRef& picture,
               double scale, bool softly);

// The size of the heads-up display's text, in points.
Size measureHud(const QString& text);
void paintHud(QPainter& painter, const HudLayout& hud, const QString& text);

}  // namespace kasto
