#include "linux/freedesktop/automation/DBusRunningInstance.h"

#include "base/AppIdentity.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QObject>
#include <QVariantList>
#include <QVariantMap>
#include <utility>

namespace kasto::freedesktop {

namespace {

const QString kName = QString::fromUtf8(kBundleIdentifier.data(), kBundleIdentifier.size());
const QString kObjectPath = "/" + QString(kName).replace('.', '/');
const QString kInterface = "org.freedesktop.Application";

Error busError(const QDBusError& error) {
    const auto text = error.message().toStdString();
    return {"session bus: " + (text.empty() ? "not there" : text)};
}

// The operations of org.freedesktop.Application.
class ApplicationAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    explicit ApplicationAdaptor(QObject* parent) : QDBusAbstractAdaptor(parent) {}

    std::function<void()> onActivate;
    std::function<void(const std::vector<std::string>&)> onOpenUrls;
    std::function<void(const std::string&)> onAction;

public slots:
    void Activate(const QVariantMap&) {
        if (onActivate) onActivate();
    }

    void Open(const QStringList& uris, const QVariantMap&) {
        std::vector<std::string> urls;
        for (const auto& uri : uris) urls.push_back(uri.toStdString());
        if (onOpenUrls) onOpenUrls(urls);
    }

    void ActivateAction(const QString& action, const QVariantList&, const QVariantMap&) {
        if (onAction) onAction(action.toStdString());
    }
};

}  // namespace

class DBusRunningInstance::Bus {
public:
    QObject object;
    ApplicationAdaptor adaptor{&object};
    QDBusConnection connection = QDBusConnection::connectToBus(QDBusConnection::SessionBus, kName);

    Result<void> callRunning(const QString& method, QVariantList arguments) const {
        auto call = QDBusMessage::createMethodCall(kName, kObjectPath, kInterface, method);
        call.setArguments(std::move(arguments));
        const auto reply = connection.call(call);
        if (reply.type() == QDBusMessage::ErrorMessage)
            return failure("session bus: " + reply.errorMessage().toStdString());
        return {};
    }

    ~Bus() { QDBusConnection::disconnectFromBus(kName); }
};

DBusRunningInstance::DBusRunningInstance() : bus_(std::make_unique<Bus>()) {}

DBusRunningInstance::~DBusRunningInstance() = default;

Result<bool> DBusRunningInstance::claim() {
    auto& connection = bus_->connection;
    if (!connection.isConnected()) return std::unexpected(busError(connection.lastError()));
    // The object is registered before the name, so that every caller who finds the name gets an answer. It is
    // there already when this is a second try.
    if (!connection.objectRegisteredAt(kObjectPath) && !connection.registerObject(kObjectPath, &bus_->object))
        return std::unexpected(busError({}));
    const auto reply = connection.interface()->registerService(
        kName, QDBusConnectionInterface::DontQueueService, QDBusConnectionInterface::DontAllowReplacement);
    if (!reply.isValid()) return std::unexpected(busError(reply.error()));
    return reply.value() == QDBusConnectionInterface::ServiceRegistered;
}

Result<void> DBusRunningInstance::forward(const std::vector<std::string>& urls) {
    if (urls.empty()) return bus_->callRunning("Activate", {QVariantMap()});
    QStringList uris;
    for (const auto& url : urls) uris.append(QString::fromStdString(url));
    return bus_->callRunning("Open", {uris, QVariantMap()});
}

Result<void> DBusRunningInstance::forwardAction(const std::string& actionId) {
    return bus_->callRunning("ActivateAction",
                             {QString::fromStdString(actionId), QVariantList(), QVariantMap()});
}

// Without the object, calls that were sent before the name went are answered with an error.
void DBusRunningInstance::release() {
    bus_->connection.unregisterObject(kObjectPath);
    bus_->connection.unregisterService(kName);
}

void DBusRunningInstance::setOnActivate(std::function<void()> onActivate) {
    bus_->adaptor.onActivate = std::move(onActivate);
}

void DBusRunningInstance::setOnOpenUrls(std::function<void(const std::vector<std::string>&)> onOpenUrls) {
    bus_->adaptor.onOpenUrls = std::move(onOpenUrls);
}

void DBusRunningInstance::setOnAction(std::function<void(const std::string&)> onAction) {
    bus_->adaptor.onAction = std::move(onAction);
}

}  // namespace kasto::freedesktop

#include "DBusRunningInstance.moc"
