#include "base/log/Timestamp.h"

#include <array>

namespace kasto {

std::string isoTimestamp(std::time_t time) {
    std::tm utc{};
    gmtime_r(&time, &utc);
    std::array<char, 64> text;
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &utc)};
}

}  // namespace kasto
