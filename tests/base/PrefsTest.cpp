#include "base/HomeFolders.h"
#include "base/PreferenceStore.h"
#include "base/Prefs.h"
#include "support/TestFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace kasto {
namespace {

namespace fs = std::filesystem;

struct Flag {
    const char* key;
    bool (*read)();
    bool byDefault;
};

constexpr Flag kFlags[] = {
    {"showClicks", Prefs::showClicks, true},   {"showMarquee", Prefs::showMarquee, true},
    {"pipEnabled", Prefs::pipEnabled, true},   {"roundCamera", Prefs::roundCamera, true},
    {"cloudKastos", Prefs::cloudKastos, true}, {"captureSystemSound", Prefs::captureSystemSound, true},
    {"captureMic", Prefs::captureMic, false},  {"convertMP4", Prefs::convertMP4, false},
    {"invertPan", Prefs::invertPan, false},
};

constexpr const char* kOthers[] = {"fps", "regionRect", "regionDisplayID", "outputDir", "cameraID"};

class PrefsTest : public testing::Test {
protected:
    ~PrefsTest() override {
        for (const auto& flag : kFlags) store.remove(flag.key);
        for (const char* key : kOthers) store.remove(key);
    }

    static void expectDefaults() {
        for (const auto& flag : kFlags) EXPECT_EQ(flag.read(), flag.byDefault) << flag.key;
        EXPECT_EQ(Prefs::fps(), 60);
        EXPECT_EQ(Prefs::regionRect(), std::nullopt);
        EXPECT_EQ(Prefs::regionDisplayID(), std::nullopt);
        EXPECT_EQ(Prefs::outputDir(), std::nullopt);
        EXPECT_EQ(Prefs::cameraID(), std::nullopt);
    }

    PreferenceStore& store = Prefs::store();
};

TEST_F(PrefsTest, EachOptionReadsItsOwnKeyElseItsDefault) {
    expectDefaults();
    EXPECT_FALSE(fs::exists(store.file())) << "reading stores nothing";
    for (const auto& flag : kFlags) store.set(flag.key, flag.byDefault ? "false" : "true");
    for (const char* key : kOthers) store.set(key, true);
    expectDefaults();
    store.set("fps", std::int64_t{1} << 40);
    EXPECT_EQ(Prefs::fps(), 60);

    for (const auto& flag : kFlags) {
        store.set(flag.key, !flag.byDefault);
        EXPECT_EQ(flag.read(), !flag.byDefault) << flag.key;
    }
    store.set("fps", 30);
    EXPECT_EQ(Prefs::fps(), 30);
    store.set("cameraID", "usb-1");
    EXPECT_EQ(Prefs::cameraID(), "usb-1");
    Prefs::setOutputDir("/films/new");
    EXPECT_EQ(store.string("outputDir"), "/films/new");
    EXPECT_EQ(Prefs::outputDir(), "/films/new");
    Prefs::setOutputDir(std::nullopt);
    EXPECT_EQ(Prefs::outputDir(), std::nullopt);
}

TEST_F(PrefsTest, ReadsTheRegion) {
    const Rect rect{10, 20, 300, 200};
    const std::pair<const char*, std::optional<Rect>> rows[] = {{"10,20,300,200", rect},
                                                                {"10,20,300", {}},
                                                                {"10,20,300,200,5", {}},
                                                                {",10,,20,300,200,", rect},
                                                                {"a,10,20,300,200", rect},
                                                                {"10,20x,300,200", {}},
                                                                {"nan,inf,1e999,+10.0,2e1,300.,200", rect},
                                                                {"-10,20,300,200", Rect{-10, 20, 300, 200}},
                                                                {"+-10,20,300,200", {}}};
    for (const auto& [text, expected] : rows) {
        store.set("regionRect", text);
        EXPECT_EQ(Prefs::regionRect(), expected) << text;
    }
    const std::pair<double, std::optional<DisplayId>> displays[] = {
        {4294967295, 4294967295u}, {69, 69u}, {-1, {}}, {4294967296, {}}};
    for (const auto& [number, expected] : displays) {
        store.set("regionDisplayID", number);
        EXPECT_EQ(Prefs::regionDisplayID(), expected) << number;
    }
}

TEST_F(PrefsTest, WritesTheRegionSoThatItReadsBack) {
    const std::pair<Rect, std::string> rows[] = {
        {{120, 45.5, 800, 600}, "120.0,45.5,800.0,600.0"},
        {{-0.1, 1.0 / 3, 1e21, 1e-7}, "-0.1,0.3333333333333333,1000000000000000000000.0,0.0000001"},
        {{5e-324, 0.1 + 0.2, -1.7976931348623157e308, 1}, "0." + std::string(323, '0') + "5,0.30"}};
    for (const auto& [rect, text] : rows) {
        Prefs::setRegionRect(rect);
        EXPECT_TRUE(store.string("regionRect")->starts_with(text)) << *store.string("regionRect");
        EXPECT_EQ(Prefs::regionRect(), rect);
    }
    Prefs::setRegionRect(std::nullopt);
    EXPECT_EQ(store.string("regionRect"), std::nullopt);
}

TEST_F(PrefsTest, MakesItsFolders) {
    const fs::path drive = homeFolder() / "Library/Mobile Documents/com~apple~CloudDocs";
    EXPECT_EQ(Prefs::cloudKastosDir(), std::nullopt);
    EXPECT_FALSE(fs::exists(drive.parent_path()));
    fs::create_directories(drive);
    EXPECT_EQ(Prefs::cloudKastosDir(), drive / "tolvane/kastos");
    EXPECT_TRUE(fs::is_directory(drive / "tolvane/kastos"));

    for (int i = 0; i < 2; ++i) EXPECT_EQ(Prefs::saveDir(), homeFolder() / "Movies/kasto");
    EXPECT_TRUE(fs::is_directory(homeFolder() / "Movies/kasto"));
    fs::remove_all(drive.parent_path());
}

TEST(HomeFoldersTest, FindsTheMoviesFolder) {
    const fs::path home = homeFolder();
    const std::pair<const char*, fs::path> rows[] = {
        {"XDG_VIDEOS_DIR=\"$HOME/Vid\u00e9os\"\n", home / "Vid\u00e9os"},
        {"#XDG_VIDEOS_DIR=\"/a\"\nXDG_VIDEOS_DIRS=\"/b\"\nXDG_MUSIC_DIR=\"/c\"\n", home / "Movies"},
        {"  XDG_VIDEOS_DIR = \"/mnt/my \\\"films\\\"/\" # mine", "/mnt/my \"films\""},
        {"XDG_VIDEOS_DIR=\"/first\"\nXDG_VIDEOS_DIR=\"/last\"\n", "/last"},
        {"XDG_VIDEOS_DIR=\"$HOME/\"\n", home / "Movies"},
        {"XDG_VIDEOS_DIR=\"$HOMER/x\"\n", home / "Movies"},
        {"XDG_VIDEOS_DIR=\"films\"\nXDG_VIDEOS_DIR=\"/open\n", home / "Movies"},
    };
    const test::TestFolder config;
    const std::string before = configFolder();
    setenv("XDG_CONFIG_HOME", config.path().c_str(), 1);
    for (const auto& [userDirs, expected] : rows) {
        test::writeFile(config / "user-dirs.dirs", userDirs);
        EXPECT_EQ(moviesFolder(), expected) << userDirs;
    }
    setenv("XDG_CONFIG_HOME", "relative", 1);
    EXPECT_EQ(configFolder(), home / ".config");
    setenv("XDG_CONFIG_HOME", before.c_str(), 1);
}

}  // namespace
}  // namespace kasto
