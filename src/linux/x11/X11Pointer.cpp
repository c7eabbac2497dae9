#include "linux/x11/X11Pointer.h"

#include "base/Guarded.h"
#include "linux/x11/Connection.h"
#include "linux/x11/KeyboardMap.h"
#include "linux/x11/X11Displays.h"
#include "linux/x11/X11ScrollMonitor.h"

namespace kasto {

struct X11Pointer::Link {
    Link(x11::Connection opened, std::string name, const X11Displays& listed)
        : connection(std::move(opened)),
          displayName(std::move(name)),
          displays(listed),
          modifiers(x11::readModifierBits(connection.raw())) {}

    // What came along with a reply; the mapping's changes are sent unasked.
    void takeEvents() {
        bool mapped = false;
        while (const x11::Reply<xcb_generic_event_t> event{xcb_poll_for_queued_event(connection.raw())})
            mapped |= (event->response_type & 0x7f) == XCB_MAPPING_NOTIFY;
        if (mapped) modifiers.set(x11::readModifierBits(connection.raw()));
    }

    const x11::Connection connection;
    const std::string displayName;
    const X11Displays& displays;
    Guarded<x11::ModifierBits> modifiers;
};

Result<std::unique_ptr<X11Pointer>> X11Pointer::open(const std::string& displayName,
                                                     const X11Displays& displays) {
    auto connection = x11::Connection::open(displayName);
    if (!connection) return std::unexpected(connection.error());
    return std::unique_ptr<X11Pointer>(
        new X11Pointer(std::make_unique<Link>(std::move(*connection), displayName, displays)));
}

X11Pointer::X11Pointer(std::unique_ptr<Link> link) : link_(std::move(link)) {}

X11Pointer::~X11Pointer() = default;

std::optional<PointerState> X11Pointer::state() const {
    auto* c = link_->connection.raw();
    const x11::Reply<xcb_query_pointer_reply_t> reply(
        xcb_query_pointer_reply(c, xcb_query_pointer(c, link_->connection.root()), nullptr));
    if (!reply || !reply->same_screen) return std::nullopt;
    link_->takeEvents();
    const auto modifiers = link_->modifiers.copy();
    const double scale = link_->displays.scale();
    const auto has = [&](unsigned bit) { return (reply->mask & bit) != 0; };
    return PointerState{.globalPts = {reply->root_x / scale, reply->root_y / scale},
                        .left = has(XCB_KEY_BUT_MASK_BUTTON_1),
                        .right = has(XCB_KEY_BUT_MASK_BUTTON_3),
                        .command = has(modifiers.command),
                        .option = has(modifiers.option),
                        .control = has(modifiers.control),
                        .fn = has(modifiers.fn)};
}

std::unique_ptr<ScrollMonitor> X11Pointer::monitorScroll(
    std::function<void(const ScrollEvent&)> onScroll) const {
    return X11ScrollMonitor::open(link_->displayName, *this, std::move(onScroll));
}

}  // namespace kasto
