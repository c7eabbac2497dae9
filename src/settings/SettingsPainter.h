#pragma once

#include <QFont>
#include <QIcon>
#include <QPainter>
#include <QRectF>
#include <QString>

namespace kasto {

// Draws the parts of the settings view, in the view's points; texts hang from their top-left corner. For one
// paint event.
class SettingsPainter {
public:
    explicit SettingsPainter(QPainter& painter);

    void drawSection(double x, double y, const QString& title);
    // A description that would reach beyond `textRight` loses its middle.
    void drawRow(const QRectF& rect, const QString& title, const QString& desc, double textRight,
                 bool hovered);
    void drawSwitch(const QRectF& rect, bool on);
    void drawButton(const QRectF& rect, const QString& label, bool enabled);
    void drawFooter(double x, double y);

    // The band with the program's icon, name and version in its middle.
    void drawHeader(const QRectF& band, const QIcon& icon, const QString& version);
    void drawControl(const QRectF& rect, const QString& glyph, const QColor& hover, bool hovered);

    // A frame inside the control that has the keyboard's focus.
    void drawFocus(const QRectF& rect);

    // The width of a button's label, also without a painter.
    static double labelWidth(const QString& label);

private:
    void drawText(double x, double y, const QString& text, const QFont& font, const QColor& colour);

    QPainter& painter_;
    const QFont sectionFont_, versionFont_, titleFont_, descFont_, labelFont_, footerFont_, nameFont_,
        glyphFont_;
};

}  // namespace kasto
