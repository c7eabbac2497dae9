#include "settings/SettingsPainter.h"

#include "ui/Brand.h"

#include <QFontMetricsF>
#include <QPaintDevice>
#include <cmath>

namespace kasto {

namespace {

constexpr double kTextGap = 10;  // between a description and the control right of it
const QColor kKnobOn = QColor::fromRgbF(1, 1, 1);
const QColor kKnobOff = QColor::fromRgbF(0.7F, 0.7F, 0.7F);
const QColor kDisabledLabel = QColor::fromRgbF(0.38F, 0.38F, 0.38F);

double widthOf(const QString& text, const QFont& font) { return QFontMetricsF(font).horizontalAdvance(text); }

QFont spaced(QFont font, double kerning) {
    font.setLetterSpacing(QFont::AbsoluteSpacing, kerning);
    return font;
}

QFont labelFont() { return Brand::monospaced(11, QFont::DemiBold); }

// The middle of a label that is far wider than the window. Labels are centred on their button, so nothing
// else of it would be seen, and laying it out would take time.
QString drawable(const QString& label) {
    constexpr int kMaxCharacters = 300;
    return label.size() <= kMaxCharacters ? label
                                          : label.mid((label.size() - kMaxCharacters) / 2, kMaxCharacters);
}

}  // namespace

SettingsPainter::SettingsPainter(QPainter& painter)
    : painter_(painter),
      sectionFont_(spaced(Brand::monospaced(10, QFont::DemiBold), 2)),
      versionFont_(Brand::monospaced(10, QFont::DemiBold)),
      titleFont_(Brand::monospaced(12, QFont::Medium)),
      descFont_(Brand::face("Finlandica-Regular", 11, Brand::system(11))),
      labelFont_(labelFont()),
      footerFont_(Brand::monospaced(9)),
      nameFont_(Brand::face("Micro5-Regular", 30, Brand::monospaced(30, QFont::Bold))),
      glyphFont_(Brand::face("Finlandica-Regular_Bold", 14, Brand::system(14, QFont::Bold))) {
    // Without this, the name of a folder that is written from right to left would turn its whole line around.
    painter_.setLayoutDirection(Qt::LeftToRight);
}

void SettingsPainter::drawSection(double x, double y, const QString& title) {
    drawText(x, y, title, sectionFont_, Brand::muted());
}

void SettingsPainter::drawRow(const QRectF& rect, const QString& title, const QString& desc, double textRight,
                              bool hovered) {
    painter_.fillRect(rect, hovered ? Brand::hover() : Brand::row());
    const double left = rect.left() + 14;
    drawText(left, rect.top() + 9, title, titleFont_, Brand::foam());
    // In the middle, so that both ends of a folder's name and the words after it can be read.
    const auto shown =
        QFontMetricsF(descFont_).elidedText(desc, Qt::ElideMiddle, textRight - kTextGap - left);
    drawText(left, rect.top() + 27, shown, descFont_, Brand::muted());
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
        // On whole pixels of the device; between them the icon would be blurred.
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

void SettingsPainter::drawFocus(const QRectF& rect) {
    constexpr double kWidth = 2;
    painter_.setPen(QPen(Brand::foam(), kWidth, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
    painter_.setBrush(Qt::NoBrush);
    painter_.drawRect(rect.adjusted(kWidth / 2, kWidth / 2, -kWidth / 2, -kWidth / 2));
}

double SettingsPainter::labelWidth(const QString& label) { return widthOf(drawable(label), labelFont()); }

void SettingsPainter::drawText(double x, double y, const QString& text, const QFont& font,
                               const QColor& colour) {
    painter_.setFont(font);
    painter_.setPen(colour);
    painter_.drawText(QPointF(x, y + QFontMetricsF(font).ascent()), text);
}

}  // namespace kasto
