#include "picker/PickPainter.h"

#include "picker/RegionPickView.h"
#include "ui/Brand.h"

#include <QFontMetricsF>
#include <algorithm>
#include <cmath>

namespace kasto {

namespace {

const QString kEmptyHint = QStringLiteral("drag to set the recording region · right-click or esc cancels");
const QString kHint =
    QStringLiteral("drag edges to resize · inside to move · ✓ or return to confirm · esc cancels");
constexpr double kHandleSidePts = 10;

QColor black(float alpha) { return QColor::fromRgbF(0, 0, 0, alpha); }

QRectF toQt(const Rect& rect) { return {rect.x, rect.y, rect.width, rect.height}; }

// A stored selection may hold numbers that do not fit into an int.
QString wholeNumber(double value) { return QString::number(std::trunc(value), 'f', 0); }

}  // namespace

PickPainter::PickPainter(QPainter& painter, QSizeF viewPts, const QPixmap* screenPicture)
    : painter_(painter),
      viewPts_(viewPts),
      screenPicture_(screenPicture),
      labelFont_(Brand::monospaced(13, QFont::DemiBold)) {
    painter_.setRenderHint(QPainter::Antialiasing);
}

void PickPainter::paint(const std::optional<Rect>& selection) {
    const QRectF view({}, viewPts_);
    paintScreen(view);
    painter_.fillRect(view, black(0.28F));
    if (!selection) {
        paintCentredLabel(kEmptyHint, 0.42 * viewPts_.height());
        return;
    }
    paintScreen(toQt(*selection).intersected(view));
    paintOutline(toQt(*selection));
    paintLabel(wholeNumber(selection->width) + "×" + wholeNumber(selection->height), selection->minX() + 6,
               std::max(4.0, selection->minY() - 24));
    paintHandles(*selection);
    paintButtons(*selection);
    paintCentredLabel(kHint, 14);
}

void PickPainter::paintScreen(const QRectF& area) {
    painter_.save();
    painter_.setCompositionMode(QPainter::CompositionMode_Source);
    if (screenPicture_) {
        painter_.setClipRect(area);
        painter_.drawPixmap(QRectF({}, viewPts_), *screenPicture_, QRectF(screenPicture_->rect()));
    } else {
        painter_.fillRect(area, Qt::transparent);
    }
    painter_.restore();
}

void PickPainter::paintOutline(const QRectF& selection) {
    QPen pen(Brand::accent(), 2, Qt::CustomDashLine, Qt::FlatCap, Qt::MiterJoin);
    pen.setDashPattern({4, 3});  // in widths of the line
    painter_.setPen(pen);
    painter_.setBrush(Qt::NoBrush);
    painter_.drawRect(selection);
}

void PickPainter::paintHandles(const Rect& selection) {
    painter_.setPen(QPen(Brand::accent(), 1.5, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin));
    painter_.setBrush(Qt::white);
    for (const auto& handle : RegionPickView::handles(selection))
        painter_.drawRect(QRectF(handle.centre.x - kHandleSidePts / 2, handle.centre.y - kHandleSidePts / 2,
                                 kHandleSidePts, kHandleSidePts));
}

void PickPainter::paintButtons(const Rect& selection) {
    const auto placed = RegionPickView::buttons(selection, viewPts_.height());
    paintButton(toQt(placed.confirm), Brand::accent(), QStringLiteral("✓"));
    paintButton(toQt(placed.cancel), black(0.78F), QStringLiteral("✕"));
}

void PickPainter::paintButton(const QRectF& square, const QColor& colour, const QString& sign) {
    painter_.fillRect(square, colour);
    painter_.setFont(Brand::system(20, QFont::Bold));
    painter_.setPen(Qt::white);
    const QFontMetricsF metrics(painter_.font(), painter_.device());
    painter_.drawText(QPointF(square.center().x() - metrics.horizontalAdvance(sign) / 2,
                              square.center().y() - metrics.height() / 2 + metrics.ascent()),
                      sign);
}

void PickPainter::paintLabel(const QString& text, double x, double y) {
    const QFontMetricsF metrics(labelFont_, painter_.device());
    painter_.fillRect(QRectF(x, y, metrics.horizontalAdvance(text), metrics.height()), black(0.72F));
    painter_.setFont(labelFont_);
    painter_.setPen(Qt::white);
    painter_.drawText(QPointF(x, y + metrics.ascent()), text);
}

void PickPainter::paintCentredLabel(const QString& text, double y) {
    const QFontMetricsF metrics(labelFont_, painter_.device());
    paintLabel(text, (viewPts_.width() - metrics.horizontalAdvance(text)) / 2, y);
}

}  // namespace kasto
