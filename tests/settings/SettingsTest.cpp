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

#include <QFontInfo>
#include <QImage>
#include <QPointingDevice>
#include <QWheelEvent>

namespace kasto::test {
namespace {

using Texts = std::vector<std::string>;

// Remembers what it was asked for.
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

template <class R>
R rowOf(OptionId option, SettingsHost& host) {
    for (const auto& row : settingsRows(host))
        if (const auto* found = std::get_if<R>(&row); found && found->option == option) return *found;
    throw std::out_of_range("no such row");
}

// The description of an action row and its buttons: the disabled ones in round brackets.
std::string described(const ActionRow& action) {
    QString text = action.desc;
    for (const auto& button : action.buttons)
        text += QString(button.enabled ? " [%1]" : " (%1)").arg(button.label);
    return text.toStdString();
}

class SettingsTest : public testing::Test {
protected:
    SettingsTest() {
        Brand::registerFonts();
        forgetOptions();
    }

    void open() {
        controller = std::make_unique<SettingsController>(host, ownWindows);
        controller->show();
        paint();
    }
    SettingsPanel& window() { return *controller->window(); }
    SettingsView& view() { return window().view(); }
    QImage paint() { return view().grab().toImage(); }
    std::string colourAt(int x, int y) { return paint().pixelColor(x, y).name().toStdString(); }

