#include "options/OptionTexts.h"

#include <algorithm>
#include <limits>

namespace kasto {

std::string wholeNumber(double value) {
    using Limits = std::numeric_limits<int>;
    return std::to_string(static_cast<int>(std::clamp(value, double{Limits::min()}, double{Limits::max()})));
}

std::string sizeText(const Rect& region) {
    return wholeNumber(region.width) + "×" + wholeNumber(region.height);
}

std::string folderName(const std::filesystem::path& folder) {
    const auto name = (folder.has_filename() ? folder : folder.parent_path()).filename().string();
    return name.empty() ? folder.string() : name;
}

}  // namespace kasto
