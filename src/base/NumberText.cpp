#include "base/NumberText.h"

#include <array>
#include <charconv>
#include <limits>

namespace kasto {

std::string fixedText(double value, int decimals) {
    // The largest number has 309 digits before the point; there is a sign and the point too.
    std::array<char, std::numeric_limits<double>::max_exponent10 + 16> text;
    const auto end = std::to_chars(text.begin(), text.end(), value, std::chars_format::fixed, decimals).ptr;
    return {text.begin(), end};
}

}  // namespace kasto
