#include "XClient.h"
#include "base/FileDescriptor.h"
#include "base/Guarded.h"
#include "linux/x11/input/X11Pointer.h"
#include "linux/x11/server/X11Displays.h"
#include "support/PrivateXServer.h"
#include "support/TestFolder.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <xorg/xf86-input-inputtest-protocol.h>

#include <algorithm>
#include <cmath>

namespace kasto::x11 {
namespace {

using test::waitUntil;
using test::XClient;

// An X server whose input driver takes events from a socket, so that it handles them like those of a device.
std::vector<std::string> serverWithDevice(const test::TestFolder& folder) {
    const auto device = [&](const std::string& type) {
        return "Section \"InputDevice\"\n Identifier \"" + type +
               "\"\n Driver \"inputtest\"\n Option \"DeviceType\" \"" + type +
               "\"\n Option \"SocketPath\" \"" + (folder / type).string() + "\"\nEndSection\n";
    };
    test::writeFile(folder / "xorg.conf", R"(
Section "ServerFlags"
 Option "AutoAddDevices" "false"
 Option "AutoAddGPU" "false"
 Option "DontVTSwitch" "true"
EndSection
Section "Device"
 Identifier "video"
 Driver "dummy"
EndSection
Section "Screen"
 Identifier "screen"
 Device "video"
EndSection
Section "ServerLayout"
 Identifier "layout"
 Screen "screen"
 InputDevice "Pointer" "CorePointer"
 InputDevice "Keyboard" "CoreKeyboard"
EndSection
)" + device("Pointer") + device("Keyboard"));
    return {"Xorg",        "-config",   folder / "xorg.conf", "-logfile", folder / "log",
            "-novtswitch", "-sharevts", "-keeptty",           "vt7"};
}

// The other end of the socket: a pointer with two axes to move and two to scroll, 120 units a notch.
class Device {
public:
    explicit Device(const std::string& path) : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
        std::ranges::copy(path, address.sun_path);
        EXPECT_EQ(::connect(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        xf86ITEventClientVersion version{};
        version.major = XF86IT_PROTOCOL_VERSION_MAJOR;
        version.minor = XF86IT_PROTOCOL_VERSION_MINOR;
        send(version, XF86IT_EVENT_CLIENT_VERSION);
    }

    void move(int axis, double units) {
        xf86ITEventMotion motion{};
        motion.valuators.mask[0] = static_cast<std::uint8_t>(1 << axis);
        motion.valuators.valuators[axis] = units;
        send(motion, XF86IT_EVENT_MOTION);
    }

    void press(bool isDown) {
        xf86ITEventButton button{};
        button.button = 1;
        button.is_press = isDown;
        send(button, XF86IT_EVENT_BUTTON);
    }

private:
    template <class Event>
    void send(Event event, xf86ITEventType type) {
        event.header = {sizeof event, type};
        EXPECT_EQ(::send(socket_.get(), &event, sizeof event, 0), static_cast<ssize_t>(sizeof event));
    }

    FileDescriptor socket_;
};

TEST(SmoothScrollTest, PartsOfANotchArriveHereAndNotchesAtTheProgram) {
    const test::TestFolder folder;
    std::optional<test::PrivateXServer> server;
    try {
        server.emplace(serverWithDevice(folder));
    } catch (const std::runtime_error& error) {
        GTEST_SKIP() << error.what() << ": " << test::readFile(folder / "log");
    }
    Device device(folder / "Pointer");
    const auto displays = X11Displays::open(server->display()).value();
    const auto pointer = X11Pointer::open(server->display(), *displays).value();
    XClient program(server->display());
    const auto window = program.showWindow({0, 0, 400, 300}, 0x336699);
    program.listenForPresses(window);
    program.movePointer(200, 150);

    Guarded<std::vector<Vector>> seen;
    const auto monitor = pointer->monitorScroll(
        [&](const ScrollEvent& scroll) { seen.with([&](auto& all) { all.push_back(scroll.deltaPts); }); });
    ASSERT_TRUE(monitor);
    const auto total = [&] {
        Vector sum;
        for (const Vector& delta : seen.copy()) sum = {sum.dx + delta.dx, sum.dy + delta.dy};
        return sum;
    };
    constexpr int kAcross = 2;
    constexpr int kDown = 3;
    constexpr double kPtsPerUnit = ScrollEvent::kPtsPerNotch / 120;
    Vector expected;
    for (const auto& [axis, units] : {std::pair{kDown, 15.0},
                                      {kDown, 30.0},
                                      {kAcross, 7.5},
                                      {kDown, 75.0},
                                      {kDown, -240.0},
                                      {kAcross, -127.5}}) {
        (axis == kDown ? expected.dy : expected.dx) -= units * kPtsPerUnit;
        device.move(axis, units);
        EXPECT_TRUE(waitUntil([&] {
            const Vector sum = total();
            return std::abs(sum.dx - expected.dx) < 0.01 && std::abs(sum.dy - expected.dy) < 0.01;
        })) << units;
    }

    // For programs that know no scroll axes the server makes up clicks from whole notches. They are not
    // counted again here.
    const auto follower = pointer->follow();
    device.move(0, 10);
    device.press(true);
    EXPECT_TRUE(waitUntil([&] { return follower->state().value_or(PointerState{}).left; }));
    device.press(false);
    EXPECT_TRUE(waitUntil([&] { return !follower->state().value_or(PointerState{}).left; }));
    EXPECT_GT(follower->state()->globalPts.x, 200);
    EXPECT_EQ(program.pressed(), (std::vector{5, 4, 4, 6, 1}));
}

}  // namespace
}  // namespace kasto::x11
