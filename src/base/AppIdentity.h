#pragma once

#include <string_view>

namespace kasto {

// The program's name on the session bus, in its desktop file and in the media server.
inline constexpr std::string_view kBundleIdentifier = "app.tolvane.kasto";

}  // namespace kasto
