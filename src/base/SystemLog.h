#pragma once

#include <functional>
#include <string_view>

namespace kasto {

// Writes one line to the per-process system log (syslog, and so the journal where there is one). The line is
// taken as it is; the caller puts "kasto: " before it. Any thread.
void systemLog(std::string_view line);

// Sends every further line to `sink` instead, on the thread that logs it; none restores the system log.
void redirectSystemLog(std::function<void(std::string_view)> sink);

}  // namespace kasto
