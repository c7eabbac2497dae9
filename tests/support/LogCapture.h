#pragma once

#include "base/Guarded.h"
#include "base/SystemLog.h"

#include <string>
#include <vector>

namespace kasto::test {

// Takes the system log's lines while it lives.
class LogCapture {
public:
    LogCapture() {
        redirectSystemLog([this](std::string_view line) {
            lines_.with([line](auto& lines) { lines.emplace_back(line); });
        });
    }
    ~LogCapture() { redirectSystemLog({}); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<std::string> lines() const { return lines_.copy(); }

private:
    Guarded<std::vector<std::string>> lines_;
};

}  // namespace kasto::test
