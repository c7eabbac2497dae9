#pragma once

#include "linux/x11/server/Connection.h"

#include <string_view>

namespace kasto::x11 {

// Pixels per point, one number for the whole X screen. It is the resolution the desktop asks for
// (QT_FONT_DPI, else the resource Xft.dpi) divided by 96 but at least 1, times QT_SCALE_FACTOR. Blocks for a
// round trip.
//
// The program reads it once, when it starts. It tells Qt the same number (ui/QtScale), because Qt would take
// a scale from further sources: a region would then be recorded elsewhere than it was drawn.
double readScale(const Connection& connection);

// The value of Xft.dpi in the text of the root window's resources; 0 if it has none.
int dpiInResources(std::string_view resources);

}  // namespace kasto::x11
