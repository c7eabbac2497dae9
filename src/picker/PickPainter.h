#pragma once

#include "base/Geometry.h"

#include <QFont>
#include <QPainter>
#include <QPixmap>
#include <QSizeF>
#include <QString>
#include <optional>

namespace kasto {

// Draws a RegionPickView: the shade, the selection with its handles and buttons, and the texts.
class PickPainter {
public:
    // `screenPicture` is drawn as the ground of the view. If it is null the ground is transparent and the
    // screen itself shows through.
    PickPainter(QPainter& painter, QSizeF viewPts, const QPixmap* screenPicture);

    void paint(const std::optional<Rect>& selection);

private:
    void paintScreen(const QRectF& area);
    void paintOutline(const QRectF& selection);
    void paintHandles(const Rect& selection);
    void paintButtons(const Rect& selection);
    void paintButton(const QRectF& square, const QColor& colour, const QString& sign);
    void paintLabel(const QString& text, double x, double y);
    void paintCentredLabel(const QString& text, double y);

    QPainter& painter_;
    const QSizeF viewPts_;
    const QPixmap* screenPicture_;
    const QFont labelFont_;
};

}  // namespace kasto
