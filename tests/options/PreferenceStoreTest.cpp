#include "options/PreferenceStore.h"
#include "support/LogLines.h"
#include "support/TestFolder.h"

#include <gtest/gtest.h>

#include <limits>
#include <thread>

namespace kasto {
namespace {

namespace fs = std::filesystem;
using test::readFile;

class PreferenceStoreTest : public testing::Test {
protected:
    const test::TestFolder folder;
    const fs::path file = folder / "kasto/preferences.json";
    const test::LogLines log;
};

TEST_F(PreferenceStoreTest, KeepsTypesAndWhatItDoesNotKnowAndLinks) {
    const fs::path target = folder / "real.json";
    test::writeFile(target, R"({"big": 18446744073709551615, "deep": {"list": [1, 1.0, null]}, "fps": 60})");
    fs::create_directory(file.parent_path());
    fs::create_symlink("../real.json", file);
    PreferenceStore store(file);
    store.set("flag", false);
    store.set("fps", 60.0);
    store.set("one", 1);
    store.set("text", "caf\u00e9 \"x\"\n");
    store.set("gone", std::numeric_limits<double>::quiet_NaN());
    EXPECT_TRUE(fs::is_symlink(file));
    std::string text = readFile(target);
    std::erase_if(text, [](char c) { return c == ' ' || c == '\n'; });
    EXPECT_EQ(text, R"({"big":18446744073709551615,"deep":{"list":[1,1.0,null]},"flag":false,"fps":60.0,)"
                    "\"one\":1,\"text\":\"caf\u00e9\\\"x\\\"\\n\"}");
    const PreferenceStore reopened(file);
    EXPECT_EQ(reopened.number("one"), 1.0);
    for (const auto key : {"big", "flag", "fps", "text", "gone"}) EXPECT_FALSE(reopened.integer(key)) << key;
    for (const auto key : {"one", "text"}) EXPECT_FALSE(reopened.boolean(key)) << key;
    EXPECT_FALSE(reopened.string("one"));
}

TEST_F(PreferenceStoreTest, SetsADamagedFileAside) {
    fs::create_directory(file.parent_path());
    std::size_t aside = 0;
    for (const std::string damaged : {"", "{\"fps\": 30", "[1, 2]", "{\"a\": \"\xff\"}"}) {
        test::writeFile(file, damaged);
        PreferenceStore(file).set("fps", 30);
        EXPECT_EQ(PreferenceStore(file).integer("fps"), 30);
        ASSERT_EQ(log.all().size(), ++aside);
        const std::string keptAs = log.all().back().substr(log.all().back().rfind(' ') + 1);
        EXPECT_TRUE(keptAs.starts_with(file.string() + ".damaged-2")) << keptAs;
        EXPECT_EQ(readFile(keptAs), damaged);
    }
}

TEST_F(PreferenceStoreTest, ValuesHoldWhileTheyCannotBeSaved) {
    test::writeFile(file.parent_path(), "a file where the folder should be");
    PreferenceStore store(file);
    for (const int fps : {30, 60, 30}) store.set("fps", fps);
    EXPECT_EQ(log.all().size(), 1u) << "one line per cause";
    fs::remove(file.parent_path());
    store.set("fps", 30);  // unchanged, yet not saved before
    EXPECT_TRUE(fs::exists(file));
    store.set("outputDir", "/home/\xff");
    EXPECT_EQ(store.string("outputDir"), "/home/\xff");
    EXPECT_EQ(readFile(file), "{\n    \"fps\": 30\n}\n") << "what JSON cannot hold does not harm the rest";

    PreferenceStore unreadable(file.parent_path());  // a folder
    unreadable.set("fps", 60);
    EXPECT_EQ(unreadable.integer("fps"), 60);
    EXPECT_EQ(log.all().size(), 3u) << "the text that is not UTF-8 and the folder";
}

TEST_F(PreferenceStoreTest, ManyThreadsWriteAFileThatIsWholeAtEveryMoment) {
    PreferenceStore store(file);
    store.set("text", std::string(60'000, 'x'));
    std::vector<std::jthread> threads;
    for (const std::string key : {"a", "b", "c"})
        threads.emplace_back([&store, key] {
            for (int i = 1; i <= 100; ++i) store.set(key, i);
        });
    for (std::int64_t last = 0; last < 100;) {
        const auto now = store.integer("a").value_or(0);
        EXPECT_GE(now, last);
        last = now;
        EXPECT_TRUE(PreferenceStore(file).string("text"));
    }
    threads.clear();
    const PreferenceStore reopened(file);
    for (const char* key : {"a", "b", "c"}) EXPECT_EQ(reopened.integer(key), 100);
    EXPECT_EQ(std::distance(fs::directory_iterator(file.parent_path()), {}), 1);
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0600));
    EXPECT_EQ(fs::status(file.parent_path()).permissions(), fs::perms(0700));
}

}  // namespace
}  // namespace kasto
