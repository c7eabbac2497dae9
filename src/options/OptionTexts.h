#pragma once

#include "base/Geometry.h"

#include <filesystem>
#include <string>

namespace kasto {

// How values of options are written in menus, in the settings window and in the log. Any thread.

// The number without its fraction; the nearest `int` where it is beyond all of them.
std::string wholeNumber(double value);

// "1280×720", in whole points.
std::string sizeText(const Rect& region);

// The last component of the path: "Renders" for "/mnt/Renders/". A path without one is given whole.
std::string folderName(const std::filesystem::path& folder);

}  // namespace kasto
