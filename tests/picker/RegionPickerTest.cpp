#include "base/AppIdentity.h"
#include "picker/KeyablePanel.h"
#include "picker/RegionPicker.h"
#include "support/FakeDesktop.h"
#include "support/OffscreenQt.h"
#include "support/QtInput.h"
#include "support/WaitUntil.h"

#include <QScreen>
#include <cstring>

namespace kasto::test {
namespace {

// Two screens, the second one of twice the density.
const TestFolder screensFolder;
const auto twoScreens = [] {
    const auto file = screensFolder / "screens.json";
    writeFile(file, R"({"synchronousWindowSystemEvents": true, "screens": [
        {"name": "left", "x": 0, "y": 0, "width": 800, "height": 600, "dpr": 1},
        {"name": "right", "x": 800, "y": 0, "width": 640, "height": 480, "dpr": 2}]})");
    return offscreenPlatform += ":configfile=" + file.string();
}();

class RegionPickerTest : public testing::Test {
protected:
    RegionPickerTest() {
        desktop.displays.displays = {{7, "left", {0, 0, 800, 600}, 1, true},
                                     {8, "right", {800, 0, 640, 480}, 2, false},
                                     {9, "gone", {5000, 0, 640, 480}, 1, false}};
    }
    ~RegionPickerTest() override { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }

    static std::vector<KeyablePanel*> panels() {
        std::vector<KeyablePanel*> shown(2);
        for (auto* widget : QApplication::topLevelWidgets())
            if (auto* panel = dynamic_cast<KeyablePanel*>(widget); panel && panel->isVisible())
                shown.at(panel->x() < 800 ? 0 : 1) = panel;
        return shown;
    }
    static bool isOpen() { return panels()[0] || panels()[1]; }

    RegionPicker::Completion keep() {
        return [this](const std::optional<RegionChoice>& choice) {
            EXPECT_FALSE(isOpen());
            EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
            results.push_back(choice);
        };
    }

    FakeDesktop desktop;
    std::vector<std::optional<RegionChoice>> results;
    RegionPicker picker{desktop.displays, desktop.screenCapture, desktop.ownWindows, desktop.overlaySupport};
};

TEST_F(RegionPickerTest, picksOnAnyDisplayAndIsKeptOutOfTakes) {
    picker.begin(RegionChoice{8, {10, 20, 100, 90}}, keep());
    const auto shown = panels();
    ASSERT_TRUE(shown[0] && shown[1]);
    EXPECT_EQ(shown[1]->geometry(), QRect(800, 0, 640, 480));
    EXPECT_EQ(shown[0]->view().selection(), std::nullopt);
    EXPECT_EQ(shown[1]->view().selection(), (Rect{10, 20, 100, 90}));
    EXPECT_EQ(desktop.ownWindows.windows().size(), 2u);
    EXPECT_EQ(desktop.ownWindows.windows().front().sharing, SharingType::none);
    EXPECT_NE(QGuiApplication::overrideCursor(), nullptr);

    drag(shown[0]->view(), {100, 100}, {300, 200});
    EXPECT_NE(shown[1]->view().selection(), std::nullopt);
    key(shown[0]->view(), Qt::Key_Return);
    key(shown[1]->view(), Qt::Key_Return);  // too late
    EXPECT_EQ(results, std::vector{std::optional(RegionChoice{7, {100, 100, 200, 100}})});
    EXPECT_TRUE(desktop.ownWindows.windows().empty());
}

TEST_F(RegionPickerTest, answersEachCallerOnceHoweverItEnds) {
    picker.begin({}, keep());
    picker.begin({}, keep());  // takes over
    EXPECT_EQ(results.size(), 1u);
    mouse(panels()[1]->view(), QEvent::MouseButtonPress, {5, 5}, Qt::RightButton);
    EXPECT_EQ(results.size(), 2u);

    // A completion may open the picker again, and that one wins.
    picker.begin({}, [&](const auto&) { picker.begin({}, keep()); });
    picker.begin({}, [&](const auto& choice) { results.push_back(choice); });
    EXPECT_TRUE(isOpen());
    EXPECT_EQ(results.size(), 3u);
    key(panels()[0]->view(), Qt::Key_Escape);
    EXPECT_EQ(results.size(), 4u);

    picker.begin({}, keep());
    auto* const screen = QGuiApplication::screens().back();
    emit screen->geometryChanged({});
    EXPECT_TRUE(isOpen());
    QCoreApplication::processEvents();
    EXPECT_EQ(results.size(), 5u);

    desktop.displays.displays.clear();
    picker.begin({}, keep());
    EXPECT_FALSE(isOpen());
    picker.begin({}, keep());
    EXPECT_EQ(results, std::vector<std::optional<RegionChoice>>(6));
}

TEST_F(RegionPickerTest, showsTheScreenWithoutOwnWindowsWhereNothingBlends) {
    desktop.overlaySupport.blends = false;
    const auto blue = PixelBuffer::make(PixelFormat::bgrx, 16, 16);
    for (int x = 0; x < 16 * 16; ++x) std::memcpy(blue->plane(0).data + x * 4, "\xff\0\0\xff", 4);
    ScreenFrame frame;
    frame.pixels = blue;
    picker.begin(RegionChoice{7, {10, 20, 100, 90}}, keep());
    EXPECT_FALSE(isOpen());
    ASSERT_TRUE(waitUntil([&] {
        desktop.screenCapture.feed(frame);
        QCoreApplication::processEvents();
        return isOpen();
    }));
    EXPECT_EQ(panels()[0]->view().grab().toImage().pixelColor(40, 50), QColor(Qt::blue));
    EXPECT_EQ(desktop.screenCapture.filter.copy().excludedApplications.front().bundleIdentifier,
              kBundleIdentifier);
    key(panels()[0]->view(), Qt::Key_Escape);

    // Ended while the pictures are read.
    picker.begin({}, keep());
    picker.begin({}, keep());
    EXPECT_EQ(results.size(), 2u);
}

}  // namespace
}  // namespace kasto::test
