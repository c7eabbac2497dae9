#pragma once

#include "base/Guarded.h"
#include "base/log/SystemLog.h"

#include <algorithm>
#include <string>
#include <vector>

namespace kasto::test {

// Collects what the program logs, in order, while it lives.
class LogLines {
public:
    LogLines() {
        redirectSystemLog(
            [this](std::string_view line) { lines_.with([&](auto& lines) { lines.emplace_back(line); }); });
    }
    ~LogLines() { redirectSystemLog(nullptr); }
    LogLines(LogLines&&) = delete;

    std::vector<std::string> all() const { return lines_.copy(); }
    void clear() { lines_.set({}); }
    std::ptrdiff_t count(std::string_view line) const {
        return lines_.with([&](const auto& lines) { return std::ranges::count(lines, line); });
    }

private:
    Guarded<std::vector<std::string>> lines_;
};

}  // namespace kasto::test
