#pragma once

#include <QDBusMessage>
#include <QString>

// Names of the desktop portal on the session bus.
namespace kasto::freedesktop {

inline const QString kPortalService = "org.freedesktop.portal.Desktop";
inline const QString kPortalPath = "/org/freedesktop/portal/desktop";
inline const QString kPortalCamera = "org.freedesktop.portal.Camera";
inline const QString kPortalRequest = "org.freedesktop.portal.Request";
inline const QString kPortalNotAllowed = "org.freedesktop.portal.Error.NotAllowed";

inline QDBusMessage portalCameraCall(const QString& method) {
    return QDBusMessage::createMethodCall(kPortalService, kPortalPath, kPortalCamera, method);
}

}  // namespace kasto::freedesktop
