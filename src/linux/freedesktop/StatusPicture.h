#pragma once

#include "platform/StatusItem.h"

#include <QIcon>
#include <QImage>
#include <QString>

namespace kasto::freedesktop {

// What a status item shows, drawn from outlines so that it is sharp at every size.
struct StatusPicture {
    StatusImage image = StatusImage::idle;
    QString text;  // in the picture: an elapsed time, or the gear of a take that is being finished

    // A square. `foreground` is the desktop's colour for such pictures; a faint rim of the opposite
    // lightness keeps it visible where the panel has other colours than the desktop.
    QImage drawn(int sizePx, const QColor& foreground) const;

    // For panels that choose among sizes: those of the usual panels at scales from 1 to 2.
    QList<QImage> inUsualSizes(const QColor& foreground) const;

    bool operator==(const StatusPicture&) const = default;
};

}  // namespace kasto::freedesktop
