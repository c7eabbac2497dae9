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

// How the overlay's parts look. Painters are in points; pixels are those of the screen, of which there are
// `scale` to a point.

// Beside a part's own, what smoothing may touch is in its area.
QRegion areaOf(const std::vector<OverlayLayout::Circle>& clicks, double scale);
QRegion areaOf(const Rect& rect, double scale);

// The part without anything translucent, as whole pixels.
QRegion shapeOf(const std::vector<OverlayLayout::Circle>& clicks, double scale);
QRegion shapeOf(const OverlayLayout::Tile& tile, double scale);

void paintDashes(QPainter& painter, std::span<const PixelRect> dashesPx, double scale);

void paintClicks(QPainter& painter, const std::vector<OverlayLayout::Circle>& clicks);

// The picture fills the tile and is cut where it is larger; without one the tile is just its border. Edges
// are smooth if they may be `softly` translucent.
void paintTile(QPainter& painter, const OverlayLayout::Tile& tile, const PixelBufferRef& picture,
               double scale, bool softly);

// The size of the heads-up display's text, in points.
Size measureHud(const QString& text);
void paintHud(QPainter& painter, const HudLayout& hud, const QString& text);

}  // namespace kasto
