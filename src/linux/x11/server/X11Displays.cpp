#include "linux/x11/server/X11Displays.h"

#include "base/Guarded.h"
#include "base/PollThread.h"
#include "linux/x11/server/Connection.h"
#include "linux/x11/server/DesktopScale.h"
#include "linux/x11/server/Monitors.h"

#include <algorithm>

namespace kasto::x11 {

namespace {

using Monitors = std::vector<Monitor>;

Rect toPoints(const PixelRect& px, double scale) {
    return {px.x / scale, px.y / scale, px.width / scale, px.height / scale};
}

const Monitor* mainOf(const Monitors& monitors) {
    if (monitors.empty()) return nullptr;
    const auto primary = std::ranges::find_if(monitors, &Monitor::isPrimary);
    return primary != monitors.end() ? &*primary : &monitors.front();
}

}  // namespace

// Keeps the monitors as the X server has them now, on a connection and a thread of its own.
class X11Displays::Watch {
public:
    Watch(Connection connection, PollThread thread, std::uint8_t randrEvent)
        : scale(readScale(connection)),
          connection_(std::move(connection)),
          randrEvent_(randrEvent),
          thread_(std::move(thread)) {
        // RandR sends no event for monitors that `xrandr --setmonitor` defines or deletes. The server then
        // sends a ConfigureNotify for the root window only.
        const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(connection_.raw(), connection_.root(), XCB_CW_EVENT_MASK, &mask);
        monitors.set(readMonitors(connection_));
        thread_.start("displays", [this](const PollWaiter& waiter) { run(waiter); });
    }

    Guarded<Monitors> monitors;
    const double scale;

private:
    void run(const PollWaiter& waiter) {
        const int fd = xcb_get_file_descriptor(connection_.raw());
        while (true) {
            const bool isAffected = takeEvents();
            if (connection_.isLost()) return monitors.set({});
            if (isAffected) {
                // Replies may bring further events along. Those are in xcb's queue already and do not make
                // the descriptor readable, so they are taken before the next wait.
                monitors.set(readMonitors(connection_));
                continue;
            }
            if (waiter.wait({fd}) == PollWaiter::Wake::stopped) return;
        }
    }

    // True if one of the events may have changed the monitors.
    bool takeEvents() {
        bool isAffected = false;
        while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_.raw())}) {
            const int type = event->response_type & 0x7f;
            isAffected |= type == XCB_CONFIGURE_NOTIFY || type == randrEvent_ || type == randrEvent_ + 1;
        }
        return isAffected;
    }

    Connection connection_;
    std::uint8_t randrEvent_;
    PollThread thread_;
};

Result<std::unique_ptr<X11Displays>> X11Displays::open(const std::string& displayName) {
    auto connection = Connection::open(displayName);
    if (!connection) return std::unexpected(connection.error());
    const auto randrEvent = selectMonitorEvents(*connection);
    if (!randrEvent) return std::unexpected(randrEvent.error());
    auto thread = PollThread::make();
    if (!thread) return std::unexpected(thread.error());
    return std::unique_ptr<X11Displays>(
        new X11Displays(std::make_unique<Watch>(std::move(*connection), std::move(*thread), *randrEvent)));
}

X11Displays::X11Displays(std::unique_ptr<Watch> watch) : watch_(std::move(watch)) {}

X11Displays::~X11Displays() = default;

std::vector<Display> X11Displays::all() const {
    return watch_->monitors.with([&](const Monitors& monitors) {
        std::vector<Display> displays;
        const auto* main = mainOf(monitors);
        for (const auto& monitor : monitors)
            displays.push_back({.id = monitor.id,
                                .name = monitor.name,
                                .boundsPts = toPoints(monitor.boundsPx, scale()),
                                .scale = scale(),
                                .isMain = &monitor == main});
        return displays;
    });
}

std::optional<DisplayId> X11Displays::displayAt(Point globalPts) const {
    return watch_->monitors.with([&](const Monitors& monitors) -> std::optional<DisplayId> {
        for (const auto& monitor : monitors)
            if (toPoints(monitor.boundsPx, scale()).contains(globalPts)) return monitor.id;
        return std::nullopt;
    });
}

DisplayId X11Displays::mainDisplay() const {
    return watch_->monitors.with([](const Monitors& monitors) {
        const auto* main = mainOf(monitors);
        return main ? main->id : 0;
    });
}

std::optional<PixelRect> X11Displays::boundsPx(DisplayId display) const {
    return watch_->monitors.with([&](const Monitors& monitors) -> std::optional<PixelRect> {
        const auto found = std::ranges::find(monitors, display, &Monitor::id);
        if (found == monitors.end()) return std::nullopt;
        return found->boundsPx;
    });
}

double X11Displays::scale() const { return watch_->scale; }

}  // namespace kasto::x11
