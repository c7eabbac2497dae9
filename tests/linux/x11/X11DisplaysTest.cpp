#include "XClient.h"
#include "linux/x11/input/X11Pointer.h"
#include "linux/x11/server/Monitors.h"
#include "linux/x11/server/X11Displays.h"
#include "support/PrivateXServer.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>

namespace kasto::test {

using namespace x11;
namespace {

TEST(X11DisplaysTest, MonitorsComeAndGoWithTheServer) {
    PrivateXServer server(1920, 1080);
    const auto displays = X11Displays::open(server.display()).value();
    ASSERT_EQ(displays->all().size(), 1u);
    EXPECT_EQ(displays->all()[0].boundsPts, (Rect{0, 0, 1920, 1080}));
    EXPECT_TRUE(displays->all()[0].isMain);

    ASSERT_EQ(server.run({"xrandr", "--setmonitor", "LEFT", "960/250x1080/280+0+0", "screen"}), 0);
    ASSERT_EQ(server.run({"xrandr", "--setmonitor", "*RIGHT", "960/250x1080/280+960+0", "none"}), 0);
    ASSERT_TRUE(waitUntil([&] { return displays->all().size() == 2; }));
    const auto left = displayIdOf("LEFT");
    const auto right = displayIdOf("RIGHT");
    EXPECT_EQ(displays->displayAt({959.5, 10}), left);
    EXPECT_EQ(displays->displayAt({960, 10}), right);
    EXPECT_EQ(displays->displayAt({1920, 10}), std::nullopt);
    EXPECT_EQ(displays->mainDisplay(), right);
    EXPECT_EQ(displays->boundsPx(right), (PixelRect{960, 0, 960, 1080}));

    server.kill();
    ASSERT_TRUE(waitUntil([&] { return displays->all().empty(); }));
    EXPECT_EQ(displays->mainDisplay(), 0u);
    EXPECT_EQ(displays->boundsPx(right), std::nullopt);
}

TEST(X11DisplaysTest, PointsFollowTheResolutionTheDesktopAsksFor) {
    const PrivateXServer server(1920, 1080);
    const auto displays = X11Displays::open(server.display()).value();
    const auto pointer = X11Pointer::open(server.display(), *displays).value();
    XClient client(server.display());
    client.movePointer(300, 150);
    EXPECT_EQ(pointer->location(), (Point{300, 150}));
    client.setResources("Xcursor.size:\t24\nXft.dpi:\t144\n");
    ASSERT_TRUE(waitUntil([&] { return displays->scale() == 1.5; }));
    EXPECT_EQ(displays->all()[0].boundsPts, (Rect{0, 0, 1280, 720}));
    EXPECT_EQ(displays->all()[0].scale, 1.5);
    EXPECT_EQ(pointer->location(), (Point{200, 100}));
}

TEST(X11DisplaysTest, ReadsTheResolutionFromAnyLine) {
    const std::pair<const char*, int> rows[] = {
        {"Xft.dpi: 96", 96},
        {"a:\t1\nXft.dpi:  120\nb: 2\n", 120},
        {"", 0},
        {"Xft.dpi:\n", 0},
        {"Xft.dpi:\tmany\n", 0},
        {"Xft.dpi:\t-5\n", 0},
        {"MyXft.dpi:\t300\n", 0},
        {"Xft.dpi:\t0\nXft.dpi:\t110\n", 110},
    };
    for (const auto& [resources, dpi] : rows) EXPECT_EQ(dpiInResources(resources), dpi) << resources;
}

}  // namespace
}  // namespace kasto::test
