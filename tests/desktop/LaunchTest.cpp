// Starts of the program: the first one, the second one, and those that cannot be.

#include "desktop/DesktopSession.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>

#include <csignal>

namespace kasto::test {
namespace {

TEST(LaunchTest, refusesWhatItCannotDoBeforeItStarts) {
    const std::vector<std::tuple<std::string, std::string, std::string>> cases{
        {"", "record", "kasto: not an option or a kasto URL: record\n2\n"},
        {"DISPLAY=:987 ", "kasto:record", "1\n"},
        {"DISPLAY= ", "", "1\n"},
        {"DISPLAY= ", "--version", "kasto " KASTO_VERSION "\n0\n"},
    };
    for (const auto& [environment, argument, end] : cases) {
        const auto output = outputOf(environment + KASTO " " + argument + " 2>&1; echo $?");
        EXPECT_TRUE(output.ends_with(end)) << output;
        EXPECT_TRUE(output.starts_with("kasto")) << output;
        EXPECT_EQ(output.find("qt.qpa"), std::string::npos) << output;
    }
}

TEST(LaunchTest, runsOncePerSession) {
    const DesktopSession desktop;
    auto first = desktop.startKasto();
    EXPECT_EQ(desktop.run({KASTO}), 0);
    EXPECT_EQ(desktop.run({KASTO, "kasto:Nonsense", "kasto://settings"}), 0);
    EXPECT_TRUE(desktop.waitForLog(" url command: nonsense"));
    EXPECT_TRUE(desktop.waitForLog(" url command: settings"));
    EXPECT_EQ(desktop.timesLogged(" launched " KASTO_VERSION ", screenAccess=true ax=false"), 1u);
    first.end();
    auto next = desktop.startKasto();
    EXPECT_EQ(desktop.timesLogged(" launched "), 2u);
}

TEST(LaunchTest, runsAloneWithoutASessionBus) {
    const DesktopSession desktop;
    auto kasto = desktop.start({KASTO, "kasto://hello"}, {"DBUS_SESSION_BUS_ADDRESS=unix:path=/nowhere"});
    EXPECT_TRUE(desktop.waitForLog(" url command: hello"));
    EXPECT_EQ(desktop.timesLogged(" runs alone: session bus: "), 1u);
    ASSERT_EQ(::kill(kasto.pid(), SIGTERM), 0);
    EXPECT_EQ(kasto.wait(), 0);
}

TEST(LaunchTest, setsADamagedPreferenceFileAside) {
    const DesktopSession desktop;
    const auto folder = desktop.home() / ".config/kasto";
    std::filesystem::create_directories(folder);
    writeFile(folder / "preferences.json", "{\"fps\": 30,");
    auto kasto = desktop.startKasto();
    ASSERT_EQ(desktop.run({KASTO, "kasto:record"}), 0);
    ASSERT_TRUE(desktop.waitForLog(" recording "));
    std::string kept;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.path().filename().string().starts_with("preferences.json.damaged-"))
            kept = readFile(entry.path());
    EXPECT_EQ(kept, "{\"fps\": 30,");
}

}  // namespace
}  // namespace kasto::test
