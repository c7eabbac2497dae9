#include "overlay/OverlayPainter.h"

#include "ui/Brand.h"

#include <QFont>
#include <QFontMetricsF>
#include <QPainterPath>
#include <QPainterPathStroker>
#include <algorithm>
#include <cmath>
#include <vector>

namespace kasto {

namespace {

constexpr double kPulseLinePts = 2;
constexpr double kPulseOpacity = 0.8;
constexpr double kTileBorderPts = 1;

QRectF toQt(const Rect& rect, double scale = 1) {
    return {rect.x * scale, rect.y * scale, rect.width * scale, rect.height * scale};
}

QFont hudFont() { return Brand::monospaced(12, QFont::DemiBold); }

QPainterPath tilePath(const OverlayLayout::Tile& tile, double inset) {
    const double radius = std::max(0.0, tile.cornerRadius - inset);
    QPainterPath path;
    path.addRoundedRect(toQt(tile.frame.grown(-inset)), radius, radius);
    return path;
}

// The pixels whose centres are inside a rectangle with rounded corners. The rectangle is given in points.
QRegion pixelsOf(const Rect& rect, double cornerRadius, double scale) {
    const auto px = toQt(rect, scale);
    const double radius = cornerRadius * scale;
    std::vector<QRect> rows;
    for (int y = qRound(px.top()); y < qRound(px.bottom()); ++y) {
        const double fromEdge = std::min(y + 0.5 - px.top(), px.bottom() - y - 0.5);
        const double above = std::max(0.0, radius - fromEdge);
        const double cut = radius - std::sqrt(std::max(0.0, radius * radius - above * above));
        const int left = qRound(px.left() + cut);
        const int right = qRound(px.right() - cut);
        if (left < right) rows.emplace_back(left, y, right - left, 1);
    }
    QRegion region;
    region.setRects(rows.data(), static_cast<int>(rows.size()));
    return region;
}

// The middle part of the picture, cut to the proportions of `sizePx` and scaled to that size. Null without a
// picture, and for one in a YUV format.
QImage filling(const PixelBufferRef& picture, const QSize& sizePx) {
    if (!picture || picture->format() == PixelFormat::i420 || sizePx.isEmpty()) return {};
    const auto& plane = picture->plane(0);
    const auto part = sizePx.scaled(plane.width, plane.height, Qt::KeepAspectRatio).expandedTo({1, 1});
    const auto* corner = plane.data + (plane.height - part.height()) / 2 * plane.strideBytes +
                         (plane.width - part.width()) / 2 * 4;
    const bool isOpaque = picture->format() == PixelFormat::bgrx;
    const QImage image(corner, part.width(), part.height(), plane.strideBytes,
                       isOpaque ? QImage::Format_RGB32 : QImage::Format_ARGB32_Premultiplied);
    // The conversion sets the alpha byte, which is undefined in pictures without transparency.
    return image.scaled(sizePx, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
        .convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

}  // namespace

QRegion areaOf(const Rect& rect, double scale) { return toQt(rect, scale).toAlignedRect(); }

QRegion areaOf(const std::vector<OverlayLayout::Circle>& pulses, double scale) {
    QRegion area;
    for (const auto& circle : pulses) {
        const double reach = circle.radius + kPulseLinePts / 2 + 1 / scale;
        area += areaOf(Rect{circle.center.x, circle.center.y, 0, 0}.grown(reach), scale);
    }
    return area;
}

QRegion shapeOf(const std::vector<OverlayLayout::Circle>& pulses, double scale) {
    const auto disc = [&](const OverlayLayout::Circle& circle, double radius) {
        const auto box = Rect{circle.center.x, circle.center.y, 0, 0}.grown(std::max(0.0, radius));
        return pixelsOf(box, radius, scale);
    };
    QRegion shape;
    for (const auto& circle : pulses)
        shape +=
            disc(circle, circle.radius + kPulseLinePts / 2) - disc(circle, circle.radius - kPulseLinePts / 2);
    return shape;
}

QRegion shapeOf(const OverlayLayout::Tile& tile, bool hasPicture, double scale) {
    const auto all = pixelsOf(tile.frame, tile.cornerRadius, scale);
    if (hasPicture) return all;
    const double innerRadius = std::max(0.0, tile.cornerRadius - kTileBorderPts);
    return all - pixelsOf(tile.frame.grown(-kTileBorderPts), innerRadius, scale);
}

void paintDashes(QPainter& painter, std::span<const PixelRect> dashesPx, double scale) {
    painter.save();
    painter.scale(1 / scale, 1 / scale);
    for (const auto& dash : dashesPx)
        painter.fillRect(QRect(dash.x, dash.y, dash.width, dash.height), Brand::accent());
    painter.restore();
}

void paintPulses(QPainter& painter, const std::vector<OverlayLayout::Circle>& pulses) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPathStroker stroker;
    stroker.setWidth(kPulseLinePts);
    // All circles are one path, so that crossing lines are not more opaque than others.
    QPainterPath lines;
    for (const auto& circle : pulses) {
        QPainterPath path;
        path.addEllipse(QPointF(circle.center.x, circle.center.y), circle.radius, circle.radius);
        lines.addPath(stroker.createStroke(path));
    }
    lines.setFillRule(Qt::WindingFill);
    painter.setOpacity(kPulseOpacity);
    painter.fillPath(lines, Brand::accent());
    painter.restore();
}

void paintTile(QPainter& painter, const OverlayLayout::Tile& tile, const PixelBufferRef& picture,
               double scale, bool softly) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, softly && tile.cornerRadius > 0);
    const auto path = tilePath(tile, 0);
    const auto framePx = toQt(tile.frame, scale).toAlignedRect();
    if (const auto image = filling(picture, framePx.size()); !image.isNull()) {
        QBrush brush(image);
        brush.setTransform(QTransform::fromScale(1 / scale, 1 / scale).translate(framePx.x(), framePx.y()));
        painter.fillPath(path, brush);
    }
    painter.fillPath(path.subtracted(tilePath(tile, kTileBorderPts)), Brand::accent());
    painter.restore();
}

Size measureHud(const QString& text) {
    const QFontMetricsF metrics(hudFont());
    return {metrics.horizontalAdvance(text), metrics.height()};
}

void paintHud(QPainter& painter, const HudLayout& hud, const QString& text) {
    constexpr double kBackgroundAlpha = 0.72;
    const auto dot = text.left(1);
    const QFontMetricsF metrics(hudFont());
    const QPointF baseline(hud.text.x, hud.text.y + metrics.ascent());
    painter.fillRect(toQt(hud.background), QColor::fromRgbF(0, 0, 0, kBackgroundAlpha));
    painter.setFont(hudFont());
    painter.setPen(Brand::accent());
    painter.drawText(baseline, dot);
    painter.setPen(Qt::white);
    painter.drawText(baseline + QPointF(metrics.horizontalAdvance(dot), 0), text.mid(1));
}

}  // namespace kasto
