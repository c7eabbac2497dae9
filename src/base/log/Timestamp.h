#pragma once

#include <ctime>
#include <string>

namespace kasto {

// ISO 8601 in UTC without fractions: "2026-11-16T18:33:07Z". Any thread, any locale.
std::string isoTimestamp(std::time_t time);

}  // namespace kasto
