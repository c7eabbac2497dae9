#include "shell/CommandLine.h"

#include <gtest/gtest.h>

namespace kasto {
namespace {

using Task = CommandLine::Task;
using Arguments = std::vector<std::string>;

TEST(CommandLineTest, readsOptionsAndUrls) {
    const std::vector<std::pair<Arguments, CommandLine>> cases{
        {{}, {Task::run, {}}},
        {{"--version"}, {Task::showVersion, {}}},
        {{"--help"}, {Task::showHelp, {}}},
        {{"kasto:record"}, {Task::run, {"kasto:record"}}},
        {{"KASTO://Stop", "kasto:/toggle/"}, {Task::run, {"KASTO://Stop", "kasto:/toggle/"}}},
    };
    for (const auto& [arguments, expected] : cases) {
        const auto line = parseCommandLine(arguments);
        ASSERT_TRUE(line) << testing::PrintToString(arguments);
        EXPECT_EQ(*line, expected) << testing::PrintToString(arguments);
    }
}

TEST(CommandLineTest, namesWhatItDoesNotUnderstand) {
    for (const std::string garbage : {"record", "-v", "https://example.org", "", "--version=1"}) {
        const auto line = parseCommandLine({"kasto:record", garbage});
        ASSERT_FALSE(line) << garbage;
        EXPECT_EQ(line.error().description, "not an option or a kasto URL: " + garbage);
    }
}

}  // namespace
}  // namespace kasto