    void click(double x, double y) {
        paint();
        test::click(view(), {x, y});
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
    const std::string bg = "#0a0b0f", panel = "#141920", row = "#1b212b", lit = "#242c3a", off = "#2c3442",
                      accent = "#eb424d", white = "#ffffff", grey = "#b3b3b3";
};

TEST_F(SettingsTest, rowsFollowPreferencesAndTheTake) {
    const auto region = [&] { return described(rowOf<ActionRow>(OptionId::regionRect, host)); };
    const auto folder = [&] { return described(rowOf<ActionRow>(OptionId::outputDir, host)); };
    EXPECT_EQ(region(), "full screen · set one to frame a slice [SET…] (CLEAR)");
    EXPECT_EQ(folder(), "Movies/kasto · the default [CHOOSE…] (DEFAULT)");
    Prefs::setRegionRect(Rect{9, 9, 1280.6, 1e300});
    EXPECT_EQ(region(), "1280×2147483647 · zoom stays inside it [SET…] [CLEAR]");
    host.recording = true;
    EXPECT_EQ(region(), "1280×2147483647 · zoom stays inside it (SET…) (CLEAR)");
    for (const auto& [path, name] :
         {std::pair{"/mnt/Renders/", "Renders"}, {"/", "/"}, {"/a/מסמכים", "מסמכים"}}) {
        Prefs::setOutputDir(path);
        EXPECT_EQ(folder(), std::string(name) + " · the cloud toggle wins while it's on [CHOOSE…] [DEFAULT]");
    }
}

TEST_F(SettingsTest, everySwitchStoresItsOption) {
    for (const auto& each : settingsRows(host))
        if (const auto* toggle = std::get_if<ToggleRow>(&each)) toggle->set(!toggle->get());
    EXPECT_FALSE(Prefs::showClicks() || Prefs::showMarquee() || Prefs::pipEnabled() || Prefs::roundCamera());
    EXPECT_FALSE(Prefs::captureSystemSound() || Prefs::cloudKastos());
    EXPECT_TRUE(Prefs::captureMic() && Prefs::convertMP4() && Prefs::invertPan());
    EXPECT_EQ(Prefs::fps(), 30);
    Prefs::store().set("fps", 24);
    EXPECT_FALSE(rowOf<ToggleRow>(OptionId::fps, host).get());
}

TEST_F(SettingsTest, clicksCycleThroughTheCameras) {
    host.devices = {{"a", "Webcam é"}, {"b", ""}};
    const auto row = rowOf<ChoiceRow>(OptionId::cameraID, host);
    Texts values;
    for (const auto* stored : {"", "a", "b", "unplugged"}) {
        if (*stored) Prefs::setCameraID(stored);
        row.next();
        values.push_back(row.value().toStdString() + "=" + Prefs::cameraID().value_or("none"));
    }
    EXPECT_EQ(values, (Texts{"WEBCAM É=a", "=b", "SYSTEM DEFAULT=none", "WEBCAM É=a"}));
}

TEST_F(SettingsTest, cameraNamesFitTheirButton) {
    host.devices = {{"long", std::string(100'000, 'w')}, {"short", "x"}};
    open();
    for (const auto& [camera, left] : {std::pair{"long", 290}, {"short", 400}}) {
        Prefs::setCameraID(camera);
        EXPECT_EQ(colourAt(left - 1, 463) + colourAt(left, 463) + colourAt(489, 463), row + off + off);
    }
}

TEST_F(SettingsTest, followsOptionsThatChangeElsewhere) {
    open();
    const auto before = paint();
    Prefs::setOutputDir("/mnt/Renders");
    Prefs::setRegionRect(Rect{0, 0, 10, 10});
    const auto after = paint();
    view().reload();
    EXPECT_NE(before, after);
    EXPECT_EQ(after, paint());
    click(460, 285);
    EXPECT_EQ(host.calls, Texts{"clear region"});
}

TEST_F(SettingsTest, onlyWhatTakesAClickShowsTheMouse) {
    open();
    const std::tuple<int, int, int, int, std::string> probes[] = {
        {18, 105, 20, 106, lit},  {501, 152, 20, 106, lit},  {17, 110, 20, 106, row},
        {502, 110, 20, 106, row}, {100, 153, 20, 106, row},  {100, 462, 20, 452, lit},
        {100, 270, 20, 262, row}, {490, 34, 486, 2, accent}, {480, 34, 451, 2, lit},
        {484, 35, 486, 2, bg},    {484, 35, 5, 52, bg},      {484, 35, 5, 53, panel},
    };
    for (const auto& [x, y, probeX, probeY, colour] : probes) {
        hover(view(), QPointF(x, y));
        EXPECT_EQ(colourAt(probeX, probeY), colour) << x << ", " << y;
    }
    scroll(80);
    hover(view(), {100, 40});  // a row is under the header there
    EXPECT_EQ(colourAt(20, 60), row);
    hover(view(), {100, 60});
    EXPECT_EQ(colourAt(20, 60), lit);
}

TEST_F(SettingsTest, clicksReachWhatIsPaintedThere) {
    Prefs::setOutputDir("/mnt/Renders");
    open();
    EXPECT_EQ(colourAt(488, 119) + colourAt(470, 119), accent + white);
    click(20, 106);
    EXPECT_FALSE(Prefs::showClicks());
    EXPECT_EQ(colourAt(448, 119) + colourAt(470, 119), grey + off);
    click(20, 155);   // between two rows
    click(100, 285);  // beside the buttons
    click(460, 285);  // a disabled button
    click(400, 285);
    scroll(10'000);
    click(450, 478);
    EXPECT_EQ(Prefs::outputDir(), std::nullopt);
    click(20, 30);  // the header, over a row
    EXPECT_EQ(host.calls, Texts{"set region"});
}

TEST_F(SettingsTest, theListScrollsWithinItsEnds) {
    open();
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
    open();
    window().setGeometry(100, 100, 520, 500);
    const std::tuple<int, QPoint, QRect> drags[] = {
        {30, {30, -20}, {130, 80, 520, 500}},    {499, {50, 60}, {130, 80, 520, 560}},
        {1, {0, -60}, {130, 20, 520, 620}},      {1, {0, 900}, {130, 280, 520, 360}},
        {359, {0, 2000}, {130, 280, 520, 1200}},
    };
    for (const auto& [y, by, frame] : drags) {
        drag(view(), QPointF(260, y), QPointF(260, y) + by);
        EXPECT_EQ(window().geometry(), frame) << y;
    }
}

TEST_F(SettingsTest, hidesAndComesBackAsItWas) {
    open();
    EXPECT_EQ(ownWindows.windows().at(0).sharing, SharingType::none);
    window().move(40, 50);
    scroll(100);
    click(502, 1);
    EXPECT_TRUE(!window().isVisible() && ownWindows.windows().empty());
    Prefs::setRegionRect(Rect{0, 0, 10, 10});
    controller->toggle();
    EXPECT_TRUE(window().isVisible() && window().pos() == QPoint(40, 50) && view().scrollY() == 100);
    click(460, 185);
    EXPECT_EQ(host.calls, Texts{"clear region"});
    click(460, 34);
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
        {"1,2147483647,520,640", middle},
        {"5000,0,520,640", middle},
        {"10,20,520,400", {10, 20, 520, 400}},
        {"10,20,9000,1", {10, 20, 520, 360}},
        {"10,20,520,5000", {10, 0, 520, 1200}},
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
