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
    std::string content() {
        std::string text = readFile(file);
        std::erase_if(text, [](char c) { return c == ' ' || c == '\n'; });
        return text;
    }

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
    store.set("fps", 30.0);
    store.set("half", 0.5);
    store.set("text", "caf\u00e9 \"x\"\n");
    store.set("gone", std::numeric_limits<double>::quiet_NaN());
    store.flush();
    EXPECT_TRUE(fs::is_symlink(file));
    EXPECT_EQ(content(),
              R"({"big":18446744073709551615,"deep":{"list":[1,1.0,null]},"flag":false,"fps":30.0,)"
              "\"half\":0.5,\"text\":\"caf\u00e9\\\"x\\\"\\n\"}");
    const PreferenceStore reopened(file);
    EXPECT_EQ(reopened.integer("fps"), 30);
    EXPECT_EQ(reopened.number("fps"), 30.0);
    for (const auto key : {"big", "flag", "half", "text", "gone"}) EXPECT_FALSE(reopened.integer(key)) << key;
    for (const auto key : {"fps", "text"}) EXPECT_FALSE(reopened.boolean(key)) << key;
    EXPECT_FALSE(reopened.string("fps"));
}

TEST_F(PreferenceStoreTest, SetsADamagedFileAside) {
    fs::create_directory(file.parent_path());
    const std::string nested = R"({"a": )" + std::string(100'000, '[') + std::string(100'000, ']') + "}";
    std::size_t aside = 0;
    for (const std::string& damaged : {std::string(), std::string("{\"fps\": 30"), std::string("[1, 2]"),
                                       std::string("{\"a\": \"\xff\"}"), nested}) {
        test::writeFile(file, damaged);
        PreferenceStore(file).set("fps", 30);
        EXPECT_EQ(PreferenceStore(file).integer("fps"), 30);
        ASSERT_EQ(log.all().size(), ++aside);
        const std::string keptAs = log.all().back().substr(log.all().back().rfind(' ') + 1);
        EXPECT_TRUE(keptAs.starts_with(file.string() + ".damaged-2")) << keptAs;
        EXPECT_EQ(readFile(keptAs), damaged);
    }
}

TEST_F(PreferenceStoreTest, ChangesOneKeyOfAFileThatOthersChangeToo) {
    PreferenceStore store(file), other(file);
    std::vector<std::string> told;
    const auto observation = store.observe([&](std::string_view key) { told.emplace_back(key); });
    store.set("mine", 1);
    store.flush();
    other.set("theirs", 2);
    other.flush();
    EXPECT_EQ(content(), R"({"mine":1,"theirs":2})");
    store.set("mine", 3);
    store.flush();
    EXPECT_EQ(content(), R"({"mine":3,"theirs":2})");
    EXPECT_EQ(store.integer("theirs"), std::nullopt);

    store.readAgain();
    EXPECT_EQ(store.integer("theirs"), 2);
    test::writeFile(file, R"({"mine": 3, "theirs": )");  // an editor is about to write the rest
    store.readAgain();
    test::writeFile(file, R"({"theirs": 2, "hand": true})");
    store.readAgain();
    EXPECT_EQ(store.boolean("hand"), true);
    EXPECT_EQ(store.integer("mine"), std::nullopt);
    EXPECT_EQ(told, (std::vector<std::string>{"mine", "mine", "theirs", "hand", "mine"}));
    EXPECT_TRUE(log.all().empty());
}

TEST_F(PreferenceStoreTest, ValuesHoldWhileTheyCannotBeSaved) {
    test::writeFile(file.parent_path(), "a file where the folder should be");
    PreferenceStore store(file);
    for (const int fps : {30, 60, 30}) {
        store.set("fps", fps);
        store.flush();
    }
    EXPECT_EQ(log.all().size(), 1u) << "one line per cause";
    fs::remove(file.parent_path());
    store.set("fps", 30);  // unchanged, yet not saved before
    store.set("outputDir", "/home/\xff");
    store.flush();
    EXPECT_EQ(store.string("outputDir"), "/home/\xff");
    EXPECT_EQ(content(), R"({"fps":30})") << "what JSON cannot hold does not harm the rest";

    PreferenceStore unreadable(file.parent_path());  // a folder
    unreadable.set("fps", 60);
    EXPECT_EQ(unreadable.integer("fps"), 60);
    EXPECT_EQ(log.all().size(), 3u) << "the text that is not UTF-8 and the folder";
}

TEST_F(PreferenceStoreTest, ManyThreadsWriteAFileThatIsWholeAtEveryMoment) {
    {
        PreferenceStore store(file);
        store.set("text", std::string(60'000, 'x'));
        store.flush();
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
    }
    const PreferenceStore reopened(file);
    for (const char* key : {"a", "b", "c"}) EXPECT_EQ(reopened.integer(key), 100);
    EXPECT_EQ(std::distance(fs::directory_iterator(file.parent_path()), {}), 1);
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0600));
    EXPECT_EQ(fs::status(file.parent_path()).permissions(), fs::perms(0700));
}

}  // namespace
}  // namespace kasto
