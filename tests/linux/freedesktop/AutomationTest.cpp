#include "linux/freedesktop/BusApplication.h"
#include "linux/freedesktop/automation/DBusAutomation.h"
#include "linux/freedesktop/automation/DBusRunningInstance.h"
#include "linux/freedesktop/automation/SearchAdaptors.h"
#include "linux/freedesktop/automation/ShortcutSearch.h"

namespace kasto::test {

using namespace freedesktop;
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

TEST(DBusAutomationTest, offersShortcutsToSearchesAndRunsActions) {
    std::vector<std::string> performed;
    DBusRunningInstance instance;
    DBusAutomation automation(instance);
    automation.offer(kShortcuts, [&](const std::string& action) { performed.push_back(action); });
    ASSERT_TRUE(instance.claim().value());
    const auto bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "shell");
    const QString service = "app.tolvane.kasto.search";
    const BusPeer search{bus, service, "/search", "org.gnome.Shell.SearchProvider2"};
    const BusPeer runner{bus, service, "/runner", "org.kde.krunner1"};

    EXPECT_EQ(search.ask("GetInitialResultSet", {QStringList{"finish", "kasto"}}),
              QStringList{"stop-recording"});
    QList<QVariantMap> metas;
    search.ask("GetResultMetas", {QStringList{"stop-recording", "unknown"}}).value<QDBusArgument>() >> metas;
    ASSERT_EQ(metas.size(), 1);
    EXPECT_EQ(metas[0]["name"], "Stop Recording");
    EXPECT_EQ(metas[0]["gicon"], "media-playback-stop");
    search.call("ActivateResult", {"stop-recording", QStringList{"finish"}, 0u});

    const auto matched = runner.call("Match", {"start recording in kasto"});
    EXPECT_EQ(matched.signature(), "a(sssuda{sv})");
    QList<RunnerMatch> matches;
    matched.arguments().value(0).value<QDBusArgument>() >> matches;
    ASSERT_EQ(matches.size(), 1);
    EXPECT_EQ(matches[0].text, "Start Recording");
    EXPECT_EQ(matches[0].relevance, 1);
    EXPECT_EQ(runner.call("Actions").signature(), "a(sss)");
    for (const auto* run : {"start-recording", "rm -rf"}) runner.call("Run", {run, ""});

    const BusPeer application{bus, "app.tolvane.kasto", "/app/tolvane/kasto", "org.freedesktop.Application"};
    application.call("ActivateAction", {"toggle-recording", QVariantList(), QVariantMap()});
    EXPECT_EQ(performed, (std::vector<std::string>{"stop-recording", "start-recording", "toggle-recording"}));
}

}  // namespace
}  // namespace kasto::test
