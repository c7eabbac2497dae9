#include "linux/pipewire/FakeCameraPortal.h"

#include "base/FileDescriptor.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <QDBusMessage>
#include <QTimer>
#include <cstdlib>

namespace kasto::test {

namespace {

const QString kName = "org.freedesktop.portal.Desktop";

FileDescriptor connectToMediaServer() {
    FileDescriptor server(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const auto path = std::string(std::getenv("XDG_RUNTIME_DIR")) + "/pipewire-0";
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    if (connect(server.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return {};
    return server;
}

}  // namespace

FakeCameraPortal::FakeCameraPortal()
    : bus_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, "portal")) {
    new CameraPortalAdaptor(*this);
    EXPECT_TRUE(bus_.registerObject("/org/freedesktop/portal/desktop", this));
    EXPECT_TRUE(bus_.registerService(kName));
}

FakeCameraPortal::~FakeCameraPortal() {
    bus_.unregisterService(kName);
    bus_.unregisterObject("/org/freedesktop/portal/desktop");
    QDBusConnection::disconnectFromBus("portal");
}

QDBusObjectPath FakeCameraPortal::ask(const QVariantMap& options, const QDBusMessage& call) {
    ++asked;
    if (user == kForbid) {
        refuse(call, "org.freedesktop.portal.Error.NotAllowed", "there is a rule against cameras");
        return {};
    }
    const auto asker = call.service().mid(1).replace('.', '_');
    const QDBusObjectPath path("/org/freedesktop/portal/desktop/request/" + asker + "/" +
                               options["handle_token"].toString());
    requestPath_ = path.path().toStdString();
    if (user != kThink) QTimer::singleShot(0, this, [this] { answer(user); });
    return path;
}

void FakeCameraPortal::answer(unsigned response) {
    auto signal = QDBusMessage::createSignal(QString::fromStdString(requestPath_),
                                             "org.freedesktop.portal.Request", "Response");
    signal << response << QVariantMap();
    bus_.send(signal);
}

void FakeCameraPortal::refuse(const QDBusMessage& call, const QString& error, const QString& why) const {
    call.setDelayedReply(true);
    bus_.send(call.createErrorReply(error, why));
}

QDBusUnixFileDescriptor FakeCameraPortal::open(const QDBusMessage& call) {
    ++opened;
    const auto server = connectToMediaServer();
    if (server) return QDBusUnixFileDescriptor(server.get());
    refuse(call, "org.freedesktop.portal.Error.Failed", "no media server");
    return {};
}

}  // namespace kasto::test
