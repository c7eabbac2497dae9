#pragma once

#include <string>

namespace kasto {

// The command word of a URL in lower case: its host, else its path without slashes at its ends. Characters
// that would break a log line stay percent-encoded. Any thread.
std::string commandWord(const std::string& url);

}  // namespace kasto
