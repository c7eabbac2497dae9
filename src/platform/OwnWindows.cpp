#include "platform/OwnWindows.h"

#include <algorithm>

namespace kasto {

void OwnWindows::set(OwnWindow window) {
    windows_.with([&](auto& windows) {
        const auto known = std::ranges::find(windows, window.nativeId, &OwnWindow::nativeId);
        if (known == windows.end()) {
            windows.push_back(std::move(window));
        } else {
            *known = std::move(window);
        }
    });
    generation_.fetch_add(1, std::memory_order_release);
}

void OwnWindows::remove(std::uint64_t nativeId) {
    const auto removed = windows_.with([&](auto& windows) {
        return std::erase_if(windows, [&](const auto& window) { return window.nativeId == nativeId; });
    });
    if (removed > 0) generation_.fetch_add(1, std::memory_order_release);
}

std::vector<OwnWindow> OwnWindows::windows() const { return windows_.copy(); }

}  // namespace kasto
