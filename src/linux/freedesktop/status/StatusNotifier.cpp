#include "linux/freedesktop/status/StatusNotifier.h"

#include <QDBusMetaType>
#include <QtEndian>

namespace kasto::freedesktop {

namespace {

IconPixmap pixmapOf(const QImage& picture) {
    const auto pixels = picture.convertToFormat(QImage::Format_ARGB32);
    const qsizetype count = qsizetype{pixels.width()} * pixels.height();
    IconPixmap pixmap{pixels.width(), pixels.height(), QByteArray(count * 4, Qt::Uninitialized)};
    qToBigEndian<quint32>(pixels.constBits(), count, pixmap.argb.data());
    return pixmap;
}

}  // namespace

StatusNotifier::StatusNotifier(const QString& id, const QDBusObjectPath& menu) : id_(id), menu_(menu) {
    qDBusRegisterMetaType<IconPixmap>();
    qDBusRegisterMetaType<QList<IconPixmap>>();
    qDBusRegisterMetaType<NotifierToolTip>();
}

void StatusNotifier::setPicture(const StatusPicture& picture) {
    if (picture_ == picture) return;
    picture_ = picture;
    emit NewIcon();
}

void StatusNotifier::setTexts(const QString& description, const QString& label) {
    if (description_ == description && label_ == label) return;
    description_ = description;
    label_ = label;
    emit NewTitle();
    emit NewToolTip();
    emit XAyatanaNewLabel(label_, labelGuide());
}

void StatusNotifier::setForeground(const QColor& foreground) {
    if (foreground_ == foreground) return;
    foreground_ = foreground;
    emit NewIcon();
}

QString StatusNotifier::fullTitle() const {
    return label_.isEmpty() ? description_ : description_ + ' ' + label_;
}

QList<IconPixmap> StatusNotifier::icon() const {
    QList<IconPixmap> pixmaps;
    for (const auto& picture : picture_.inUsualSizes(foreground_)) pixmaps.append(pixmapOf(picture));
    return pixmaps;
}

}  // namespace kasto::freedesktop
