// Starts of the program: the first one, the second one, and those that cannot be.

#include "desktop/DesktopSession.h"

#include <gtest/gtest.h>

#include <csignal>

namespace kasto::test {
namespace {

TEST(LaunchTest, refusesWhatItCannotDoBeforeItStarts) {
    const std::vector<std::tuple<std::string, std::string, std::string>> cases{
        {"", "record", "kasto: not an option or a kasto URL: record\n2\n"},
        {"", "kasto:record --action", "kasto: not an option or a kasto URL: --action\n2\n"},
        {"", "https://example.org", "kasto: not an option or a kasto URL: https://example.org\n2\n"},
        {"DISPLAY=:987 ", "KASTO://Stop", "kasto: no X server at display :987\n1\n"},
        {"DISPLAY=:987 ", "--action stop-recording", "kasto: no X server at display :987\n1\n"},
        {"", "--action nonsense", "kasto: not an action: nonsense\n2\n"},
        {"DISPLAY= ", "-session 1_2", "1\n"},
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

}  // namespace
}  // namespace kasto::test
