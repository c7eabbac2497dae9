#pragma once

#include <functional>
#include <string_view>

namespace kasto {

// Writes one line to the system log (syslog, and thereby the journal if there is one). The caller puts
// "kasto: " in front of it. Any thread.
void systemLog(std::string_view line);

// Sends all further lines to `sink` instead, on the thread that logs them. An empty sink restores the system
// log. For tests.
void redirectSystemLog(std::function<void(std::string_view)> sink);

}  // namespace kasto
