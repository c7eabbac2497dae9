#include "base/DebugLog.h"
#include "base/LogFile.h"
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

// The process-wide log in the test program's home, without a file but with its folder.
class DebugLogTest : public testing::Test {
protected:
    DebugLogTest() {
        fs::remove_all(file.parent_path());
        fs::create_directories(file.parent_path());
    }

    const fs::path file = DebugLog::fileLocation();
    const test::LogLines systemLog;
};

TEST_F(DebugLogTest, WritesALineAsGivenToBothLogs) {
    const std::string before = isoTimestamp(std::time(nullptr));
    DebugLog::log("caf\u00e9 \u2014\nfin");
    const std::string after = isoTimestamp(std::time(nullptr));
    DebugLog::flush();
    const std::string content = test::readFile(file);
    const std::string time = content.substr(0, before.size());
    EXPECT_TRUE(before <= time && time <= after) << time;
    EXPECT_EQ(content, time + " caf\u00e9 \u2014\nfin\n");

    fs::remove_all(file.parent_path());
    DebugLog::log("lost from the file");
    DebugLog::flush();
    EXPECT_FALSE(fs::exists(file.parent_path()));
    const std::vector<std::string> both{"kasto: caf\u00e9 \u2014\nfin", "kasto: lost from the file"};
    EXPECT_EQ(systemLog.all(), both);
}

TEST_F(DebugLogTest, LinesOfManyThreadsStayWholeAndInOrderAfterTrimming) {
    DebugLog::log(std::string(LogFile::kMostBytes, 'x'));
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

TEST(LogFileTest, OnlyAHugeFileIsDeleted) {
    const test::TestFolder folder;
    const LogFile log(folder / "kasto.log");
    for (const auto& [bytes, survives] : {std::pair(0, true), {1'000'000, true}, {1'000'001, false}}) {
        test::writeFile(log.location(), std::string(static_cast<std::size_t>(bytes), 'x'));
        log.trimIfHuge();
        EXPECT_EQ(fs::exists(log.location()), survives) << bytes;
    }
}

TEST(TimestampTest, IsInUtcWhereverTheUserIs) {
    setenv("TZ", "Asia/Kolkata", 1);
    tzset();
    EXPECT_EQ(isoTimestamp(1'794'853'987), "2026-11-16T18:33:07Z");
}

}  // namespace
}  // namespace kasto
