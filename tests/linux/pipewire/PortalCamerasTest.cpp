// Cameras of a real media server, which the program sees itself or through a portal whose user the test is.

#include "camera/CameraSource.h"
#include "linux/freedesktop/DBusCameraPortal.h"
#include "linux/pipewire/FakeCameraPortal.h"
#include "linux/pipewire/PortalCameras.h"
#include "support/LogLines.h"
#include "support/PrivatePipeWire.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTest>
#include <memory>

namespace kasto::test {

using namespace freedesktop;
using namespace pipewire;
namespace {

struct Session {
    PrivatePipeWire server;
    int argc = 0;
    QCoreApplication application{argc, nullptr};
};
std::unique_ptr<Session> session;

// Once for all tests of the program: a process finds its bus only once.
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
    explicit Program(bool seesServer) {
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
        if (hasPortal) fake.emplace().isPresent = portalSeesCamera;
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
    Program program(false);
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
    FakeCameraPortal fake;
    fake.isPresent = false;
    const auto camera = plugIn();
    setenv("SNAP", "/snap/kasto/1", 1);
    Program program(false);
    program.source.start({});
    EXPECT_TRUE(program.shows());
    EXPECT_EQ(fake.asked, 1);
    unsetenv("SNAP");
}

TEST_F(PortalCamerasTest, showsNoneWhenRefused) {
    const auto camera = plugIn();
    struct Case {
        unsigned user;
        CameraAccess access;
    };
    for (const auto& [user, access] : std::vector<Case>{
             {FakeCameraPortal::kRefuse, CameraAccess::denied},
             {FakeCameraPortal::kForbid, CameraAccess::restricted},
             {FakeCameraPortal::kGiveUp, CameraAccess::notDetermined},
         }) {
        SCOPED_TRACE(user);
        log.clear();
        FakeCameraPortal fake;
        fake.user = user;
        Program program(false);
        program.source.start({});
        program.source.start({});  // while the first answer is awaited
        EXPECT_TRUE(isLogged("camera denied", 2));
        EXPECT_EQ(fake.asked, 1);
        EXPECT_EQ(program.cameras.access(), access);
        fake.user = FakeCameraPortal::kAllow;
        program.source.start({});
        const bool mayAskAgain = access == CameraAccess::notDetermined;
        EXPECT_TRUE(mayAskAgain ? program.shows()
                                : isLogged("camera access denied/restricted — pip will show a blank tile"));
        EXPECT_EQ(fake.asked, mayAskAgain ? 2 : 1);
    }
}

TEST_F(PortalCamerasTest, outlivesAPortalThatGoes) {
    const auto camera = plugIn();
    std::optional<FakeCameraPortal> fake(std::in_place);
    fake->user = FakeCameraPortal::kThink;
    Program program(false);
    program.source.start({});
    ASSERT_TRUE(comesTrue([&] { return fake->asked == 1; }));
    fake.reset();
    EXPECT_TRUE(isLogged("camera portal: it went away"));
    EXPECT_TRUE(isLogged("camera denied"));
    EXPECT_EQ(program.cameras.access(), CameraAccess::notDetermined);

    fake.emplace();
    program.source.start({});
    EXPECT_TRUE(program.shows());
    // What was lent is not taken back with it.
    fake.reset();
    const auto before = program.source.latest();
    EXPECT_TRUE(comesTrue([&] { return program.source.latest() && program.source.latest() != before; }));
}

TEST_F(PortalCamerasTest, endsWhileTheUserThinks) {
    const auto camera = plugIn();
    FakeCameraPortal fake;
    fake.user = FakeCameraPortal::kThink;
    int answers = 0;
    {
        Program program(false);
        program.cameras.requestAccess([&](bool) { ++answers; });
        ASSERT_TRUE(comesTrue([&] { return fake.asked == 1; }));
    }
    fake.answer(FakeCameraPortal::kAllow);

    // The same where the portal stays.
    DBusCameraPortal portal;
    PipeWireConnection direct;
    setenv("PIPEWIRE_REMOTE", "none", 1);
    {
        PortalCameras cameras(direct, portal);
        cameras.requestAccess([&](bool) { ++answers; });
        ASSERT_TRUE(comesTrue([&] { return fake.asked == 2; }));
    }
    fake.answer(FakeCameraPortal::kAllow);
    bool isAnswered = false;
    portal.askForPresence([&](bool) { isAnswered = true; });  // comes after
    EXPECT_TRUE(comesTrue([&] { return isAnswered; }));
    unsetenv("PIPEWIRE_REMOTE");
    EXPECT_EQ(answers, 0);
    EXPECT_EQ(fake.opened, 0);
}

}  // namespace
}  // namespace kasto::test
