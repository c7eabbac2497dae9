#pragma once

#include <QDBusMessage>
#include <QString>

// What the desktop's portals are called on a session bus.
namespace kasto::portal {

inline const QString kService = "org.freedesktop.portal.Desktop";
inline const QString kPath = "/org/freedesktop/portal/desktop";
inline const QString kCameraInterface = "org.freedesktop.portal.Camera";
inline const QString kRequestInterface = "org.freedesktop.portal.Request";
inline const QString kNotAllowed = "org.freedesktop.portal.Error.NotAllowed";

inline QDBusMessage cameraCall(const QString& method) {
    return QDBusMessage::createMethodCall(kService, kPath, kCameraInterface, method);
}

}  // namespace kasto::portal
