#pragma once

#include <string_view>

namespace kasto {

// The program's name on the session bus, in the desktop's files and among running applications.
inline constexpr std::string_view kBundleIdentifier = "app.tolvane.kasto";

}  // namespace kasto
