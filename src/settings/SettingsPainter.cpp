#include "settings/SettingsPainter.h"

#include "ui/Brand.h"

#include <QFontMetricsF>
#include <QPaintDevice>
#include <cmath>

namespace kasto {

namespace {

const QColor kKnobOn = QColor::fromRgbF(1, 1, 1);
const QColor kKnobOff = QColor::fromRgbF(0.7F, 0.7F, 0.7F);
const QColor kDisabledLabel = QColor::fromRgbF(0.38F, 0.38F, 0.38F);

double widthOf(const QString& text, const QFont& font) { return QFontMetricsF(font).horizontalAdvance(text); }

QFont spaced(QFont font, double kerning) {
    font.setLetterSpacing(QFont::AbsoluteSpacing, kerning);
    return font;
}

// What is left of a label that is drawn around a button's middle and is far wider than the window: laying out
// the rest would take time and show nothing.
QString drawable(const QString& label) {
    constexpr int kWidest = 300;
    return label.size() <= kWidest ? label : label.mid((label.size() - kWidest) / 2, kWidest);
}

}  // namespace

SettingsPainter::SettingsPainter(QPainter& painter)
    : painter_(painter),
      sectionFont_(spaced(Brand::monospaced(10, QFont::DemiBold), 2)),
      versionFont_(Brand::monospaced(10, QFont::DemiBold)),
      titleFont_(Brand::monospaced(12, QFont::Medium)),
      descFont_(Brand::face("Finlandica-Regular", 11, Brand::system(11))),
      labelFont_(Brand::monospaced(11, QFont::DemiBold)),
      footerFont_(Brand::monospaced(9)),
      nameFont_(Brand::face("Micro5-Regular", 30, Brand::monospaced(30, QFont::Bold))),
      glyphFont_(Brand::face("Finlandica-Regular_Bold", 14, Brand::system(14, QFont::Bold))) {
    // A folder whose name is written from the right does not turn its whole line around.
    painter_.setLayoutDirection(Qt::LeftToRight);
}

void SettingsPainter::drawSection(double x, double y, const QString& title) {
    drawText(x, y, title, sectionFont_, Brand::muted());
}

void SettingsPainter::drawRow(const QRectF& rect, const QString& title, const QString& desc, bool hovered) {
    painter_.fillRect(rect, hovered ? Brand::hover() : Brand::row());
    drawText(rect.left() + 14, rect.top() + 9, title, titleFont_, Brand::foam());
    drawText(rect.left() + 14, rect.top() + 27, desc, descFont_, Brand::muted());
}

void SettingsPainter::drawSwitch(const QRectF& rect, bool on) {
    painter_.fillRect(rect, on ? Brand::accent() : Brand::off());
    const double x = on ? rect.right() - 20 : rect.left() + 2;
    painter_.fillRect(QRectF(x, rect.top() + 2, 18, 20), on ? kKnobOn : kKnobOff);
}

void SettingsPainter::drawButton(const QRectF& rect, const QString& label, bool enabled) {
    painter_.fillRect(rect, Brand::off());
    drawText(rect.center().x() - labelWidth(label) / 2, rect.center().y() - 7, drawable(label), labelFont_,
             enabled ? Brand::foam() : kDisabledLabel);
}

void SettingsPainter::drawFooter(double x, double y) {
    drawText(x, y, "settings stay put — nothing to save", footerFont_, Brand::muted());
}

void SettingsPainter::drawHeader(const QRectF& band, const QIcon& icon, const QString& version) {
    painter_.fillRect(band, Brand::bg());
    const QString name = "kasto";
    const double nameWidth = widthOf(name, nameFont_);
    const double versionWidth = widthOf(version, versionFont_);
    const double x0 = (band.width() - (nameWidth + 36 + 10 + versionWidth + 14)) / 2;

    if (!icon.isNull()) {
        // On whole pixels of the device, or the icon would be drawn blurred.
        const double scale = painter_.device()->devicePixelRatioF();
        const QPointF corner(std::round(x0 * scale) / scale, std::round(13.5 * scale) / scale);
        painter_.drawPixmap(corner, icon.pixmap(QSize(26, 26), scale));
    }
    const QFontMetricsF metrics(nameFont_);
    drawText(x0 + 36, (band.height() - metrics.ascent() - metrics.descent()) / 2 - 3, name, nameFont_,
             Brand::foam());

    const QRectF pill(x0 + 36 + nameWidth + 10, 17.5, versionWidth + 14, 18);
    painter_.fillRect(pill, Brand::accent());
    drawText(pill.left() + 7, 20.5, version, versionFont_, Qt::white);
}

void SettingsPainter::drawControl(const QRectF& rect, const QString& glyph, const QColor& hover,
                                  bool hovered) {
    if (hovered) painter_.fillRect(rect, hover);
    drawText(rect.center().x() - widthOf(glyph, glyphFont_) / 2, rect.center().y() - 9, glyph, glyphFont_,
             Brand::foam());
}

double SettingsPainter::labelWidth(const QString& label) const {
    return widthOf(drawable(label), labelFont_);
}

void SettingsPainter::drawText(double x, double y, const QString& text, const QFont& font,
                               const QColor& colour) {
    painter_.setFont(font);
    painter_.setPen(colour);
    painter_.drawText(QPointF(x, y + QFontMetricsF(font).ascent()), text);
}

}  // namespace kasto
