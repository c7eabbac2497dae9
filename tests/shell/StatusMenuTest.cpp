#include "shell/ControllerTest.h"

#include <QCheckBox>
#include <QMenu>
#include <QTest>

namespace kasto::test {
namespace {

class StatusMenuTest : public ControllerTest {
protected:
    std::vector<MenuEntry> entries() { return desktop.statusItems.shown.at("kasto").actions.menu(); }

    // As a reader sees them: "- " disabled, "x "/"o " a check row on or off.
    std::vector<std::string> lines() {
        std::vector<std::string> all;
        for (const auto& entry : entries()) {
            const std::string mark = entry.isOn ? (*entry.isOn ? "x " : "o ") : "";
            all.push_back(mark + (entry.isEnabled ? "" : "- ") + (entry.isSeparator() ? "---" : entry.title));
        }
        return all;
    }

    static QMenu* openMenu() { return qobject_cast<QMenu*>(QApplication::activePopupWidget()); }

    QMenu* openStatusMenu() {
        desktop.statusItems.shown.at("kasto").actions.onClick({});
        return openMenu();
    }

    static QWidget* rowTitled(const QMenu& menu, const QString& title) {
        const auto rows = menu.findChildren<QCheckBox*>(Qt::FindDirectChildrenOnly);
        return *std::ranges::find(rows, title, &QWidget::accessibleName);
    }
};

TEST_F(StatusMenuTest, saysWhatTheProgramWouldDoNow) {
    auto before = lines();
    ASSERT_EQ(before.size(), 31U);
    const auto newLines = [&] {
        auto added = lines();
        const auto now = added;
        std::erase_if(added, [&](const auto& line) { return std::ranges::count(before, line) > 0; });
        before = now;
        return added;
    };
    desktop.screenAccess.granted = false;
    Prefs::setOn(OptionId::fps, false);
    Prefs::setOutputDir("/tmp/R&D\tשלום/");
    Prefs::setRegionRect(Rect{100, 80, 1280.9, 720.9});
    EXPECT_EQ(newLines(), (std::vector<std::string>{"o 60 fps", "output: \u2068R&D שלום\u2069 — change…",
                                                    "use default folder (Movies/kasto)",
                                                    "clear region (1280×720)", "grant screen recording…"}));

    desktop.screenAccess.granted = true;
    desktop.pointer.at = Point{10, 10};
    record();
    EXPECT_EQ(newLines(),
              (std::vector<std::string>{"stop recording", "- set region…", "- clear region (1280×720)"}));

    desktop.pointer.held.set({.right = true, .fn = true});
    ASSERT_TRUE(loopUntil([] { return openMenu(); })) << "the quick menu";
    EXPECT_EQ(openMenu()->actions().size(), 12);
    QTest::keyClick(openMenu(), Qt::Key_Down);
    QTest::keyClick(openMenu(), Qt::Key_Return);
    EXPECT_FALSE(delegate->isRecording() || openMenu());
}

TEST_F(StatusMenuTest, eachCheckRowStoresItsOption) {
    for (const auto* expected : {"xxxxxooxox", "oooooxxoxo", "xxxxxooxox"}) {
        std::string marks;
        for (const auto& entry : entries()) {
            if (!entry.isOn) continue;
            marks += *entry.isOn ? 'x' : 'o';
            entry.onToggle(!*entry.isOn);
        }
        EXPECT_EQ(marks, expected);
    }
}

TEST_F(StatusMenuTest, checkRowsToggleInPlace) {
    auto* menu = openStatusMenu();
    ASSERT_TRUE(menu);
    auto* row = rowTitled(*menu, "show clicks");
    const auto isHighlighted = [&] {
        return row->grab().toImage().pixelColor(8, 13) == row->palette().color(QPalette::Highlight);
    };
    QTest::mouseMove(row, {100, 10});
    EXPECT_TRUE(isHighlighted());
    QTest::mouseClick(row, Qt::LeftButton);
    QTest::mouseClick(row, Qt::RightButton);
    EXPECT_FALSE(Prefs::showClicks());
    menu->setActiveAction(menu->actions().front());
    EXPECT_FALSE(isHighlighted());

    QTest::keyClick(menu, Qt::Key_Down);  // "start recording"
    QTest::keyClick(menu, Qt::Key_Down);
    EXPECT_TRUE(isHighlighted());
    QTest::keyClick(menu, Qt::Key_Space);
    EXPECT_TRUE(Prefs::showClicks());

    QTest::keyClick(menu, Qt::Key_R, Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
    EXPECT_FALSE(menu->isVisible());
    EXPECT_TRUE(loopUntil([&] { return delegate->isRecording(); }));
}

TEST_F(StatusMenuTest, choicesExcludeEachOtherWhateverTheyAreCalled) {
    const std::string longName(300, 'w');
    desktop.cameraSession.cameras = {{"a", longName}, {"b", "R&D_cam"}, {"c", " "}};
    Prefs::setOutputDir("/tmp/R&D " + longName);
    auto* menu = openStatusMenu();
    ASSERT_TRUE(menu);
    EXPECT_LT(menu->width(), 700);
    const auto actions = menu->actions();
    EXPECT_TRUE(std::ranges::any_of(
        actions, [](const auto* action) { return action->text().startsWith("output: R&&D w"); }));
    menu->setActiveAction(*std::ranges::find(actions, QString("camera"), &QAction::text));
    QTest::keyClick(menu, Qt::Key_Return);
    auto* submenu = openMenu();
    ASSERT_NE(submenu, menu);
    EXPECT_LT(submenu->width(), 300);
    EXPECT_EQ(desktop.ownWindows.windows().size(), 2u);

    for (int clicks = 0; clicks < 2; ++clicks) {
        QTest::mouseClick(rowTitled(*submenu, "R&D_cam"), Qt::LeftButton);
        std::string marks;
        for (auto* row : submenu->findChildren<QCheckBox*>()) marks += row->isChecked() ? 'x' : 'o';
        EXPECT_EQ(marks, "ooxo");
    }
    EXPECT_EQ(Prefs::cameraID(), "b");
}

TEST_F(StatusMenuTest, theItemFollowsTheTakeAndItsClicksDependOnIt) {
    auto& items = desktop.statusItems.shown;
    const auto look = [&] {
        const auto& item = items.at("kasto");
        return std::tuple(item.image, item.description, item.title.substr(0, 4),
                          items.contains("kasto-stop"));
    };
    const std::tuple idle(StatusImage::idle, "kasto", "", false);
    const std::tuple finishing(StatusImage::idle, "kasto", " ⚙", false);
    using Case = std::tuple<std::string, StatusClick, bool>;
    for (const auto& [clicked, click, stops] : {Case{"kasto", {}, true},
                                                {"kasto-stop", {}, true},
                                                {"kasto-stop", {.isRight = true}, false},
                                                {"kasto", {.isRight = true}, false},
                                                {"kasto", {.isControlHeld = true}, false}}) {
        SCOPED_TRACE(clicked + (stops ? " stops" : " does not"));
        ASSERT_TRUE(loopUntil([&] { return look() == idle; }));
        items.at("kasto").actions.onClick(click);
        ASSERT_TRUE(openMenu());
        record();
        EXPECT_FALSE(openMenu());
        EXPECT_EQ(look(), std::tuple(StatusImage::recording, "recording", " 0:0", true));
        EXPECT_EQ(items.at("kasto-stop").image, StatusImage::stop);
        EXPECT_EQ(items.at("kasto-stop").actions.menu().size(), 1U);
        const auto title = items.at("kasto").title;
        if (stops) {
            ASSERT_TRUE(loopUntil([&] { return items.at("kasto").title > title; }));
        }

        const auto onClick = items.at(clicked).actions.onClick;
        onClick(click);
        EXPECT_EQ(delegate->isRecording(), !stops);
        EXPECT_EQ(openMenu() != nullptr, !stops && clicked == "kasto");
        delegate->stopFromCommand();
        EXPECT_EQ(look(), finishing);
        EXPECT_FALSE(openMenu());
    }
}

TEST_F(StatusMenuTest, theMainMenusKeysWorkInTheProgramsWindows) {
    desktop.screenCapture.startError = Error{"no"};
    delegate->startRecording();
    ASSERT_TRUE(loopUntil([] { return alert() && alert()->isActiveWindow(); }));
    QTest::keyClick(alert(), Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(terminations, 1);
}

}  // namespace
}  // namespace kasto::test
