#include "linux/x11/server/X11Displays.h"

#include "base/FileDescriptor.h"
#include "base/Guarded.h"
#include "base/Thread.h"
#include "linux/x11/server/Connection.h"
#include "linux/x11/server/Monitors.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <thread>

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

class X11Displays::Watch {
public:
    Watch(Connection connection, FileDescriptor stop, std::uint8_t randrEvent)
        : connection_(std::move(connection)), stop_(std::move(stop)), randrEvent_(randrEvent) {
        // Monitors that are defined or dropped by hand show as a change of the root window only.
        const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(connection_.raw(), connection_.root(), XCB_CW_EVENT_MASK, &mask);
        layout.set(readLayout(connection_));
        thread_ = std::thread([this] { run(); });
    }

    ~Watch() {
        eventfd_write(stop_.get(), 1);
        thread_.join();
    }

    Guarded<Layout> layout;
    Guarded<std::function<void()>> onChange;

private:
    void run() {
        nameThread("displays");
        std::array<pollfd, 2> waits{pollfd{xcb_get_file_descriptor(connection_.raw()), POLLIN, 0},
                                    pollfd{stop_.get(), POLLIN, 0}};
        while (true) {
            const bool relevant = takeEvents();
            if (connection_.isLost()) {
                update({});
                return;
            }
            if (relevant) {
                // Events that come with the replies are in xcb's own queue and wake no poll: look again.
                update(readLayout(connection_));
                continue;
            }
            if (poll(waits.data(), waits.size(), -1) < 0 && errno != EINTR) return;
            if (waits[1].revents != 0) return;
        }
    }

    bool takeEvents() {
        bool relevant = false;
        while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_.raw())}) {
            const int type = event->response_type & 0x7f;
            if (type == XCB_PROPERTY_NOTIFY) {
                const auto* property = reinterpret_cast<const xcb_property_notify_event_t*>(event.get());
                relevant |= property->atom == XCB_ATOM_RESOURCE_MANAGER;
            } else {
                relevant |= type == XCB_CONFIGURE_NOTIFY || type == randrEvent_ || type == randrEvent_ + 1;
            }
        }
        return relevant;
    }

    void update(Layout now) {
        const bool changed = layout.with([&](Layout& known) {
            if (known == now) return false;
            known = std::move(now);
            return true;
        });
        if (!changed) return;
        onChange.with([](const auto& callback) {
            if (callback) callback();
        });
    }

    Connection connection_;
    FileDescriptor stop_;
    std::uint8_t randrEvent_;
    std::thread thread_;
};

Result<std::unique_ptr<X11Displays>> X11Displays::open(const std::string& displayName) {
    auto connection = Connection::open(displayName);
    if (!connection) return std::unexpected(connection.error());
    const auto randrEvent = selectMonitorEvents(*connection);
    if (!randrEvent) return std::unexpected(randrEvent.error());
    FileDescriptor stop(eventfd(0, EFD_CLOEXEC));
    if (!stop) return std::unexpected(systemError("eventfd", errno));
    return std::unique_ptr<X11Displays>(
        new X11Displays(std::make_unique<Watch>(std::move(*connection), std::move(stop), *randrEvent)));
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

void X11Displays::setOnChange(std::function<void()> onChange) { watch_->onChange.set(std::move(onChange)); }

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
