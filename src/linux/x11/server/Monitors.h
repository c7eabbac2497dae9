#pragma once

#include "base/Geometry.h"
#include "linux/x11/server/Connection.h"

#include <string>
#include <string_view>
#include <vector>

namespace kasto::x11 {

// One monitor as RandR tells it, in pixels of the root window.
struct Monitor {
    DisplayId id = 0;
    std::string name;
    PixelRect boundsPx;
    bool isPrimary = false;
    bool operator==(const Monitor&) const = default;
};

// Asks RandR for its events on the root window; the first event number, or why there are none.
Result<std::uint8_t> selectMonitorEvents(const Connection& connection);

// The monitors of the moment; none over a lost connection.
std::vector<Monitor> readMonitors(const Connection& connection);

// Pixels per point, one number for the whole X screen: the resolution the desktop asks for over 96, times the
// factor in QT_SCALE_FACTOR, so that points mean what they mean to the program's own windows.
double readScale(const Connection& connection);

// The value of Xft.dpi in the text of the root window's resources; 0 if there is none.
int dpiInResources(std::string_view resources);

// A display's identity from its monitor's name: 32-bit FNV-1a, never 0.
DisplayId displayIdOf(std::string_view monitorName);

}  // namespace kasto::x11
