#include "base/PreferenceStore.h"
#include "support/LogLines.h"
#include "support/TestFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <thread>

namespace kasto {
namespace {

namespace fs = std::filesystem;
using test::readFile;

class PreferenceStoreTest : public testing::Test {
protected:
    // The other files beside the store's.
    std::vector<fs::path> filesBeside() const {
        std::vector<fs::path> found;
        for (const auto& entry : fs::directory_iterator(file.parent_path()))
            if (entry.path() != file) found.push_back(entry.path());
        return found;
    }

    const test::TestFolder folder;
    const fs::path file = folder / "kasto/preferences.json";
    const test::LogLines log;
};

TEST_F(PreferenceStoreTest, KeepsValuesAndTheirTypesAcrossLaunches) {
    {
        PreferenceStore store(file);
        store.set("flag", false);
        store.set("one", 1);
        store.set("display", 4294967295u);
        store.set("whole", 60.0);
        store.set("text", "caf\u00e9 \"x\"\n");
        store.set("gone", "soon");
        store.remove("gone");
    }
    const PreferenceStore store(file);
    EXPECT_EQ(store.boolean("flag"), false);
    EXPECT_EQ(store.integer("one"), 1);
    EXPECT_EQ(store.number("one"), 1.0);
    EXPECT_EQ(store.integer("display"), 4294967295);
    EXPECT_EQ(store.number("whole"), 60.0);
    EXPECT_EQ(store.string("text"), "caf\u00e9 \"x\"\n");
    for (const auto key : {"flag", "whole", "text", "gone"}) EXPECT_FALSE(store.integer(key)) << key;
    for (const auto key : {"one", "whole", "text", "gone"}) EXPECT_FALSE(store.boolean(key)) << key;
    EXPECT_FALSE(store.string("one"));
    EXPECT_EQ(filesBeside(), std::vector<fs::path>{});
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0600));
    EXPECT_EQ(fs::status(file.parent_path()).permissions(), fs::perms(0700));
}

TEST_F(PreferenceStoreTest, KeepsWhatItDoesNotKnowAndLinks) {
    const fs::path target = folder / "real.json";
    test::writeFile(target, R"({"big": 18446744073709551615, "deep": {"list": [1, 1.0, null]}, "fps": 60})");
    fs::create_directory(file.parent_path());
    fs::create_symlink("../real.json", file);
    PreferenceStore store(file);
    EXPECT_FALSE(store.integer("big")) << "more than a signed integer holds";
    store.set("fps", 60.0);
    EXPECT_TRUE(fs::is_symlink(file));
    std::string text = readFile(target);
    std::erase_if(text, [](char c) { return c == ' ' || c == '\n'; });
    EXPECT_EQ(text, R"({"big":18446744073709551615,"deep":{"list":[1,1.0,null]},"fps":60.0})");
}

TEST_F(PreferenceStoreTest, SetsADamagedFileAside) {
    fs::create_directory(file.parent_path());
    std::size_t aside = 0;
    for (const std::string damaged : {"", "{\"fps\": 30", "[1, 2]", "{\"fps\": 30,}", "{\"a\": \"\xff\"}"}) {
        test::writeFile(file, damaged);
        PreferenceStore(file).set("fps", 30);
        EXPECT_EQ(PreferenceStore(file).integer("fps"), 30);
        EXPECT_EQ(filesBeside().size(), ++aside);
        ASSERT_EQ(log.all().size(), aside);
        const std::string keptAs = log.all().back().substr(log.all().back().rfind(' ') + 1);
        EXPECT_TRUE(keptAs.starts_with(file.string() + ".damaged-2")) << keptAs;
        EXPECT_EQ(readFile(keptAs), damaged);
    }
}

TEST_F(PreferenceStoreTest, ValuesHoldWhileTheyCannotBeSaved) {
    test::writeFile(file.parent_path(), "a file where the folder should be");
    PreferenceStore store(file);
    for (const int fps : {30, 60, 30}) store.set("fps", fps);
    EXPECT_EQ(store.integer("fps"), 30);
    EXPECT_EQ(log.all().size(), 1u) << "one line per cause";
    fs::remove(file.parent_path());
    store.set("fps", 30);  // unchanged, yet not saved before
    EXPECT_EQ(PreferenceStore(file).integer("fps"), 30);

    PreferenceStore unreadable(file.parent_path());  // a folder
    unreadable.set("fps", 30);
    EXPECT_EQ(unreadable.integer("fps"), 30);
    EXPECT_EQ(PreferenceStore(file).integer("fps"), 30) << "what could not be read is left as it is";
    EXPECT_EQ(log.all().size(), 2u);
}

TEST_F(PreferenceStoreTest, WhatJsonCannotHoldDoesNotHarmTheRest) {
    PreferenceStore store(file);
    store.set("number", 1.5);
    store.set("number", std::numeric_limits<double>::quiet_NaN());
    store.set("outputDir", "/home/\xff");
    store.set("fps", 30);
    EXPECT_EQ(store.number("number"), std::nullopt);
    EXPECT_EQ(store.string("outputDir"), "/home/\xff");
    EXPECT_EQ(readFile(file), "{\n    \"fps\": 30\n}\n");
    store.set("outputDir", "/home");
    EXPECT_EQ(PreferenceStore(file).string("outputDir"), "/home");
}

TEST_F(PreferenceStoreTest, TheFileIsWholeAtEveryMoment) {
    PreferenceStore store(file);
    const std::string values[] = {std::string(60'000, 'a'), std::string(20, 'b')};
    const auto text = [&](int i) { return "{\n    \"text\": \"" + values[i] + "\"\n}\n"; };
    store.set("text", values[0]);
    std::atomic<bool> writing = true;
    std::jthread reader([&] {
        while (writing) {
            const std::string found = readFile(file);
            EXPECT_TRUE(found == text(0) || found == text(1)) << found.size() << " bytes";
        }
    });
    for (int i = 1; i < 250; ++i) store.set("text", values[i % 2]);
    writing = false;
}

TEST_F(PreferenceStoreTest, ManyThreadsReadAndWrite) {
    PreferenceStore store(file);
    std::vector<std::jthread> threads;
    for (const std::string key : {"a", "b", "c"})
        threads.emplace_back([&store, key] {
            for (int i = 1; i <= 30; ++i) store.set(key, i);
        });
    for (std::int64_t last = 0; last < 30;) {
        const auto now = store.integer("a").value_or(0);
        EXPECT_GE(now, last);
        last = now;
    }
    threads.clear();
    const PreferenceStore reopened(file);
    for (const char* key : {"a", "b", "c"}) EXPECT_EQ(reopened.integer(key), 30);
}

}  // namespace
}  // namespace kasto
