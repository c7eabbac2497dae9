#include "base/files/HomeFolders.h"
#include "support/TestFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace kasto {
namespace {

namespace fs = std::filesystem;

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
