#include "base/HomeFolders.h"
#include "base/PreferenceStore.h"
#include "base/Prefs.h"
#include "support/TestFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace kasto {
namespace {

namespace fs = std::filesystem;

TEST(PrefsTest, WritesTheRegionSoThatItReadsBack) {
    PreferenceStore& store = Prefs::store();
    const Rect rect{-0.1, 1.0 / 3, 1e21, 5e-324};
    Prefs::setRegionRect(rect);
    EXPECT_EQ(store.string("regionRect"),
              "-0.1,0.3333333333333333,1000000000000000000000.0,0." + std::string(323, '0') + "5");
    EXPECT_EQ(Prefs::regionRect(), rect);
    Prefs::setRegionRect(std::nullopt);
    EXPECT_EQ(Prefs::regionRect(), std::nullopt);

    const std::pair<const char*, std::optional<Rect>> read[] = {
        {"10,20,300", {}},
        {"10,20,300,200,5", {}},
        {",10,,20x,a,20,300,200,", Rect{10, 20, 300, 200}},
        {"nan,inf,1e999,+10.0,2e1,300.,200", Rect{10, 20, 300, 200}},
        {"+-10,20,300,200", {}}};
    for (const auto& [text, expected] : read) {
        store.set("regionRect", text);
        EXPECT_EQ(Prefs::regionRect(), expected) << text;
    }
    store.set("regionDisplayID", 4294967295.0);
    EXPECT_EQ(Prefs::regionDisplayID(), 4294967295u);
    store.set("regionDisplayID", 4294967296.0);
    EXPECT_EQ(Prefs::regionDisplayID(), std::nullopt);
}

TEST(HomeFoldersTest, FindsTheMoviesFolder) {
    const fs::path home = homeFolder();
    const std::pair<const char*, fs::path> rows[] = {
        {"XDG_VIDEOS_DIR=\"$HOME/Vid\u00e9os\"\n", home / "Vid\u00e9os"},
        {"XDG_VIDEOS_DIR=\"/first\"\n  XDG_VIDEOS_DIR = \"/mnt/my \\\"films\\\"/\" # mine",
         "/mnt/my \"films\""},
        {"#XDG_VIDEOS_DIR=\"/a\"\nXDG_VIDEOS_DIRS=\"/b\"\nXDG_VIDEOS_DIR=\"$HOME/\"\n", home / "Movies"},
        {"XDG_VIDEOS_DIR=\"$HOMER/x\"\nXDG_VIDEOS_DIR=\"films\"\nXDG_VIDEOS_DIR=\"/open\n", home / "Movies"},
    };
    const test::TestFolder config;
    setenv("XDG_CONFIG_HOME", config.path().c_str(), 1);
    for (const auto& [userDirs, expected] : rows) {
        test::writeFile(config / "user-dirs.dirs", userDirs);
        EXPECT_EQ(moviesFolder(), expected) << userDirs;
    }
}

}  // namespace
}  // namespace kasto
