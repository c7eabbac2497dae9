#include "base/DebugLog.h"
#include "base/Timestamp.h"
#include "support/LogLines.h"
#include "support/TestFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <sstream>
#include <thread>

namespace kasto {
namespace {

namespace fs = std::filesystem;

TEST(DebugLogTest, WritesWholeLinesInOrderToBothLogs) {
    setenv("TZ", "Asia/Kolkata", 1);
    tzset();
    EXPECT_EQ(isoTimestamp(1'794'853'987), "2026-11-16T18:33:07Z");

    const test::LogLines systemLog;
    const fs::path file = DebugLog::fileLocation();
    fs::remove_all(file.parent_path());
    DebugLog::log("lost from the file");
    DebugLog::flush();
    EXPECT_FALSE(fs::exists(file.parent_path()));

    fs::create_directories(file.parent_path());
    const std::string before = isoTimestamp(std::time(nullptr));
    DebugLog::log("caf\u00e9 \u2014\nfin");
    DebugLog::trimIfHuge();
    DebugLog::flush();
    const std::string content = test::readFile(file);
    EXPECT_GE(content.substr(0, before.size()), before);
    EXPECT_EQ(content.substr(before.size()), " caf\u00e9 \u2014\nfin\n");
    const std::vector<std::string> both{"kasto: lost from the file", "kasto: caf\u00e9 \u2014\nfin"};
    EXPECT_EQ(systemLog.all(), both);

    test::writeFile(file, std::string(1'000'001, 'x'));
    DebugLog::trimIfHuge();
    std::vector<std::jthread> threads;
    for (const std::string thread : {"0", "1", "2"})
        threads.emplace_back([thread] {
            for (int i = 0; i < 100; ++i) DebugLog::log(thread + " " + std::to_string(i));
        });
    threads.clear();
    DebugLog::flush();
    int next[3] = {};
    std::istringstream lines(test::readFile(file));
    for (std::string time, thread, i; lines >> time >> thread >> i;)
        ASSERT_EQ(i, std::to_string(next[std::stoi(thread)]++));
    for (const int count : next) EXPECT_EQ(count, 100);
}

}  // namespace
}  // namespace kasto
