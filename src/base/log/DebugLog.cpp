#include "base/log/DebugLog.h"

#include "base/SerialQueue.h"
#include "base/files/HomeFolders.h"
#include "base/log/LogFile.h"
#include "base/log/SystemLog.h"
#include "base/log/Timestamp.h"

#include <ctime>
#include <string>

namespace kasto {

namespace {

struct Channel {
    LogFile file{homeFolder() / "Library/Logs/kasto.log"};
    SerialQueue queue{"app.tolvane.kasto.log", QueuePriority::utility};
};

// Never destroyed, because other threads may log until the process ends.
Channel& channel() {
    static Channel& kept = *new Channel;
    return kept;
}

std::string withPrefix(std::string prefix, std::string_view message) { return prefix.append(message); }

}  // namespace

void DebugLog::log(std::string_view message) {
    systemLog(withPrefix("kasto: ", message));
    std::string line = withPrefix(isoTimestamp(std::time(nullptr)) + " ", message) + "\n";
    channel().queue.async([line = std::move(line)] { channel().file.append(line); });
}

void DebugLog::trimIfHuge() {
    channel().queue.async([] { channel().file.trimIfHuge(); });
}

void DebugLog::flush() { channel().queue.drain(); }

const std::filesystem::path& DebugLog::fileLocation() { return channel().file.location(); }

}  // namespace kasto
