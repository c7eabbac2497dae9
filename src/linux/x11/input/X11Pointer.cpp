#include "linux/x11/input/X11Pointer.h"

#include "linux/x11/input/X11PointerFollower.h"
#include "linux/x11/input/X11ScrollMonitor.h"

#include <utility>

namespace kasto::x11 {

Result<std::unique_ptr<X11Pointer>> X11Pointer::open(const std::string& displayName,
                                                     const X11Displays& displays) {
    auto query = PointerQuery::open(displayName, displays);
    if (!query) return std::unexpected(query.error());
    return std::unique_ptr<X11Pointer>(new X11Pointer(std::move(*query), displayName, displays));
}

X11Pointer::X11Pointer(PointerQuery query, std::string displayName, const X11Displays& displays)
    : query_(std::move(query)), displayName_(std::move(displayName)), displays_(displays) {}

std::optional<PointerState> X11Pointer::state() const {
    query_.takeEvents();
    return query_.ask();
}

std::unique_ptr<PointerFollower> X11Pointer::follow() const {
    if (auto follower = X11PointerFollower::open(displayName_, displays_)) return follower;
    return PointerInput::follow();
}

std::unique_ptr<ScrollMonitor> X11Pointer::monitorScroll(
    std::function<void(const ScrollEvent&)> onScroll) const {
    return X11ScrollMonitor::open(displayName_, *this, std::move(onScroll));
}

}  // namespace kasto::x11
