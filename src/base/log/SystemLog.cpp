#include "base/log/SystemLog.h"

#include "base/Guarded.h"

#include <syslog.h>

namespace kasto {

namespace {

Guarded<std::function<void(std::string_view)>>& sink() {
    static auto& kept = *new Guarded<std::function<void(std::string_view)>>;
    return kept;
}

}  // namespace

void systemLog(std::string_view line) {
    const auto redirected = sink().copy();
    if (redirected) {
        redirected(line);
        return;
    }
    syslog(LOG_USER | LOG_INFO, "%.*s", static_cast<int>(line.size()), line.data());
}

void redirectSystemLog(std::function<void(std::string_view)> newSink) { sink().set(std::move(newSink)); }

}  // namespace kasto
