#pragma once

#include <filesystem>
#include <string_view>

namespace kasto {

// The program's log. Each line goes to the system log at once and, in the background, to the text file
// Library/Logs/kasto.log in the home folder.
//
// Any thread, until the very end of the process. No operation reports an error: a line that cannot be written
// to the file (no folder, no space, no permission) is only in the system log. The queue is made on first use.
class DebugLog {
public:
    // Logs one line: "kasto: " and the message to the system log; an ISO 8601 UTC time, a space and the
    // message to the file. The time is that of the call; the file keeps the order of the calls.
    static void log(std::string_view message);

    // Deletes a file of more than 1,000,000 bytes before any line logged after this call is written.
    static void trimIfHuge();

    // Returns when every line logged so far is in the file. For the end of the process and for tests.
    static void flush();

    // The path of the file. The log does not make its folder.
    static const std::filesystem::path& fileLocation();
};

}  // namespace kasto
