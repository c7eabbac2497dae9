#include "ui/Brand.h"

#include "base/AccentColour.h"

#include <QDir>
#include <QFontDatabase>
#include <QFontInfo>

namespace kasto {

namespace {

QColor grey(float white) { return QColor::fromRgbF(white, white, white); }

// The font in this size. Points are what Qt calls device-independent pixels.
QFont sized(QFont font, int sizePts, QFont::Weight weight) {
    font.setPixelSize(sizePts);
    font.setWeight(weight);
    return font;
}

}  // namespace

const QColor& Brand::bg() {
    static const auto colour = QColor::fromRgbF(0.04F, 0.045F, 0.06F);
    return colour;
}

const QColor& Brand::panel() {
    static const QColor colour(20, 25, 32);
    return colour;
}

const QColor& Brand::row() {
    static const QColor colour(27, 33, 43);
    return colour;
}

const QColor& Brand::hover() {
    static const QColor colour(36, 44, 58);
    return colour;
}

const QColor& Brand::off() {
    static const QColor colour(44, 52, 66);
    return colour;
}

const QColor& Brand::foam() {
    static const auto colour = grey(0.92F);
    return colour;
}

const QColor& Brand::muted() {
    static const auto colour = grey(0.58F);
    return colour;
}

const QColor& Brand::accent() {
    static const auto colour =
        QColor::fromRgbF(float(AccentColour::kRed), float(AccentColour::kGreen), float(AccentColour::kBlue));
    return colour;
}

void Brand::registerFonts() {
    static bool registered = false;
    if (registered) return;
    registered = true;
    for (const auto* file : {"Finlandica.ttf", "Micro5-Regular.ttf"})
        QFontDatabase::addApplicationFont(QString(":/kasto/fonts/") + file);
}

QFont Brand::face(const QString& name, int sizePts, const QFont& fallback) {
    QFont font(name);
    font.setPixelSize(sizePts);
    return QFontInfo(font).family() == name ? font : fallback;
}

QFont Brand::monospaced(int sizePts, QFont::Weight weight) {
    return sized(QFontDatabase::systemFont(QFontDatabase::FixedFont), sizePts, weight);
}

QFont Brand::system(int sizePts, QFont::Weight weight) {
    return sized(QFontDatabase::systemFont(QFontDatabase::GeneralFont), sizePts, weight);
}

QIcon Brand::icon() {
    QIcon icon;
    for (const auto& size : QDir(":/kasto/icons").entryList())
        icon.addFile(":/kasto/icons/" + size + "/apps/kasto.png");
    return icon;
}

}  // namespace kasto
