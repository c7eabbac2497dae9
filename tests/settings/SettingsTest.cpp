#include "options/PreferenceStore.h"
#include "platform/OwnWindows.h"
#include "settings/SettingsController.h"
#include "settings/SettingsHost.h"
#include "settings/SettingsPanel.h"
#include "settings/SettingsRows.h"
#include "support/ForgetOptions.h"
#include "support/OffscreenQt.h"
#include "support/QtInput.h"
#include "ui/Brand.h"

#include <QAccessible>
#include <QFontInfo>
#include <QImage>
#include <QPointingDevice>
#include <QWheelEvent>
#include <algorithm>

namespace kasto::test {
namespace {

using Texts = std::vector<std::string>;

// Remembers the commands it was given.
struct FakeHost : SettingsHost {
    bool recording = false;
    std::vector<CameraDevice> devices;
    Texts calls;

    bool isRecording() const override { return recording; }
    std::vector<CameraDevice> cameras() override { return devices; }
    void beginSetRegion() override { calls.push_back("set region"); }
    void clearRegion() override { calls.push_back("clear region"); }
    void chooseOutputFolder() override { calls.push_back("choose folder"); }
    void clearOutputFolder() override { Prefs::setOutputDir(std::nullopt); }
};

class SettingsTest : public testing::Test {
protected:
    SettingsTest() {
        Brand::registerFonts();
        forgetOptions();
        open();
    }

    void open() {
        controller = std::make_unique<SettingsController>(host, ownWindows);
        controller->show();
    }
    SettingsPanel& window() { return *controller->window(); }
    SettingsView& view() { return window().view(); }
    QImage paint() { return view().grab().toImage(); }

    SettingsControl control(const QString& name) {
        const auto all = view().controls();
        const auto found = std::ranges::find(all, name, &SettingsControl::name);
        return found == all.end() ? SettingsControl{} : *found;
    }
    void clickOn(const QString& name) { test::click(view(), control(name).rect.center()); }

    // What a row of commands says: its description and its buttons, the disabled ones in round brackets.
    std::string described(const QString& title) {
        QString desc, buttons;
        for (const auto& each : view().controls()) {
            if (!each.name.startsWith(title + ": ")) continue;
            desc = each.description;
            buttons += QString(each.isEnabled ? " [%1]" : " (%1)").arg(each.name.mid(title.size() + 2));
        }
        return (desc + buttons).toStdString();
    }

    void scroll(int eighthsOfDegree, const QPointingDevice& device) {
        QWheelEvent event({9, 99}, view().mapToGlobal(QPointF(9, 99)), {0, 99}, {0, eighthsOfDegree}, {}, {},
                          {}, false, Qt::MouseEventNotSynthesized, &device);
        QApplication::sendEvent(&view(), &event);
    }
    void scroll(int points) {
        const QPointingDevice touchpad("touchpad", 1, QInputDevice::DeviceType::TouchPad,
                                       QPointingDevice::PointerType::Finger, {}, 2, 3);
        scroll(-8 * points, touchpad);
    }

