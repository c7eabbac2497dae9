// Every way to start and stop a take, one after the other on one desktop, with options changed in between.

#include "desktop/DesktopSession.h"
#include "support/MovieProbe.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>

namespace kasto::test {
namespace {

class TriggersTest : public testing::Test {
protected:
    using Command = std::vector<std::string>;

    static Command runnerRuns(const std::string& action) {
        return {"dbus-send",        "--session",
                "--print-reply",    "--dest=app.tolvane.kasto.search",
                "/runner",          "org.kde.krunner1.Run",
                "string:" + action, "string:"};
    }

    DesktopSession desktop;
};

TEST_F(TriggersTest, eachStartsOrStopsATakeAndTheLogTellsIt) {
    const auto scene = desktop.showScene();
    auto kasto = desktop.startKasto();

    const Command hotKey{"xdotool", "key", "ctrl+alt+super+r"};
    const std::pair<Command, Command> takes[] = {
        {hotKey, {KASTO, "kasto://toggle"}},
        {{KASTO, "kasto://START"}, runnerRuns("stop-recording")},
        {runnerRuns("start-recording"), {KASTO, "--action", "stop-recording"}},
        {{KASTO, "--action", "toggle-recording"}, hotKey},
    };
    std::size_t count = 0;
    for (const auto& [start, stop] : takes) {
        EXPECT_EQ(desktop.run({KASTO, "--action", "stop-recording"}), 0);  // nothing to stop yet
        ASSERT_EQ(desktop.run(start), 0) << count;
        ++count;
        ASSERT_TRUE(desktop.waitForLog(" recording ", count)) << count;
        // A press, a zoom and a pan. A view that fills the screen cannot be panned, so the zoom comes first.
        EXPECT_EQ(desktop.xdotool({"mousemove", "400", "300", "click", "1", "keydown", "ctrl", "keydown",
                                   "alt", "click", "4", "click", "4", "click", "4", "keyup", "ctrl"}),
                  0);
        EXPECT_TRUE(desktop.waitForLog(" model zoom visible (", count)) << count;
        EXPECT_EQ(desktop.xdotool({"click", "5", "keyup", "alt"}), 0);
        ASSERT_EQ(desktop.run(stop), 0) << count;
        ASSERT_TRUE(desktop.waitForLog(" stopped → kasto-", count)) << count;
    }
    for (const auto* line :
         {" audio(sys) flowing", " ctrl-opt scroll zoom applied", " opt-scroll pan applied"})
        EXPECT_TRUE(desktop.waitForLog(line)) << line;
    EXPECT_EQ(desktop.timesLogged(" url command: start"), 1u);
    EXPECT_EQ(desktop.movies().size(), count);
    for (const auto& movie : desktop.movies()) EXPECT_EQ(MovieProbe(movie).complaints(), "") << movie;
}

TEST_F(TriggersTest, optionsOutliveTheProgram) {
    const auto scene = desktop.showScene();
    auto kasto = desktop.startKasto();
    ASSERT_TRUE(desktop.startTake());  // the first change is made while a take runs
    // A click on the first row of the settings ("show clicks") changes it, Escape closes the window.
    const auto isShown = [&] {
        return desktop.xdotool({"search", "--onlyvisible", "--name", "^kasto settings$"}) == 0;
    };
    for (const auto* expected : {"\"showClicks\": false", "\"showClicks\": true", "\"showClicks\": false"}) {
        ASSERT_EQ(desktop.command("settings"), 0);
        ASSERT_TRUE(waitUntil(isShown));
        ASSERT_EQ(desktop.run({"sh", "-c",
                               "xdotool mousemove --window $(xdotool search --onlyvisible --name '^kasto "
                               "settings$' | head -1) "
                               "480 120 click 1"}),
                  0);
        EXPECT_TRUE(waitUntil([&] {
            return readFile(desktop.home() / ".config/kasto/preferences.json").find(expected) !=
                   std::string::npos;
        })) << expected;
        ASSERT_EQ(desktop.xdotool({"key", "Escape"}), 0);
        ASSERT_TRUE(waitUntil([&] { return !isShown(); }));
        kasto.end();
        kasto = desktop.startKasto();
    }
    ASSERT_EQ(desktop.movies().size(), 1u);
    EXPECT_EQ(MovieProbe(desktop.movies().front()).complaints(), "");
}

}  // namespace
}  // namespace kasto::test
