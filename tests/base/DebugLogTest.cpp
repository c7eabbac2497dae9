#include "base/log/DebugLog.h"
#include "base/log/Timestamp.h"
#include "support/LogLines.h"
#include "support/TestFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <ctime>

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
    DebugLog::log("fin");
    DebugLog::flush();
    EXPECT_EQ(fs::file_size(file), before.size() + 5);

    fs::remove(file);
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    DebugLog::log("not into a pipe, where it would wait for a reader");
    DebugLog::flush();
}

}  // namespace
}  // namespace kasto
