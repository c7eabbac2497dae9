#pragma once

#include <QColor>
#include <QFont>
#include <QIcon>
#include <QString>

namespace kasto {

// The program's looks: a fixed dark palette, its typefaces and its icon. All colours are opaque sRGB.
class Brand {
public:
    // Any thread.
    static const QColor& bg();      // the ground of windows
    static const QColor& panel();   // the ground of a list
    static const QColor& row();     // an option's row
    static const QColor& hover();   // an option's row under the mouse
    static const QColor& off();     // a switch that is off, a button
    static const QColor& foam();    // text
    static const QColor& muted();   // secondary text
    static const QColor& accent();  // switches that are on, close buttons, outlines: AccentColour

    // Loads the program's own typefaces. Further calls do nothing. Without this call, and if a file cannot be
    // read, the fallback typefaces are used. Main thread, as all functions below.
    static void registerFonts();

    // Sizes are in points. `face` returns the typeface of this full name, or the fallback if there is none.
    static QFont face(const QString& name, int sizePts, const QFont& fallback);
    static QFont monospaced(int sizePts, QFont::Weight weight = QFont::Normal);
    static QFont system(int sizePts, QFont::Weight weight = QFont::Normal);

    // The program's icon, in several sizes.
    static QIcon icon();
};

}  // namespace kasto
