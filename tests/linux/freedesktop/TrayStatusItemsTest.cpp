#include "linux/freedesktop/BusApplication.h"
#include "linux/freedesktop/status/DBusMenu.h"
#include "linux/freedesktop/status/StatusNotifier.h"
#include "linux/freedesktop/status/TrayStatusItems.h"

#include <QDBusConnectionInterface>

namespace kasto::test {

using namespace freedesktop;

// A host of status items that notes who registers.
class Host : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ isThere)

public:
    ~Host() override { QDBusConnection::disconnectFromBus("host"); }
    Host() : bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, "host")) {
        bus.registerObject("/StatusNotifierWatcher", this, QDBusConnection::ExportAllContents);
    }
    bool isThere() const { return true; }
    void appear() { bus.registerService("org.kde.StatusNotifierWatcher"); }
    void vanish() {
        bus.unregisterService("org.kde.StatusNotifierWatcher");
        items.clear();
    }
    QDBusConnection bus;
    QStringList items;

public slots:
    void RegisterStatusNotifierItem(const QString& service) { items += service; }
};

namespace {

class TrayStatusItemsTest : public testing::Test {
protected:
    static bool become(const std::function<bool()>& condition) { return QTest::qWaitFor(condition, 20'000); }

    BusPeer peer(int item, const QString& path, const QString& interface) const {
        return {host.bus, host.items.at(item), path, interface};
    }
    void press(int item, const QString& how) const {
        peer(item, "/StatusNotifierItem", "org.kde.StatusNotifierItem").call(how, {1, 2});
    }
    QVariantMap shown(int item) const {
        const auto properties = peer(item, "/StatusNotifierItem", "org.freedesktop.DBus.Properties");
        return qdbus_cast<QVariantMap>(properties.ask("GetAll", {"org.kde.StatusNotifierItem"}));
    }

    TrayStatusItems items;
    Host host;
};

TEST_F(TrayStatusItemsTest, aHostThatComesLateOrAgainShowsTheItem) {
    host.appear();
    std::vector<StatusClick> clicks;
    auto item = items.make("kasto", {.onClick = [&](const StatusClick& click) { clicks.push_back(click); }});
    item->setImage(StatusImage::recording, "recording");
    item->setTitle(" 12:34");
    ASSERT_TRUE(become([&] { return host.items.size() == 1; }));
    host.vanish();
    host.appear();
    ASSERT_TRUE(become([&] { return host.items.size() == 1; }));

    auto properties = shown(0);
    EXPECT_EQ(properties["Id"], "kasto");
    EXPECT_EQ(properties["Title"], "recording 12:34");
    EXPECT_EQ(properties["XAyatanaLabel"], "12:34");
    const auto icons = qdbus_cast<QList<IconPixmap>>(properties["IconPixmap"]);
    ASSERT_EQ(icons.size(), 8);
    for (const auto& icon : icons) {
        ASSERT_EQ(icon.argb.size(), 4 * icon.width * icon.height);
        // The plate under the time, red and opaque at its left edge: alpha comes first.
        EXPECT_EQ(icon.argb.mid(4 * (icon.height * 3 / 4 * icon.width), 4).toHex(), "ffeb424d");
    }

    item->setTitle(" ⚙");
    EXPECT_EQ(shown(0)["Title"], "recording ⚙");
    for (const auto* how : {"Activate", "ContextMenu"}) press(0, how);
    ASSERT_TRUE(become([&] { return clicks.size() == 2; }));
    EXPECT_FALSE(clicks[0].isRight);
    EXPECT_TRUE(clicks[1].isRight);

    auto stop = items.make("kasto-stop", {.onClick = [&](const StatusClick&) { item.reset(); }});
    ASSERT_TRUE(become([&] { return host.items.size() == 2; }));
    press(1, "Activate");
    ASSERT_TRUE(become([&] { return !item; }));
    const QDBusReply<bool> isThere = host.bus.interface()->isServiceRegistered(host.items[0]);
    EXPECT_FALSE(isThere.value());
}

TEST_F(TrayStatusItemsTest, theHostsOwnMenuSaysAndDoesTheSame) {
    host.appear();
    bool isOn = false;
    int starts = 0;
    std::vector<std::string> titles{"start_recording & more", std::string(500, 'n')};
    const auto menu = [&] {
        return std::vector<MenuEntry>{
            {.title = titles[0], .keyEquivalent = KeyChord{U'r', true}, .action = [&] { ++starts; }},
            {},
            {.title = "more",
             .submenu = {{.title = titles[1], .isOn = isOn, .onToggle = [&](bool on) { isOn = on; }}}}};
    };
    const auto item = items.make("kasto", {.menu = menu});
    ASSERT_TRUE(become([&] { return host.items.size() == 1; }));
    const auto bar = peer(0, "/MenuBar", "com.canonical.dbusmenu");
    const auto layout = [&] {
        return qdbus_cast<MenuLayout>(bar.call("GetLayout", {0, -1, QStringList()}).arguments().value(1));
    };
    const auto first = layout();
    ASSERT_EQ(first.children.size(), 3);
    EXPECT_EQ(first.children[0].properties["label"], "start__recording & more");
    EXPECT_EQ(qdbus_cast<QList<QStringList>>(first.children[0].properties["shortcut"]),
              (QList<QStringList>{{"Control", "r"}}));
    EXPECT_EQ(first.children[1].properties["type"], "separator");
    ASSERT_EQ(first.children[2].children.size(), 1);
    const auto row = first.children[2].children[0];
    EXPECT_LT(row.properties["label"].toString().size(), 100);
    EXPECT_EQ(row.properties["toggle-state"], 0);

    const auto choose = [&](int id) {
        bar.call("Event", {id, "clicked", QVariant::fromValue(QDBusVariant(0)), 0U});
    };
    choose(row.id);
    ASSERT_TRUE(become([&] { return isOn; }));
    EXPECT_EQ(layout().children[2].children[0].properties["toggle-state"], 1);
    EXPECT_EQ(layout().children[2].children[0].id, row.id);

    titles[0] = "stop";
    EXPECT_EQ(bar.ask("AboutToShow", {0}), true);
    EXPECT_NE(layout().children[0].id, first.children[0].id);
    choose(first.children[0].id);  // a line that is gone
    choose(layout().children[0].id);
    ASSERT_TRUE(become([&] { return starts > 0; }));
    EXPECT_EQ(starts, 1);
}

}  // namespace
}  // namespace kasto::test

#include "TrayStatusItemsTest.moc"
