#include "linux/freedesktop/BusApplication.h"
#include "linux/freedesktop/DBusMenu.h"
#include "linux/freedesktop/StatusNotifier.h"
#include "linux/freedesktop/TrayStatusItems.h"

#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusReply>
#include <QTest>

namespace kasto::test {

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

// Calls an item while its owner, this thread, goes on.
class Peer {
public:
    Peer(const QDBusConnection& bus, QString service, QString path)
        : bus_(bus), service_(std::move(service)), path_(std::move(path)) {}

    QList<QVariant> call(const QString& interface, const QString& method,
                         const QVariantList& arguments = {}) const {
        auto message = QDBusMessage::createMethodCall(service_, path_, interface, method);
        message.setArguments(arguments);
        QDBusPendingCallWatcher watcher(bus_.asyncCall(message));
        EXPECT_TRUE(QTest::qWaitFor([&] { return watcher.isFinished(); }));
        EXPECT_NE(watcher.reply().type(), QDBusMessage::ErrorMessage)
            << watcher.reply().errorMessage().toStdString();
        return watcher.reply().arguments();
    }

    QVariantMap properties(const QString& interface) const {
        return qdbus_cast<QVariantMap>(
            call("org.freedesktop.DBus.Properties", "GetAll", {interface}).value(0));
    }

private:
    const QDBusConnection bus_;
    const QString service_, path_;
};

const QString kItem = "org.kde.StatusNotifierItem";
const QString kMenu = "com.canonical.dbusmenu";

class TrayStatusItemsTest : public testing::Test {
protected:
    static bool become(const std::function<bool()>& condition) { return QTest::qWaitFor(condition, 20'000); }

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

    const Peer peer(host.bus, host.items[0], "/StatusNotifierItem");
    const auto shown = peer.properties(kItem);
    EXPECT_EQ(shown["Id"], "kasto");
    EXPECT_EQ(shown["Title"], "recording 12:34");
    EXPECT_EQ(shown["XAyatanaLabel"], "12:34");
    const auto icons = qdbus_cast<QList<IconPixmap>>(shown["IconPixmap"]);
    ASSERT_EQ(icons.size(), 8);
    for (const auto& icon : icons) {
        ASSERT_EQ(icon.argb.size(), 4 * icon.width * icon.height);
        // The plate under the time, red and opaque at its left edge: alpha comes first.
        EXPECT_EQ(icon.argb.mid(4 * (icon.height * 3 / 4 * icon.width), 4).toHex(), "ffeb424d");
    }

    item->setTitle(" ⚙");
    EXPECT_EQ(peer.properties(kItem)["Title"], "recording ⚙");
    peer.call(kItem, "Activate", {1, 2});
    peer.call(kItem, "ContextMenu", {1, 2});
    ASSERT_TRUE(become([&] { return clicks.size() == 2; }));
    EXPECT_FALSE(clicks[0].isRight);
    EXPECT_TRUE(clicks[1].isRight);

    auto stop = items.make("kasto-stop", {.onClick = [&](const StatusClick&) { item.reset(); }});
    ASSERT_TRUE(become([&] { return host.items.size() == 2; }));
    Peer(host.bus, host.items[1], "/StatusNotifierItem").call(kItem, "Activate", {1, 2});
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
    const Peer peer(host.bus, host.items[0], "/MenuBar");
    const auto layout = [&] {
        return qdbus_cast<MenuLayout>(peer.call(kMenu, "GetLayout", {0, -1, QStringList()}).value(1));
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
        peer.call(kMenu, "Event", {id, "clicked", QVariant::fromValue(QDBusVariant(0)), 0U});
    };
    choose(row.id);
    ASSERT_TRUE(become([&] { return isOn; }));
    EXPECT_EQ(layout().children[2].children[0].properties["toggle-state"], 1);
    EXPECT_EQ(layout().children[2].children[0].id, row.id);

    titles[0] = "stop";
    EXPECT_EQ(peer.call(kMenu, "AboutToShow", {0}).value(0), true);
    EXPECT_NE(layout().children[0].id, first.children[0].id);
    choose(first.children[0].id);  // a line that is gone
    choose(layout().children[0].id);
    ASSERT_TRUE(become([&] { return starts > 0; }));
    EXPECT_EQ(starts, 1);
}

}  // namespace
}  // namespace kasto::test

#include "TrayStatusItemsTest.moc"
