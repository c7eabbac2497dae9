#pragma once

#include "platform/StatusItem.h"

#include <QIcon>
#include <QImage>
#include <QString>

namespace kasto::freedesktop {

// The picture of a status item, drawn from outlines so that it is sharp at every size.
struct StatusPicture {
    StatusImage image = StatusImage::idle;
    QString text;  // drawn into the picture: the elapsed time, or a gear while a take is being finished

    // A square picture. `foreground` is the desktop's text colour. A faint rim of the opposite lightness
    // keeps the picture visible on a panel whose colours differ from the desktop's.
    QImage drawn(int sizePx, const QColor& foreground) const;

    // The picture in the sizes of the usual panels at scales from 1 to 2, for hosts that choose one.
    QList<QImage> inUsualSizes(const QColor& foreground) const;

    bool operator==(const StatusPicture&) const = default;
};

}  // namespace kasto::freedesktop
