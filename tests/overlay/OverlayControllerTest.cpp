// The overlay's life on a desktop of fakes.

#include "model/CaptureModel.h"
#include "overlay/OverlayController.h"
#include "overlay/OverlayPanel.h"
#include "support/FakeDesktop.h"
#include "support/OffscreenQt.h"

#include <QScreen>
#include <algorithm>

namespace kasto::test {
namespace {

class OverlayControllerTest : public testing::Test {
protected:
    OverlayControllerTest() {
        const auto size = QGuiApplication::primaryScreen()->size();
        desktop.displays.displays = {
            {7, "any", {0, 0, double(size.width()), double(size.height())}, 1, true}};
        model.configure({100, 50, 320, 200}, 640, 400);
    }

    static OverlayPanel* panel() {
        for (auto* window : QGuiApplication::topLevelWindows())
            if (auto* found = dynamic_cast<OverlayPanel*>(window)) return found;
        return nullptr;
    }

    // True if some window of the program says that it paints there.
    bool isSaid(int x, int y) const {
        return std::ranges::any_of(desktop.ownWindows.windows(), [&](const auto& window) {
            return std::ranges::any_of(*window.paintedPx, [&](const auto& rect) {
                return rect.intersection({x, y, 1, 1}) == PixelRect{x, y, 1, 1};
            });
        });
    }

    FakeDesktop desktop;
    CaptureModel model;
    OverlayController overlay{model, desktop.displays, desktop.ownWindows, desktop.overlaySupport};
    const std::chrono::system_clock::time_point now = std::chrono::system_clock::now();
};

TEST_F(OverlayControllerTest, isKnownBeforeItIsSeenAndUntilItIsGone) {
    for (const DisplayId id : {7u, 99u}) {  // the second one is not there: the main display is taken
        overlay.start(id, now);
        EXPECT_EQ(desktop.ownWindows.windows().size(), 2u);
        EXPECT_FALSE(panel()->isVisible());
        ASSERT_TRUE(loopUntil([] { return panel()->isExposed(); }));
        EXPECT_EQ(panel()->geometry(), QGuiApplication::primaryScreen()->geometry());
        // The recorded area is the display's from (100, 50) on.
        EXPECT_TRUE(isSaid(200, 52) && isSaid(102, 150));
        EXPECT_FALSE(isSaid(2, 150) || isSaid(200, 2) || isSaid(200, 150));
        EXPECT_EQ(desktop.overlaySupport.above.back(), panel()->winId());
    }
    // Shown by blending, by shapes, and by blending again.
    auto& shapes = desktop.overlaySupport.shapes;
    for (const bool blends : {true, false, true}) {
        desktop.overlaySupport.blends = blends;
        overlay.tick();
        EXPECT_EQ(shapes.contains(panel()->winId()), !blends);
        EXPECT_EQ(shapes[desktop.overlaySupport.above.front()].empty(), blends);
        EXPECT_TRUE(isSaid(200, 52));
    }
    // What the outline leaves is reported until it has been cleared.
    model.zoom(1);
    model.step(0);
    for (int i = 1; i < 40; ++i) model.step(i * 0.1);
    overlay.tick();
    EXPECT_TRUE(isSaid(200, 52));
    EXPECT_TRUE(loopUntil([&] { return !isSaid(200, 52); }));

    overlay.stop();
    EXPECT_EQ(panel(), nullptr);
    EXPECT_TRUE(desktop.ownWindows.windows().empty());
    EXPECT_EQ(desktop.overlaySupport.keeping, 0);
    desktop.displays.displays.clear();
    overlay.start(7, now);
    EXPECT_EQ(panel(), nullptr);
}

}  // namespace
}  // namespace kasto::test
