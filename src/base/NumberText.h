#pragma once

#include <string>

namespace kasto {

// The number with this many digits after a decimal point, rounded: "-1.50". It does not follow the locale.
// `decimals` is at most 9.
std::string fixedText(double value, int decimals);

}  // namespace kasto
