#include "platform/OwnWindows.h"

#include <algorithm>

namespace kasto {

void OwnWindows::set(OwnWindow window) {
    registry_.with([&](auto& registry) {
        const auto known = std::ranges::find(registry.windows, window.nativeId, &OwnWindow::nativeId);
        if (known == registry.windows.end()) {
            registry.windows.push_back(std::move(window));
        } else {
            keepReplaced(registry, std::exchange(*known, std::move(window)));
        }
        generation_.fetch_add(1, std::memory_order_release);
    });
}

void OwnWindows::remove(std::uint64_t nativeId) {
    registry_.with([&](auto& registry) {
        const auto known = std::ranges::find(registry.windows, nativeId, &OwnWindow::nativeId);
        if (known == registry.windows.end()) return;
        keepReplaced(registry, std::move(*known));
        registry.windows.erase(known);
        generation_.fetch_add(1, std::memory_order_release);
    });
}

void OwnWindows::keepReplaced(Registry& registry, OwnWindow window) {
    constexpr std::size_t kMaxKept = 64;
    if (registry.replaced.size() == kMaxKept) registry.replaced.pop_front();
    registry.replaced.push_back({generation_.load(std::memory_order_relaxed), std::move(window)});
}

std::vector<OwnWindow> OwnWindows::windows() const {
    return registry_.with([](const auto& registry) { return registry.windows; });
}

std::vector<OwnWindow> OwnWindows::replacedSince(std::uint64_t generation) const {
    return registry_.with([&](const auto& registry) {
        std::vector<OwnWindow> since;
        for (const auto& replaced : registry.replaced)
            if (replaced.generation >= generation) since.push_back(replaced.window);
        return since;
    });
}

}  // namespace kasto
