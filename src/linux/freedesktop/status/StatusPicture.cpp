#include "linux/freedesktop/status/StatusPicture.h"

#include "base/AccentColour.h"

#include <QFont>
#include <QPainter>
#include <QPainterPath>
#include <cmath>

namespace kasto::freedesktop {

namespace {

// All outlines are drawn in a square with this side, the origin at its top left corner.
constexpr double kSide = 100;
constexpr QPointF kMiddle{50, 50};
const QColor kRed =
    QColor::fromRgbF(float(AccentColour::kRed), float(AccentColour::kGreen), float(AccentColour::kBlue));

QPainterPath disc(QPointF centre, double radius) {
    QPainterPath path;
    path.addEllipse(centre, radius, radius);
    return path;
}

QPainterPath ring(QPointF centre, double outer, double inner) {
    return disc(centre, outer).subtracted(disc(centre, inner));
}

QPainterPath hollowRecordCircle() { return ring(kMiddle, 44, 35).united(disc(kMiddle, 21)); }

QPainterPath filledRecordCircle(QPointF centre, double radius) {
    return disc(centre, radius).subtracted(ring(centre, radius * 0.66, radius * 0.5));
}

QPainterPath plate(const QRectF& place) {
    QPainterPath path;
    path.addRoundedRect(place, 10, 10);
    return path;
}

QPainterPath gear(QPointF centre, double radius) {
    constexpr int kTeeth = 8;
    QPainterPath teeth;
    for (int i = 0; i < kTeeth; ++i) {
        QTransform turned;
        turned.translate(centre.x(), centre.y());
        turned.rotate(360.0 * i / kTeeth);
        QPainterPath tooth;
        tooth.addRect(QRectF(-0.17 * radius, -radius, 0.34 * radius, 0.5 * radius));
        teeth = teeth.united(turned.map(tooth));
    }
    return teeth.united(disc(centre, radius * 0.76)).subtracted(disc(centre, radius * 0.34));
}

// The text as an outline, as large as fits the rectangle.
QPainterPath lettering(const QString& text, const QRectF& within) {
    QFont font("sans-serif");
    font.setStyleHint(QFont::SansSerif);
    font.setBold(true);
    font.setPixelSize(100);
    QPainterPath letters;
    letters.addText({0, 0}, font, text);
    const auto bounds = letters.boundingRect();
    if (bounds.isEmpty()) return {};
    // A text that fills the width is stretched in height, at most 1.5 times: height makes small digits
    // readable.
    const double across = std::min(within.width() / bounds.width(), within.height() / bounds.height());
    const double up = std::min(within.height() / bounds.height(), across * 1.5);
    QTransform fitted;
    fitted.translate(within.center().x(), within.center().y());
    fitted.scale(across, up);
    fitted.translate(-bounds.center().x(), -bounds.center().y());
    return fitted.map(letters);
}

class Pen {
public:
    Pen(QImage& image, const QColor& foreground)
        : painter_(&image), foreground_(foreground), pixel_(kSide / image.width()) {
        painter_.setRenderHint(QPainter::Antialiasing);
        painter_.scale(1 / pixel_, 1 / pixel_);
    }

    // In the foreground colour, with a rim.
    void drawMark(const QPainterPath& path) {
        QColor rim = foreground_.lightnessF() < 0.5 ? Qt::white : Qt::black;
        rim.setAlphaF(0.5F);
        painter_.strokePath(path, QPen(rim, 2 * pixel_, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        draw(path, foreground_);
    }

    void draw(const QPainterPath& path, const QColor& colour) { painter_.fillPath(path, colour); }

    void clear(const QPainterPath& path) {
        painter_.setCompositionMode(QPainter::CompositionMode_Clear);
        draw(path, Qt::transparent);
        painter_.setCompositionMode(QPainter::CompositionMode_SourceOver);
    }

private:
    QPainter painter_;
    const QColor foreground_;
    const double pixel_;
};

}  // namespace

QImage StatusPicture::drawn(int sizePx, const QColor& foreground) const {
    QImage picture(sizePx, sizePx, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    Pen pen(picture, foreground);
    switch (image) {
        case StatusImage::idle:
            pen.drawMark(hollowRecordCircle());
            if (text.isEmpty()) break;
            pen.clear(disc({70, 70}, 34));
            pen.drawMark(gear({70, 70}, 28));
            break;
        case StatusImage::recording:
            if (text.isEmpty()) {
                pen.draw(filledRecordCircle(kMiddle, 44), kRed);
                break;
            }
            pen.draw(filledRecordCircle({50, 22}, 22), kRed);
            pen.draw(plate({0, 47, 100, 53}), kRed);
            pen.draw(lettering(text, {4, 51, 92, 45}), Qt::white);
            break;
        case StatusImage::stop:
            pen.draw(plate({16, 16, 68, 68}), kRed);
            break;
    }
    return picture;
}

QList<QImage> StatusPicture::inUsualSizes(const QColor& foreground) const {
    QList<QImage> pictures;
    for (const int sizePx : {16, 22, 24, 32, 36, 44, 48, 64}) pictures.append(drawn(sizePx, foreground));
    return pictures;
}

}  // namespace kasto::freedesktop
