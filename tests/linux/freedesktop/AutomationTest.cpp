#include "linux/freedesktop/BusApplication.h"
#include "linux/freedesktop/DBusAutomation.h"
#include "linux/freedesktop/DBusRunningInstance.h"
#include "linux/freedesktop/SearchAdaptors.h"
#include "linux/freedesktop/ShortcutSearch.h"

#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QTest>

namespace kasto::test {
namespace {

const std::vector<Shortcut> kShortcuts{
    {"start-recording",
     "Start Recording",
     "record.circle",
     {"Start recording in kasto", "Start a kasto recording"}},
    {"stop-recording", "Stop Recording", "stop.fill", {"Stop recording in kasto", "Finish my kasto"}}};

TEST(ShortcutSearchTest, findsByBegunWordsInAnyOrder) {
    const std::vector<std::pair<QString, std::vector<std::string>>> cases{
        {"start rec", {"start-recording"}},
        {"KASTO: finish", {"stop-recording"}},
        {"record", {"start-recording", "stop-recording"}},
        {"  kasto start, a recording! ", {"start-recording"}},
        {"re", {}},
        {"start start", {}},
        {"starting", {}},
        {"record a song", {}},
        {"", {}},
    };
    for (const auto& [text, expected] : cases) {
        std::vector<std::string> found;
        for (const auto& match : findShortcuts(kShortcuts, text)) found.push_back(match.shortcut->actionId);
        EXPECT_EQ(found, expected) << text.toStdString();
    }
    EXPECT_EQ(findShortcuts(kShortcuts, "finish my kasto").front().relevance, 1);
    EXPECT_LT(findShortcuts(kShortcuts, "finish my k").front().relevance, 1);
}

// Calls as a desktop shell does, from a connection of its own.
class Shell {
public:
    QDBusMessage call(const QString& service, const QString& path, const QString& interface,
                      const QString& method, const QVariantList& arguments) const {
        auto call = QDBusMessage::createMethodCall(service, path, interface, method);
        call.setArguments(arguments);
        auto pending = bus_.asyncCall(call);
        EXPECT_TRUE(QTest::qWaitFor([&] { return pending.isFinished(); }));
        EXPECT_FALSE(pending.isError()) << pending.error().message().toStdString();
        return pending.reply();
    }
    QDBusMessage search(const QString& method, const QVariantList& arguments) const {
        return call("app.tolvane.kasto.search", "/search", "org.gnome.Shell.SearchProvider2", method,
                    arguments);
    }
    QDBusMessage runner(const QString& method, const QVariantList& arguments) const {
        return call("app.tolvane.kasto.search", "/runner", "org.kde.krunner1", method, arguments);
    }

private:
    QDBusConnection bus_ = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "shell");
};

TEST(DBusAutomationTest, offersShortcutsToSearchesAndRunsActions) {
    std::vector<std::string> performed;
    DBusRunningInstance instance;
    DBusAutomation automation(instance);
    automation.offer(kShortcuts, [&](const std::string& action) { performed.push_back(action); });
    ASSERT_TRUE(instance.claim().value());
    const Shell shell;

    EXPECT_EQ(shell.search("GetInitialResultSet", {QStringList{"finish", "kasto"}}).arguments().value(0),
              QStringList{"stop-recording"});
    QList<QVariantMap> metas;
    shell.search("GetResultMetas", {QStringList{"stop-recording", "unknown"}})
            .arguments()
            .value(0)
            .value<QDBusArgument>() >>
        metas;
    ASSERT_EQ(metas.size(), 1);
    EXPECT_EQ(metas[0]["name"], "Stop Recording");
    EXPECT_EQ(metas[0]["gicon"], "media-playback-stop");
    shell.search("ActivateResult", {"stop-recording", QStringList{"finish"}, 0u});

    const auto matched = shell.runner("Match", {"start recording in kasto"});
    EXPECT_EQ(matched.signature(), "a(sssuda{sv})");
    QList<RunnerMatch> matches;
    matched.arguments().value(0).value<QDBusArgument>() >> matches;
    ASSERT_EQ(matches.size(), 1);
    EXPECT_EQ(matches[0].text, "Start Recording");
    EXPECT_EQ(matches[0].relevance, 1);
    EXPECT_EQ(shell.runner("Actions", {}).signature(), "a(sss)");
    shell.runner("Run", {"start-recording", ""});
    shell.runner("Run", {"rm -rf", ""});

    shell.call("app.tolvane.kasto", "/app/tolvane/kasto", "org.freedesktop.Application", "ActivateAction",
               {"toggle-recording", QVariantList(), QVariantMap()});
    EXPECT_EQ(performed, (std::vector<std::string>{"stop-recording", "start-recording", "toggle-recording"}));
}

}  // namespace
}  // namespace kasto::test
