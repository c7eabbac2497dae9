#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QVariantMap>
#include <string>

namespace kasto::test {

// The camera portal on the session bus, with a user who answers as the test says. Opens the private media
// server. There while this lives.
class FakeCameraPortal : public QObject {
public:
    static constexpr unsigned kAllow = 0;
    static constexpr unsigned kRefuse = 1;
    static constexpr unsigned kGiveUp = 2;
    static constexpr unsigned kThink = 100;   // no answer until answer() is called
    static constexpr unsigned kForbid = 101;  // the question is not even asked

    FakeCameraPortal();
    ~FakeCameraPortal() override;

    bool isPresent = true;
    unsigned user = kAllow;
    int asked = 0;   // so often for access
    int opened = 0;  // so many connections

    // The user has thought, about the newest question.
    void answer(unsigned response);

private:
    friend class CameraPortalAdaptor;
    QDBusObjectPath ask(const QVariantMap& options, const QDBusMessage& call);
    QDBusUnixFileDescriptor open(const QDBusMessage& call);
    void refuse(const QDBusMessage& call, const QString& error, const QString& why) const;

    QDBusConnection bus_;
    std::string requestPath_;
};

class CameraPortalAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Camera")
    Q_PROPERTY(bool IsCameraPresent READ isCameraPresent)

public:
    explicit CameraPortalAdaptor(FakeCameraPortal& portal) : QDBusAbstractAdaptor(&portal), portal_(portal) {}
    bool isCameraPresent() const { return portal_.isPresent; }

public slots:
    QDBusObjectPath AccessCamera(const QVariantMap& options, const QDBusMessage& call) {
        return portal_.ask(options, call);
    }
    QDBusUnixFileDescriptor OpenPipeWireRemote(const QVariantMap&, const QDBusMessage& call) {
        return portal_.open(call);
    }

private:
    FakeCameraPortal& portal_;
};

}  // namespace kasto::test
