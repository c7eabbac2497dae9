#pragma once

#include "base/Result.h"

#include <string>
#include <string_view>
#include <vector>

namespace kasto {

inline constexpr std::string_view kUsage =
    "usage: kasto [--help] [--version] [--action ACTION] [URL…]\n"
    "\n"
    "Records the screen. Without a URL, starts and waits for one; with URLs, hands them to the kasto\n"
    "that is running, or runs them itself if none is.\n"
    "\n"
    "  kasto:record   start a take\n"
    "  kasto:stop     stop it\n"
    "  kasto:toggle   start a take, or stop the one that runs\n"
    "  kasto:settings show the settings, or hide them\n"
    "\n"
    "--action runs start-recording, stop-recording or toggle-recording the same way, as automations do.\n";

// What a start of the program was asked for.
struct CommandLine {
    enum class Task { run, showHelp, showVersion };

    Task task = Task::run;
    std::vector<std::string> urls;
    std::vector<std::string> actions;  // identifiers, as given
};

// Reads the arguments, without the program's name. Fails on anything but an option or a kasto URL, and on an
// action that does not exist.
Result<CommandLine> parseCommandLine(const std::vector<std::string>& arguments);

// True if all that is asked for is to stop a take. Where no kasto runs, there is nothing to do then.
bool onlyStops(const CommandLine& line);

}  // namespace kasto
