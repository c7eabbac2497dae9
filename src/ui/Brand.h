#pragma once

#include <QColor>
#include <QFont>
#include <QIcon>
#include <QString>

namespace kasto {

// What the program looks like: a fixed dark palette, its typefaces and its icon. All colours are opaque sRGB.
class Brand {
public:
    // Any thread.
    static const QColor& bg();      // behind everything
    static const QColor& panel();   // behind a list
    static const QColor& row();     // an option
    static const QColor& hover();   // an option under the mouse
    static const QColor& off();     // a switch that is off, a button
    static const QColor& foam();    // text
    static const QColor& muted();   // text of less weight
    static const QColor& accent();  // what is on, what closes, a region's outline

    // Makes the program's own typefaces known to this process, once; a further call does nothing. Without it,
    // and where one cannot be read, the fallbacks are drawn. Main thread, as all below.
    static void registerFonts();

    // Sizes are in points as windows are measured in. `face` is a typeface by its full name, drawn in the
    // fallback's where there is none of that name.
    static QFont face(const QString& name, int sizePts, const QFont& fallback);
    static QFont monospaced(int sizePts, QFont::Weight weight = QFont::Normal);
    static QFont system(int sizePts, QFont::Weight weight = QFont::Normal);

    // The program's icon, in several sizes.
    static QIcon icon();
};

}  // namespace kasto
