#include "linux/freedesktop/portal/DBusCameraPortal.h"

#include "base/Guarded.h"
#include "linux/freedesktop/portal/CameraRequest.h"
#include "linux/freedesktop/portal/PortalNames.h"

#include <fcntl.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>
#include <QDBusVariant>
#include <QEvent>
#include <QFile>
#include <QObject>
#include <utility>
#include <vector>

namespace kasto::freedesktop {

namespace {

// Timeout for calls that need no decision of the user.
constexpr int kTimeoutMs = 5000;

bool isSandboxed() { return qEnvironmentVariableIsSet("SNAP") || QFile::exists("/.flatpak-info"); }

}  // namespace

// Belongs to the main thread. Calls that are not answered yet are dropped when it is destroyed.
class DBusCameraPortal::Bus final : public QObject {
public:
    // Runs the job on the main thread, unless this is destroyed before. Any thread.
    void post(std::function<void()> job) {
        jobs_.with([&](auto& jobs) { jobs.push_back(std::move(job)); });
        QCoreApplication::postEvent(this, new QEvent(QEvent::User));
    }

    template <class Handler>
    void call(const QDBusMessage& message, Handler handler) {
        auto* watcher = new QDBusPendingCallWatcher(bus().asyncCall(message, kTimeoutMs), this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this, [watcher, handler = std::move(handler)] {
            watcher->deleteLater();
            handler(*watcher);
        });
    }

    static QDBusConnection bus() { return QDBusConnection::sessionBus(); }

private:
    void customEvent(QEvent*) override {
        const auto due = jobs_.with([](auto& jobs) { return std::exchange(jobs, {}); });
        for (const auto& job : due) job();
    }

    Guarded<std::vector<std::function<void()>>> jobs_;
};

DBusCameraPortal::DBusCameraPortal() : bus_(std::make_unique<Bus>()) {}

DBusCameraPortal::~DBusCameraPortal() = default;

void DBusCameraPortal::askForPresence(std::function<void(bool mayBePresent)> answer) {
    bus_->post([bus = bus_.get(), answer = std::move(answer)] {
        auto question = QDBusMessage::createMethodCall(kPortalService, kPortalPath,
                                                       "org.freedesktop.DBus.Properties", "Get");
        question << kPortalCamera << "IsCameraPresent";
        bus->call(question, [answer](const QDBusPendingCall& call) {
            const QDBusPendingReply<QDBusVariant> reply(call);
            answer(!reply.isError() && (isSandboxed() || reply.value().variant().toBool()));
        });
    });
}

void DBusCameraPortal::requestAccess(std::function<void(Answer)> answer) {
    bus_->post(
        [bus = bus_.get(), answer = std::move(answer)] { new CameraRequest(Bus::bus(), answer, bus); });
}

void DBusCameraPortal::openRemote(std::function<void(Result<FileDescriptor>)> answer) {
    bus_->post([bus = bus_.get(), answer = std::move(answer)] {
        auto question = portalCameraCall("OpenPipeWireRemote");
        question << QVariantMap();
        bus->call(question, [answer](const QDBusPendingCall& call) {
            const QDBusPendingReply<QDBusUnixFileDescriptor> reply(call);
            if (reply.isError())
                return answer(failure("camera portal: " + reply.error().message().toStdString()));
            FileDescriptor remote(fcntl(reply.value().fileDescriptor(), F_DUPFD_CLOEXEC, 0));
            answer(remote ? Result<FileDescriptor>(std::move(remote))
                          : failure("camera portal: no descriptor"));
        });
    });
}

}  // namespace kasto::freedesktop
