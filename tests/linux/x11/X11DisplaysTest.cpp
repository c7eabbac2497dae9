#include "XClient.h"
#include "linux/x11/Monitors.h"
#include "linux/x11/X11Displays.h"
#include "linux/x11/X11Pointer.h"
#include "support/PrivateXServer.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>

namespace kasto {
namespace {

using test::PrivateXServer;
using test::XClient;

// Counts calls and waits until the displays are as wanted.
class Changes {
public:
    explicit Changes(X11Displays& displays) : displays_(displays) {
        displays.setOnChange([this] {
            const std::scoped_lock held(mutex_);
            changed_.notify_all();
        });
    }
    ~Changes() { displays_.setOnChange({}); }

    template <class Condition>
    bool waitUntil(Condition condition) {
        std::unique_lock held(mutex_);
        return changed_.wait_for(held, std::chrono::seconds(10), condition);
    }

private:
    X11Displays& displays_;
    std::mutex mutex_;
    std::condition_variable changed_;
};

TEST(X11DisplaysTest, MonitorsComeAndGoWithTheServer) {
    PrivateXServer server(1920, 1080);
    auto displays = X11Displays::open(server.display());
    ASSERT_TRUE(displays.has_value()) << displays.error().description;
    ASSERT_EQ((*displays)->all().size(), 1u);
    EXPECT_EQ((*displays)->all()[0].boundsPts, (Rect{0, 0, 1920, 1080}));
    EXPECT_TRUE((*displays)->all()[0].isMain);

    Changes changes(**displays);
    ASSERT_EQ(server.run({"xrandr", "--setmonitor", "LEFT", "960/250x1080/280+0+0", "screen"}), 0);
    ASSERT_EQ(server.run({"xrandr", "--setmonitor", "*RIGHT", "960/250x1080/280+960+0", "none"}), 0);
    ASSERT_TRUE(changes.waitUntil([&] { return (*displays)->all().size() == 2; }));
    const auto left = x11::displayIdOf("LEFT");
    const auto right = x11::displayIdOf("RIGHT");
    EXPECT_EQ((*displays)->displayAt({959.5, 10}), left);
    EXPECT_EQ((*displays)->displayAt({960, 10}), right);
    EXPECT_EQ((*displays)->displayAt({1920, 10}), std::nullopt);
    EXPECT_EQ((*displays)->mainDisplay(), right);
    EXPECT_EQ((*displays)->boundsPx(right), (PixelRect{960, 0, 960, 1080}));

    server.kill();
    ASSERT_TRUE(changes.waitUntil([&] { return (*displays)->all().empty(); }));
    EXPECT_EQ((*displays)->mainDisplay(), 0u);
    EXPECT_EQ((*displays)->boundsPx(right), std::nullopt);
}

TEST(X11DisplaysTest, PointsFollowTheResolutionTheDesktopAsksFor) {
    const PrivateXServer server(1920, 1080);
    auto displays = X11Displays::open(server.display());
    ASSERT_TRUE(displays.has_value());
    auto pointer = X11Pointer::open(server.display(), **displays);
    ASSERT_TRUE(pointer.has_value());
    XClient client(server.display());
    client.movePointer(300, 150);
    EXPECT_EQ((*pointer)->location(), (Point{300, 150}));

    Changes changes(**displays);
    const std::string resources = "Xcursor.size:\t24\nXft.dpi:\t144\n";
    xcb_change_property(client.raw(), XCB_PROP_MODE_REPLACE, client.root(), XCB_ATOM_RESOURCE_MANAGER,
                        XCB_ATOM_STRING, 8, static_cast<std::uint32_t>(resources.size()), resources.data());
    client.sync();
    ASSERT_TRUE(changes.waitUntil([&] { return (*displays)->scale() == 1.5; }));
    EXPECT_EQ((*displays)->all()[0].boundsPts, (Rect{0, 0, 1280, 720}));
    EXPECT_EQ((*displays)->all()[0].scale, 1.5);
    EXPECT_EQ((*pointer)->location(), (Point{200, 100}));
}

TEST(X11DisplaysTest, ReadsTheResolutionFromAnyLine) {
    const struct {
        const char* resources;
        int dpi;
    } rows[] = {
        {"Xft.dpi:\t192\n", 192},
        {"Xft.dpi: 96", 96},
        {"a:\t1\nXft.dpi:  120\nb: 2\n", 120},
        {"", 0},
        {"Xft.dpi:\n", 0},
        {"Xft.dpi:\tmany\n", 0},
        {"Xft.dpi:\t-5\n", 0},
        {"MyXft.dpi:\t300\n", 0},
        {"Xft.dpi:\t0\nXft.dpi:\t110\n", 110},
    };
    for (const auto& row : rows) EXPECT_EQ(x11::dpiInResources(row.resources), row.dpi) << row.resources;
}

TEST(X11DisplaysTest, SaysWhichServerIsMissing) {
    const auto displays = X11Displays::open(":9999");
    ASSERT_FALSE(displays.has_value());
    EXPECT_EQ(displays.error().description, "no X server at display :9999");
}

}  // namespace
}  // namespace kasto