    FakeHost host;
    OwnWindows ownWindows;
    std::unique_ptr<SettingsController> controller;
};

TEST_F(SettingsTest, rowsFollowEveryChangeOfAnOptionAndTheTake) {
    EXPECT_EQ(described("region"), "full screen · set one to frame a slice [SET…] (CLEAR)");
    EXPECT_EQ(described("output folder"), "Movies/kasto · the default [CHOOSE…] (DEFAULT)");
    Prefs::setRegionRect(Rect{9, 9, 1280.6, 1e300});
    EXPECT_EQ(described("region"), "1280×2147483647 · zoom stays inside it [SET…] [CLEAR]");
    host.recording = true;
    for (const auto& [path, name] :
         {std::pair{"/mnt/Renders/", "Renders"}, {"/", "/"}, {"/a/מסמכים", "מסמכים"}}) {
        Prefs::setOutputDir(path);
        EXPECT_EQ(described("output folder"),
                  std::string(name) + " · the cloud toggle wins while it's on [CHOOSE…] [DEFAULT]");
    }
    EXPECT_EQ(described("region"), "1280×2147483647 · zoom stays inside it (SET…) (CLEAR)");
}

TEST_F(SettingsTest, everySwitchStoresItsOption) {
    for (const auto& each : view().controls())
        if (each.kind == SettingsControl::Kind::onOff) test::click(view(), each.rect.center());
    scroll(10'000);
    for (const auto* below : {"mp4", "save to tolvane cloud", "invert pan"}) clickOn(below);
    EXPECT_FALSE(Prefs::showClicks() || Prefs::showMarquee() || Prefs::pipEnabled() || Prefs::roundCamera());
    EXPECT_FALSE(Prefs::captureSystemSound() || Prefs::cloudKastos());
    EXPECT_TRUE(Prefs::captureMic() && Prefs::convertMP4() && Prefs::invertPan());
    EXPECT_EQ(Prefs::fps(), 30);
    Prefs::store().set("fps", 24);
    EXPECT_FALSE(control("60 fps").isOn);
}

TEST_F(SettingsTest, clicksCycleThroughTheCameras) {
    host.devices = {{"a", "Webcam é"}, {"b", ""}};
    open();
    Texts values;
    for (const auto* stored : {"", "a", "b", "unplugged"}) {
        if (*stored) Prefs::setCameraID(stored);
        clickOn("camera");
        values.push_back(control("camera").value.toStdString() + "=" + Prefs::cameraID().value_or("none"));
    }
    EXPECT_EQ(values, (Texts{"WEBCAM É=a", "=b", "SYSTEM DEFAULT=none", "WEBCAM É=a"}));
}

TEST_F(SettingsTest, longTextsAndButtonsLeaveRoomForEachOther) {
    host.devices = {{"long", std::string(100'000, 'w')}};
    Prefs::setCameraID("long");
    const auto rows = settingsRows(host);
    const auto isChoice = [](const Row& row) { return std::holds_alternative<ChoiceRow>(row); };
    const auto at = std::ranges::find_if(rows, isChoice) - rows.begin();
    EXPECT_EQ(placedRows(rows, SettingsView::kWidth, 0)[std::size_t(at)].controls[0].width(), 200);

    scroll(10'000);
    Prefs::setOutputDir("/mnt/" + std::string(200, 'w'));
    const auto button = control("output folder: CHOOSE…").rect.toRect();
    const auto gap = paint().copy(button.left() - 8, button.top() - 11, 8, 48);
    QImage empty(gap.size(), gap.format());
    empty.fill(Brand::row());
    EXPECT_EQ(gap, empty) << "the name of the folder reaches to the button";
}

TEST_F(SettingsTest, onlyWhatTakesAClickShowsTheMouse) {
    const auto changesAt = [&](QPointF position) {
        QEvent left(QEvent::Leave);
        QApplication::sendEvent(&view(), &left);
        const auto before = paint();
        hover(view(), position);
        return paint() != before;
    };
    const auto row = control("show clicks").rect;
    EXPECT_TRUE(changesAt(row.topLeft()));
    EXPECT_FALSE(changesAt(row.topRight()) || changesAt(row.bottomLeft())) << "half-open";
    EXPECT_TRUE(changesAt(control("camera").rect.center()));
    EXPECT_FALSE(changesAt(control("region: SET…").rect.center()));
    EXPECT_TRUE(changesAt(control("close").rect.center()) && changesAt(control("minimise").rect.center()));
    scroll(80);
    EXPECT_FALSE(changesAt({100, 40})) << "a row under the header";
    EXPECT_TRUE(changesAt({100, 60}));
}

TEST_F(SettingsTest, clicksReachWhatIsPaintedThere) {
    const auto set = control("region: SET…").rect;
    clickOn("region: CLEAR");  // disabled
    click(view(), {set.left() - 20, set.center().y()});
    EXPECT_EQ(host.calls, Texts{});
    click(view(), set.center());
    scroll(80);
    click(view(), {20, 30});  // the header, over a row
    EXPECT_EQ(host.calls, Texts{"set region"});
}

TEST_F(SettingsTest, theKeyboardReachesAndUsesEveryControl) {
    std::size_t reached = 0;
    do {
        key(view(), Qt::Key_Down);
        const auto focused = view().controls()[*view().focusedControl()];
        EXPECT_TRUE(focused.isEnabled && view().rect().contains(focused.rect.toRect()))
            << qPrintable(focused.name);
        ++reached;
    } while (*view().focusedControl() + 1 < view().controls().size());
    EXPECT_EQ(reached, view().controls().size() - 2) << "all but \"CLEAR\" and \"DEFAULT\"";

    const auto unfocused = paint();
    key(view(), Qt::Key_Tab);
    EXPECT_NE(paint(), unfocused);
    key(view(), Qt::Key_Space);
    EXPECT_FALSE(Prefs::showClicks());
    key(view(), Qt::Key_Return);
    EXPECT_TRUE(Prefs::showClicks());
    key(view(), Qt::Key_Backtab);
    key(view(), Qt::Key_Return);
    EXPECT_FALSE(window().isVisible()) << "the control before the first one closes";
}

TEST_F(SettingsTest, assistiveProgramsSeeAndUseEveryControl) {
    auto* all = QAccessible::queryAccessibleInterface(&view());
    ASSERT_EQ(all->childCount(), int(view().controls().size()));
    auto* clicks = all->child(0);
    EXPECT_EQ(clicks->text(QAccessible::Name), "show clicks");
    EXPECT_EQ(clicks->role(), QAccessible::CheckBox);
    EXPECT_EQ(all->childAt(clicks->rect().center().x(), clicks->rect().center().y()), clicks);
    EXPECT_TRUE(clicks->state().checked && clicks->state().focusable);
    clicks->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_FALSE(Prefs::showClicks() || clicks->state().checked);
    clicks->actionInterface()->doAction(QAccessibleActionInterface::setFocusAction());
    EXPECT_EQ(all->focusChild(), clicks);

    auto* clear = all->child(4);
    EXPECT_EQ(clear->text(QAccessible::Name), "region: CLEAR");
    EXPECT_EQ(clear->role(), QAccessible::PushButton);
    EXPECT_TRUE(clear->state().disabled && clear->actionInterface()->actionNames().isEmpty());
    clear->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(host.calls, Texts{});
}

TEST_F(SettingsTest, theListScrollsWithinItsEnds) {
    const int lines = QApplication::wheelScrollLines();
    for (const auto& [notches, scrollY] :
         {std::pair{-1, 8 * lines}, {-100, 325}, {1, 325 - 8 * lines}, {99, 0}}) {
        scroll(120 * notches, *QPointingDevice::primaryPointingDevice());
        EXPECT_EQ(view().scrollY(), scrollY) << notches;
    }
    scroll(1);
    EXPECT_EQ(view().scrollY(), 1);
    scroll(400);
    for (const auto& [height, scrollY] : {std::pair{700, 265}, {640, 265}, {1200, 0}}) {
        window().resize(520, height);
        EXPECT_EQ(view().scrollY(), scrollY) << height;
    }
}

TEST_F(SettingsTest, theHeaderMovesAndTheEdgesResizeByHand) {
    window().setGeometry(100, 100, 520, 500);
    const std::tuple<int, QPoint, QRect> drags[] = {
        {30, {30, -20}, {130, 80, 520, 500}},
        {499, {50, 60}, {130, 80, 520, 560}},
        {1, {0, 900}, {130, 280, 520, 360}},
        {359, {0, 2000}, {130, 280, 520, 1200}},
    };
    for (const auto& [y, by, frame] : drags) {
        drag(view(), QPointF(260, y), QPointF(260, y) + by);
        EXPECT_EQ(window().geometry(), frame) << y;
    }
}

TEST_F(SettingsTest, hidesAndComesBackAsItWas) {
    EXPECT_EQ(ownWindows.windows().at(0).sharing, SharingType::none);
    window().move(40, 50);
    scroll(100);
    clickOn("close");
    EXPECT_TRUE(!window().isVisible() && ownWindows.windows().empty());
    controller->toggle();
    EXPECT_TRUE(window().isVisible() && window().pos() == QPoint(40, 50) && view().scrollY() == 100);
    clickOn("minimise");
    EXPECT_TRUE(window().isVisible() && window().isMinimized());
    controller->toggle();
    EXPECT_TRUE(window().isVisible() && !window().isMinimized());
    key(view(), Qt::Key_Escape);
    EXPECT_FALSE(window().isVisible());
}

TEST_F(SettingsTest, theFrameIsKeptAndBroughtOntoAScreen) {
    const QRect middle(140, 80, 520, 640);  // of a screen of 800 x 800
    const std::pair<const char*, QRect> frames[] = {
        {"1,2,520,640,", middle},
        {"5000,0,520,640", middle},
        {"10,20,520,400", {10, 20, 520, 400}},
        {"10,20,9000,1", {10, 20, 520, 360}},
        {"-500,-300,520,400", {0, 0, 520, 400}},
        {"700,700,520,400", {280, 400, 520, 400}},
    };
    for (const auto& [stored, frame] : frames) {
        controller.reset();
        Prefs::setText(OptionId::settingsFrame, stored);
        open();
        EXPECT_EQ(window().geometry(), frame) << stored;
    }
    qputenv("KASTO_CAPTURABLE", "");
    open();
    qunsetenv("KASTO_CAPTURABLE");
    EXPECT_EQ(ownWindows.windows().at(0).sharing, SharingType::readOnly);
    window().setGeometry(3, 4, 520, 500);
    controller.reset();
    EXPECT_EQ(Prefs::text(OptionId::settingsFrame), "3,4,520,500");
}

TEST_F(SettingsTest, facesAreFoundByNameElseTheirFallback) {
    const auto fallback = Brand::monospaced(9, QFont::Bold);
    for (const auto* name : {"Finlandica-Regular", "Finlandica-Regular_Bold", "Micro5-Regular"})
        EXPECT_EQ(QFontInfo(Brand::face(name, 9, fallback)).family(), name);
    EXPECT_EQ(Brand::face("Finlandica-Black", 9, fallback), fallback);
}

}  // namespace
}  // namespace kasto::test
