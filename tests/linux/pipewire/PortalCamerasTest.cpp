// Cameras of a real media server, which the program sees itself or through a portal that the test controls.

#include "camera/CameraSource.h"
#include "linux/freedesktop/portal/DBusCameraPortal.h"
#include "linux/pipewire/PipeWireConnection.h"
#include "linux/pipewire/camera/PortalCameras.h"
#include "support/LogLines.h"
#include "support/PrivatePipeWire.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QTest>
#include <QTimer>
#include <memory>

namespace kasto::test {

using namespace freedesktop;
using namespace pipewire;

// The camera portal on the session bus while it exists, with a user who answers as the test says. It lends
// the cameras of the private media server.
class FakeCameraPortal : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Camera")
    Q_PROPERTY(bool IsCameraPresent MEMBER isPresent)

public:
    enum User : unsigned { allows, refuses, givesUp, thinks, forbids };

    explicit FakeCameraPortal(User user = allows, bool isPresent = true) : isPresent(isPresent), user(user) {
        EXPECT_TRUE(
            bus_.registerObject("/org/freedesktop/portal/desktop", this, QDBusConnection::ExportAllContents));
        EXPECT_TRUE(bus_.registerService("org.freedesktop.portal.Desktop"));
    }
    ~FakeCameraPortal() override { QDBusConnection::disconnectFromBus("portal"); }

    bool isPresent;
    User user;  // for `thinks`, answer() is called later
    int asked = 0;
    int opened = 0;

    void answer(User decision) {
        auto signal = QDBusMessage::createSignal(requestPath_, "org.freedesktop.portal.Request", "Response");
        bus_.send(signal << static_cast<unsigned>(decision) << QVariantMap());
    }

public slots:
    QDBusObjectPath AccessCamera(const QVariantMap& options, const QDBusMessage& call) {
        ++asked;
        if (user == forbids) {
            call.setDelayedReply(true);
            bus_.send(call.createErrorReply("org.freedesktop.portal.Error.NotAllowed", "there is a rule"));
            return {};
        }
        const auto asker = call.service().mid(1).replace('.', '_');
        requestPath_ =
            "/org/freedesktop/portal/desktop/request/" + asker + "/" + options["handle_token"].toString();
        if (user != thinks) QTimer::singleShot(0, this, [this] { answer(user); });
        return QDBusObjectPath(requestPath_);
    }

