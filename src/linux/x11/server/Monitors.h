#pragma once

#include "base/Geometry.h"
#include "linux/x11/server/Connection.h"

#include <string>
#include <string_view>
#include <vector>

namespace kasto::x11 {

// One monitor as RandR reports it.
struct Monitor {
    DisplayId id = 0;
    std::string name;
    PixelRect boundsPx;  // in the root window
    bool isPrimary = false;
    bool operator==(const Monitor&) const = default;
};

// Selects RandR's events on the root window and returns their first event number. Fails if the server has no
// RandR 1.5.
Result<std::uint8_t> selectMonitorEvents(const Connection& connection);

// The monitors that are attached now; none over a lost connection. Blocks for two round trips.
std::vector<Monitor> readMonitors(const Connection& connection);

// A display's id, made from its monitor's name: 32-bit FNV-1a, never 0.
DisplayId displayIdOf(std::string_view monitorName);

}  // namespace kasto::x11
