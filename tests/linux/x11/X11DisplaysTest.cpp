#include "XClient.h"
#include "linux/x11/input/X11Pointer.h"
#include "linux/x11/server/DesktopScale.h"
#include "linux/x11/server/Monitors.h"
#include "linux/x11/server/X11Displays.h"
#include "support/PrivateXServer.h"
#include "support/WaitUntil.h"
#include "ui/QtScale.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QScreen>
#include <cmath>
#include <cstdlib>
#include <optional>

namespace kasto::test {

using namespace x11;
namespace {

// The scale of Qt's windows on an X server after it was told one.
double qtScaleAfterTold(const std::string& display, double scale) {
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("DISPLAY", display.c_str());
    std::optional<QtScale> told(scale);
    int count = 1;
    std::string name = "test";
    char* arguments[] = {name.data(), nullptr};
    const QGuiApplication application(count, arguments);
    told.reset();
    return QGuiApplication::primaryScreen()->devicePixelRatio();
}

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

TEST(X11DisplaysTest, OneScaleHoldsForPointsPointerAndWindows) {
    struct Row {
        const char* dpi;
        const char* variable;
        const char* value;
        double scale;
    };
    for (const auto& row :
         {Row{"144", "QT_SCREEN_SCALE_FACTORS", "2", 1.5}, Row{"72", "QT_USE_PHYSICAL_DPI", "1", 1},
          Row{"100", "QT_SCALE_FACTOR_ROUNDING_POLICY", "Round", 100 / 96.0},
          Row{"144", "QT_ENABLE_HIGHDPI_SCALING", "0", 1.5}, Row{"144", "QT_FONT_DPI", "120", 1.25},
          Row{"144", "QT_SCALE_FACTOR", "1.25", 1.875}}) {
        SCOPED_TRACE(row.variable);
        const PrivateXServer server(1920, 1080);
        XClient client(server.display());
        client.setResources(std::string("Xft.dpi:\t") + row.dpi + "\n");
        qputenv(row.variable, row.value);
        const auto displays = X11Displays::open(server.display()).value();
        const auto pointer = X11Pointer::open(server.display(), *displays).value();
        EXPECT_DOUBLE_EQ(displays->scale(), row.scale);
        // A process has one application object in its life, so each row has a process of its own for it.
        EXPECT_EXIT(
            std::exit(std::abs(qtScaleAfterTold(server.display(), displays->scale()) - row.scale) > 1e-9),
            testing::ExitedWithCode(0), "");
        qunsetenv(row.variable);
        client.setResources("Xft.dpi:\t200\n");  // the text size changes while the program runs
        client.movePointer(300, 150);
        EXPECT_EQ(displays->all()[0].boundsPts, (Rect{0, 0, 1920 / row.scale, 1080 / row.scale}));
        EXPECT_EQ(pointer->location(), (Point{300 / row.scale, 150 / row.scale}));
    }
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
