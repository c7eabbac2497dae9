#include "linux/x11/X11Pointer.h"

#include "linux/x11/Connection.h"
#include "linux/x11/X11Displays.h"

namespace kasto {

struct X11Pointer::Link {
    x11::Connection connection;
    const X11Displays& displays;
};

Result<std::unique_ptr<X11Pointer>> X11Pointer::open(const std::string& displayName,
                                                     const X11Displays& displays) {
    auto connection = x11::Connection::open(displayName);
    if (!connection) return std::unexpected(connection.error());
    return std::unique_ptr<X11Pointer>(
        new X11Pointer(std::make_unique<Link>(std::move(*connection), displays)));
}

X11Pointer::X11Pointer(std::unique_ptr<Link> link) : link_(std::move(link)) {}

X11Pointer::~X11Pointer() = default;

std::optional<PointerState> X11Pointer::state() const {
    auto* c = link_->connection.raw();
    const x11::Reply<xcb_query_pointer_reply_t> reply(
        xcb_query_pointer_reply(c, xcb_query_pointer(c, link_->connection.root()), nullptr));
    if (!reply || !reply->same_screen) return std::nullopt;
    const double scale = link_->displays.scale();
    const auto has = [&](unsigned bit) { return (reply->mask & bit) != 0; };
    return PointerState{.globalPts = {reply->root_x / scale, reply->root_y / scale},
                        .left = has(XCB_KEY_BUT_MASK_BUTTON_1),
                        .right = has(XCB_KEY_BUT_MASK_BUTTON_3),
                        .command = has(XCB_KEY_BUT_MASK_MOD_4),
                        .option = has(XCB_KEY_BUT_MASK_MOD_1),
                        .control = has(XCB_KEY_BUT_MASK_CONTROL),
                        .fn = has(XCB_KEY_BUT_MASK_MOD_5)};
}

}  // namespace kasto
