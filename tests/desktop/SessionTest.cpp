// The program as a client of the session's manager.

#include "desktop/DesktopSession.h"
#include "desktop/SessionManager.h"
#include "support/MovieProbe.h"

#include <gtest/gtest.h>

namespace kasto::test {
namespace {

TEST(SessionTest, onlyTheEndOfTheSessionEndsATake) {
    const DesktopSession desktop;
    SessionManager session;
    const auto scene = desktop.showScene();
    auto kasto = desktop.start({KASTO}, {session.variable()});
    ASSERT_TRUE(session.waitForClient());
    ASSERT_TRUE(desktop.waitForLog(" launched "));
    ASSERT_EQ(desktop.command("record"), 0);
    ASSERT_TRUE(desktop.waitForLog(" recording "));
    EXPECT_TRUE(session.save(false));
    EXPECT_TRUE(session.save(true));
    session.cancelShutdown();
    EXPECT_EQ(desktop.timesLogged(" stopped "), 0u);
    ASSERT_EQ(desktop.command("toggle"), 0);
    ASSERT_TRUE(desktop.waitForLog(" stopped "));
    ASSERT_EQ(desktop.command("toggle"), 0);
    ASSERT_TRUE(desktop.waitForLog(" recording ", 2));
    ASSERT_EQ(desktop.xdotool({"mousemove", "400", "300", "sleep", "0.4"}), 0);

    EXPECT_TRUE(session.save(true));
    session.die();
    EXPECT_EQ(kasto.wait(), 0);
    EXPECT_EQ(desktop.timesLogged(" stopped → kasto-"), 2u);
    for (const auto& movie : desktop.movies()) EXPECT_EQ(MovieProbe(movie).complaints(), "") << movie;

    ASSERT_GE(session.restartCommand().size(), 3u);
    const auto restored = desktop.start(session.restartCommand());
    EXPECT_TRUE(desktop.waitForLog(" launched ", 2)) << "the next session brings it back";
}

}  // namespace
}  // namespace kasto::test
