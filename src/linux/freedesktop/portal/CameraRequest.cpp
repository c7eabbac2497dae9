#include "linux/freedesktop/portal/CameraRequest.h"

#include "base/log/DebugLog.h"
#include "linux/freedesktop/portal/PortalNames.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QRandomGenerator>
#include <utility>

namespace kasto::freedesktop {

namespace {

constexpr uint kSuccess = 0;
constexpr uint kRefused = 1;

// The object path of the portal's answer. It follows from the token, so that one can listen there before the
// request is sent and miss no answer.
QString requestPath(const QDBusConnection& bus, const QString& token) {
    return kPortalPath + "/request/" + bus.baseService().mid(1).replace('.', '_') + "/" + token;
}

}  // namespace

CameraRequest::CameraRequest(const QDBusConnection& bus, std::function<void(CameraPortal::Answer)> answer,
                             QObject* parent)
    : QObject(parent),
      bus_(bus),
      answer_(std::move(answer)),
      gone_(kPortalService, bus, QDBusServiceWatcher::WatchForUnregistration) {
    connect(&gone_, &QDBusServiceWatcher::serviceUnregistered, this,
            [this] { finish(CameraPortal::Answer::failed, "it went away"); });
    const auto token = "kasto" + QString::number(QRandomGenerator::global()->generate());
    listenAt(requestPath(bus_, token));
    ask(token);
}

void CameraRequest::listenAt(const QString& requestPath) {
    if (requestPath == listensAt_) return;
    listensAt_ = requestPath;
    bus_.connect(kPortalService, requestPath, kPortalRequest, "Response", this,
                 SLOT(respond(uint, QVariantMap)));
}

void CameraRequest::ask(const QString& token) {
    auto call = portalCameraCall("AccessCamera");
    call << QVariantMap{{"handle_token", token}};
    auto* asked = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
    connect(asked, &QDBusPendingCallWatcher::finished, this, [this, asked] {
        asked->deleteLater();
        const QDBusPendingReply<QDBusObjectPath> reply(*asked);
        if (!reply.isError()) return listenAt(reply.value().path());
        const bool isForbidden = reply.error().name() == kPortalNotAllowed;
        finish(isForbidden ? CameraPortal::Answer::restricted : CameraPortal::Answer::failed,
               reply.error().message());
    });
}

void CameraRequest::respond(uint response, const QVariantMap&) {
    if (response == kSuccess) return finish(CameraPortal::Answer::granted);
    if (response == kRefused) return finish(CameraPortal::Answer::denied);
    finish(CameraPortal::Answer::failed, "it gave up");
}

void CameraRequest::finish(CameraPortal::Answer answer, const QString& why) {
    if (!answer_) return;
    if (!why.isEmpty()) DebugLog::log("camera portal: " + why.toStdString());
    const auto tell = std::exchange(answer_, nullptr);
    deleteLater();
    tell(answer);
}

}  // namespace kasto::freedesktop
