#pragma once

#include <filesystem>
#include <string_view>

namespace kasto {

// The program's one diagnostic channel: each line goes to the system log at once and, in the background, to
// the plain-text file Library/Logs/kasto.log under the home folder.
//
// Any thread, up to the very end of the process; nothing here fails towards the caller. A line that cannot be
// written to the file (no folder, no space, no permission) is lost from the file only. File and queue are
// made on first use.
class DebugLog {
public:
    // Logs one line: "kasto: " and the message to the system log; an ISO 8601 UTC time, a space and the
    // message to the file. The time is that of the call; the file keeps the order of the calls.
    static void log(std::string_view message);

    // Deletes a file of more than 1,000,000 bytes before any line logged after this call is written.
    static void trimIfHuge();

    // Returns when every line logged so far is in the file; for the end of the process and for tests. Not on
    // the log's own queue.
    static void flush();

    // Where the file is. Its folder is not made here.
    static const std::filesystem::path& fileLocation();
};

}  // namespace kasto
