#include "ui/QtScale.h"

#include <QtGlobal>

namespace kasto {

QtScale::QtScale(double pixelsPerPoint) {
    replace("QT_SCALE_FACTOR", QByteArray::number(pixelsPerPoint, 'g', 17));
    // Qt multiplies the factor by the resolution divided by 96, so this makes the factor the whole scale.
    replace("QT_FONT_DPI", "96");
    for (const char* name : {"QT_SCREEN_SCALE_FACTORS", "QT_USE_PHYSICAL_DPI", "QT_ENABLE_HIGHDPI_SCALING",
                             "QT_SCALE_FACTOR_ROUNDING_POLICY"})
        replace(name, {});
}

QtScale::~QtScale() {
    for (const auto& [name, value] : former_)
        if (value.isNull())
            qunsetenv(name);
        else
            qputenv(name, value);
}

void QtScale::replace(const char* name, const QByteArray& value) {
    former_.emplace_back(name, qEnvironmentVariableIsSet(name) ? qgetenv(name) : QByteArray());
    if (value.isNull())
        qunsetenv(name);
    else
        qputenv(name, value);
}

}  // namespace kasto