    QDBusUnixFileDescriptor OpenPipeWireRemote(const QVariantMap&, const QDBusMessage& call) {
        ++opened;
        const FileDescriptor server(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
        const auto path = qEnvironmentVariable("XDG_RUNTIME_DIR").toStdString() + "/pipewire-0";
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        if (::connect(server.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
            return QDBusUnixFileDescriptor(server.get());
        call.setDelayedReply(true);
        bus_.send(call.createErrorReply("org.freedesktop.portal.Error.Failed", "no media server"));
        return {};
    }

private:
    QDBusConnection bus_ = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "portal");
    QString requestPath_;
};

namespace {

struct Session {
    PrivatePipeWire server;
    int argc = 0;
    QCoreApplication application{argc, nullptr};
};
std::unique_ptr<Session> session;

// Once for all tests of the program, because a process finds its bus only once.
class SessionEnvironment : public testing::Environment {
    void SetUp() override { session = std::make_unique<Session>(); }
    void TearDown() override { session.reset(); }
};
const auto* const kSession = testing::AddGlobalTestEnvironment(new SessionEnvironment);

template <class Condition>
bool comesTrue(Condition condition) {
    return QTest::qWaitFor(condition, 20'000);
}

ChildProcess plugIn() {
    return ChildProcess({TEST_WEBCAM, "cam", "Webcam", "NV12", "320x240", "30"}, {PrivatePipeWire::kRemote});
}

// The program, which may see the media server itself.
struct Program {
    explicit Program(bool seesServer = false) {
        seesServer ? unsetenv("PIPEWIRE_REMOTE") : setenv("PIPEWIRE_REMOTE", "none", 1);
        static_cast<void>(direct.lock());
    }
    ~Program() { unsetenv("PIPEWIRE_REMOTE"); }

    bool shows() {
        return comesTrue([&] { return static_cast<bool>(source.latest()); });
    }
    bool showsNothing() {
        return comesTrue([&] { return !source.latest(); });
    }

    PipeWireConnection direct;
    DBusCameraPortal portal;
    PortalCameras cameras{direct, portal};
    CameraSource source{cameras};
};

class PortalCamerasTest : public testing::Test {
protected:
    bool isLogged(const std::string& line, std::ptrdiff_t times = 1) const {
        return comesTrue([&] { return log.count("kasto: " + line) >= times; });
    }
    LogLines log;
};

TEST_F(PortalCamerasTest, asksNobodyOnAnOrdinaryDesktop) {
    struct Case {
        const char* what;
        bool seesServer, hasPortal, portalSeesCamera, isPluggedIn;
    };
    for (const auto& [what, seesServer, hasPortal, portalSeesCamera, isPluggedIn] : std::vector<Case>{
             {"the server shows the camera", true, true, true, true},
             {"the same without a portal", true, false, false, true},
             {"there is no camera", true, true, false, false},
             {"nor a portal", true, false, false, false},
             {"nor a server", false, false, false, false},
         }) {
        SCOPED_TRACE(what);
        std::optional<FakeCameraPortal> fake;
        if (hasPortal) fake.emplace(FakeCameraPortal::allows, portalSeesCamera);
        std::optional<ChildProcess> camera;
        if (isPluggedIn) camera.emplace(plugIn());
        const auto isSeen = [&] {
            return (PrivatePipeWire::tool("pw-cli ls Node").find("Video/Source") != std::string::npos) ==
                   isPluggedIn;
        };
        ASSERT_TRUE(comesTrue(isSeen));
        log.clear();
        Program program(seesServer);
        program.source.start({});
        EXPECT_TRUE(isLogged(isPluggedIn ? "camera running (Webcam)" : "no usable camera device"));
        EXPECT_TRUE(!isPluggedIn || program.shows());
        EXPECT_TRUE(!fake || fake->asked == 0);
    }
}

TEST_F(PortalCamerasTest, showsTheCameraThatIsLent) {
    FakeCameraPortal fake;
    Program program;
    EXPECT_EQ(program.cameras.access(), CameraAccess::notDetermined);
    EXPECT_TRUE(program.cameras.devices().empty());
    program.source.start({});
    ASSERT_TRUE(comesTrue([&] { return fake.opened == 1; }));
    // A session manager lets cameras be seen a little later only.
    std::optional<ChildProcess> camera(plugIn());
    ASSERT_TRUE(program.shows());
    EXPECT_EQ(program.source.latest()->width(), 320);
    EXPECT_EQ(program.cameras.access(), CameraAccess::authorised);
    EXPECT_EQ(program.cameras.devices(), (std::vector<CameraDevice>{{"cam", "Webcam"}}));
    EXPECT_EQ(fake.asked, 1);
    EXPECT_EQ(fake.opened, 1);

    // The server crashes, and is opened anew without a further question.
    session->server.kill();
    EXPECT_TRUE(program.showsNothing());
    EXPECT_TRUE(isLogged("camera portal: no media server"));
    session->server.start();
    camera.emplace(plugIn());
    EXPECT_TRUE(program.shows());
    program.source.stop();
    EXPECT_TRUE(program.showsNothing());
    program.source.start("cam");
    EXPECT_TRUE(program.shows());
    EXPECT_EQ(fake.asked, 1);
    EXPECT_EQ(log.count("kasto: camera portal: no media server"), 1);
}

TEST_F(PortalCamerasTest, asksInASandboxWithoutKnowingOfACamera) {
    FakeCameraPortal fake(FakeCameraPortal::allows, false);
    const auto camera = plugIn();
    setenv("SNAP", "/snap/kasto/1", 1);
    Program program;
    program.source.start({});
    EXPECT_TRUE(program.shows());
    EXPECT_EQ(fake.asked, 1);
    unsetenv("SNAP");
}

TEST_F(PortalCamerasTest, showsNoneWhenRefused) {
    const auto camera = plugIn();
    struct Case {
        FakeCameraPortal::User user;
        CameraAccess access;
        const char* logged;
    };
    for (const auto& [user, access, logged] : std::vector<Case>{
             {FakeCameraPortal::refuses, CameraAccess::denied, "camera denied"},
             {FakeCameraPortal::forbids, CameraAccess::restricted, "camera denied"},
             {FakeCameraPortal::givesUp, CameraAccess::notDetermined, "no usable camera device"},
         }) {
        SCOPED_TRACE(logged);
        log.clear();
        FakeCameraPortal fake(user);
        Program program;
        program.source.start({});
        program.source.start({});  // while the first answer is awaited
        EXPECT_TRUE(isLogged(logged, 2));
        EXPECT_EQ(fake.asked, 1);
        EXPECT_EQ(program.cameras.access(), access);
        fake.user = FakeCameraPortal::allows;
        program.source.start({});
        const bool mayAskAgain = access == CameraAccess::notDetermined;
        EXPECT_TRUE(mayAskAgain ? program.shows()
                                : isLogged("camera access denied/restricted — pip will show a blank tile"));
        EXPECT_EQ(fake.asked, mayAskAgain ? 2 : 1);
    }
}

TEST_F(PortalCamerasTest, outlivesAPortalThatGoes) {
    const auto camera = plugIn();
    std::optional<FakeCameraPortal> fake(std::in_place, FakeCameraPortal::thinks);
    Program program;
    program.source.start({});
    ASSERT_TRUE(comesTrue([&] { return fake->asked == 1; }));
    fake.reset();
    EXPECT_TRUE(isLogged("camera portal: it went away"));
    EXPECT_TRUE(isLogged("no usable camera device"));
    EXPECT_EQ(program.cameras.access(), CameraAccess::notDetermined);
    EXPECT_EQ(log.count("kasto: camera denied"), 0) << "nobody refused";

    fake.emplace();
    program.source.start({});
    EXPECT_TRUE(program.shows());
    // The cameras that it has lent stay lent.
    fake.reset();
    const auto before = program.source.latest();
    EXPECT_TRUE(comesTrue([&] { return program.source.latest() && program.source.latest() != before; }));
}

TEST_F(PortalCamerasTest, endsWhileTheUserThinks) {
    const auto camera = plugIn();
    FakeCameraPortal fake(FakeCameraPortal::thinks);
    int answers = 0;
    {
        Program program;
        program.cameras.requestAccess([&](bool) { ++answers; });
        ASSERT_TRUE(comesTrue([&] { return fake.asked == 1; }));
    }
    fake.answer(FakeCameraPortal::allows);

    // The same where the portal stays.
    DBusCameraPortal portal;
    PipeWireConnection direct;
    setenv("PIPEWIRE_REMOTE", "none", 1);
    {
        PortalCameras cameras(direct, portal);
        cameras.requestAccess([&](bool) { ++answers; });
        ASSERT_TRUE(comesTrue([&] { return fake.asked == 2; }));
    }
    fake.answer(FakeCameraPortal::allows);
    bool isAnswered = false;
    portal.askForPresence([&](bool) { isAnswered = true; });  // comes after
    EXPECT_TRUE(comesTrue([&] { return isAnswered; }));
    unsetenv("PIPEWIRE_REMOTE");
    EXPECT_EQ(answers, 0);
    EXPECT_EQ(fake.opened, 0);
}

}  // namespace
}  // namespace kasto::test

#include "PortalCamerasTest.moc"
