#include "linux/x11/server/X11Displays.h"

#include "base/Guarded.h"
#include "base/PollThread.h"
#include "linux/x11/server/Connection.h"
#include "linux/x11/server/Monitors.h"

#include <algorithm>

namespace kasto::x11 {

namespace {

struct Layout {
    std::vector<Monitor> monitors;
    double scale = 1;
    bool operator==(const Layout&) const = default;
};

Layout readLayout(const Connection& connection) { return {readMonitors(connection), readScale(connection)}; }

Rect toPoints(const PixelRect& px, double scale) {
    return {px.x / scale, px.y / scale, px.width / scale, px.height / scale};
}

const Monitor* mainOf(const Layout& layout) {
    if (layout.monitors.empty()) return nullptr;
    const auto primary = std::ranges::find_if(layout.monitors, &Monitor::isPrimary);
    return primary != layout.monitors.end() ? &*primary : &layout.monitors.front();
}

}  // namespace

// Keeps the layout as the X server has it now, on a connection and a thread of its own.
class X11Displays::Watch {
public:
    Watch(Connection connection, PollThread thread, std::uint8_t randrEvent)
        : connection_(std::move(connection)), randrEvent_(randrEvent), thread_(std::move(thread)) {
        // RandR sends no event for monitors that `xrandr --setmonitor` defines or deletes. The server then
        // sends a ConfigureNotify for the root window only.
        const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(connection_.raw(), connection_.root(), XCB_CW_EVENT_MASK, &mask);
        layout.set(readLayout(connection_));
        thread_.start("displays", [this](const PollWaiter& waiter) { run(waiter); });
    }

    Guarded<Layout> layout;

private:
    void run(const PollWaiter& waiter) {
        const int fd = xcb_get_file_descriptor(connection_.raw());
        while (true) {
            const bool isAffected = takeEvents();
            if (connection_.isLost()) return layout.set({});
            if (isAffected) {
                // Replies may bring further events along. Those are in xcb's queue already and do not make
                // the descriptor readable, so they are taken before the next wait.
                layout.set(readLayout(connection_));
                continue;
            }
            if (waiter.wait({fd}) == PollWaiter::Wake::stopped) return;
        }
    }

    // True if one of the events may have changed the layout.
    bool takeEvents() {
        bool isAffected = false;
        while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_.raw())}) {
            const int type = event->response_type & 0x7f;
            if (type == XCB_PROPERTY_NOTIFY) {
                const auto* property = reinterpret_cast<const xcb_property_notify_event_t*>(event.get());
                isAffected |= property->atom == XCB_ATOM_RESOURCE_MANAGER;
            } else {
                isAffected |= type == XCB_CONFIGURE_NOTIFY || type == randrEvent_ || type == randrEvent_ + 1;
            }
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
    return watch_->layout.with([](const Layout& layout) {
        std::vector<Display> displays;
        const auto* main = mainOf(layout);
        for (const auto& monitor : layout.monitors)
            displays.push_back({.id = monitor.id,
                                .name = monitor.name,
                                .boundsPts = toPoints(monitor.boundsPx, layout.scale),
                                .scale = layout.scale,
                                .isMain = &monitor == main});
        return displays;
    });
}

std::optional<DisplayId> X11Displays::displayAt(Point globalPts) const {
    return watch_->layout.with([&](const Layout& layout) -> std::optional<DisplayId> {
        for (const auto& monitor : layout.monitors)
            if (toPoints(monitor.boundsPx, layout.scale).contains(globalPts)) return monitor.id;
        return std::nullopt;
    });
}

DisplayId X11Displays::mainDisplay() const {
    return watch_->layout.with([](const Layout& layout) {
        const auto* main = mainOf(layout);
        return main ? main->id : 0;
    });
}

std::optional<PixelRect> X11Displays::boundsPx(DisplayId display) const {
    return watch_->layout.with([&](const Layout& layout) -> std::optional<PixelRect> {
        const auto found = std::ranges::find(layout.monitors, display, &Monitor::id);
        if (found == layout.monitors.end()) return std::nullopt;
        return found->boundsPx;
    });
}

double X11Displays::scale() const {
    return watch_->layout.with([](const Layout& layout) { return layout.scale; });
}

}  // namespace kasto::x11
