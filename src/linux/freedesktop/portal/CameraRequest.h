#pragma once

#include "platform/CameraPortal.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QVariantMap>
#include <functional>

namespace kasto::freedesktop {

// One request for access to cameras to the portal of a session bus. The constructor sends it. The object
// deletes itself after it has called `answer`. Main thread.
class CameraRequest final : public QObject {
    Q_OBJECT

public:
    CameraRequest(const QDBusConnection& bus, std::function<void(CameraPortal::Answer)> answer,
                  QObject* parent);

private slots:
    void respond(uint response, const QVariantMap& results);

private:
    void listenAt(const QString& requestPath);
    void ask(const QString& token);
    void finish(CameraPortal::Answer answer, const QString& why = {});

    QDBusConnection bus_;
    std::function<void(CameraPortal::Answer)> answer_;  // empty once it was called
    QDBusServiceWatcher gone_;
    QString listensAt_;
};

}  // namespace kasto::freedesktop
