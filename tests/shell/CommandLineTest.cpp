#include "shell/CommandLine.h"

#include <gtest/gtest.h>

namespace kasto {
namespace {

TEST(CommandLineTest, readsOptionsAndUrlsAndNamesWhatItDoesNotUnderstand) {
    using Task = CommandLine::Task;
    const std::vector<std::pair<std::vector<std::string>, CommandLine>> cases{
        {{}, {Task::run, {}, {}}},
        {{"--version"}, {Task::showVersion, {}, {}}},
        {{"--help"}, {Task::showHelp, {}, {}}},
        {{"KASTO://Stop", "kasto:/toggle/"}, {Task::run, {"KASTO://Stop", "kasto:/toggle/"}, {}}},
        {{"--action", "stop-recording", "kasto:record"}, {Task::run, {"kasto:record"}, {"stop-recording"}}},
    };
    for (const auto& [arguments, expected] : cases)
        EXPECT_EQ(parseCommandLine(arguments).value(), expected) << testing::PrintToString(arguments);

    for (const std::string garbage : {"record", "-v", "https://example.org", "", "--version=1", "--action"}) {
        const auto line = parseCommandLine({"kasto:record", garbage});
        ASSERT_FALSE(line) << garbage;
        EXPECT_EQ(line.error().description, "not an option or a kasto URL: " + garbage);
    }
}

}  // namespace
}  // namespace kasto
