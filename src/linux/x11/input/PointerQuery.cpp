#include "linux/x11/input/PointerQuery.h"

#include "linux/x11/server/X11Displays.h"

#include <utility>

namespace kasto::x11 {

Result<PointerQuery> PointerQuery::open(const std::string& displayName, const X11Displays& displays) {
    auto connection = Connection::open(displayName);
    if (!connection) return std::unexpected(connection.error());
    return PointerQuery(std::move(*connection), displays);
}

PointerQuery::PointerQuery(Connection connection, const X11Displays& displays)
    : connection_(std::move(connection)),
      displays_(&displays),
      keyboard_(connection_.raw(), KeyboardReader::Watch::mapping),
      modifiers_(std::make_unique<Guarded<ModifierBits>>(keyboard_.modifierBits())) {}

std::optional<PointerState> PointerQuery::ask() const {
    auto* c = connection_.raw();
    const Reply<xcb_query_pointer_reply_t> reply(
        xcb_query_pointer_reply(c, xcb_query_pointer(c, connection_.root()), nullptr));
    if (!reply || !reply->same_screen) return std::nullopt;
    return stateOf(reply->root_x, reply->root_y, reply->mask);
}

PointerState PointerQuery::stateOf(int rootX, int rootY, unsigned mask) const {
    const auto modifiers = modifiers_->copy();
    const double scale = displays_->scale();
    const auto has = [&](unsigned bit) { return (mask & bit) != 0; };
    return {.globalPts = {rootX / scale, rootY / scale},
            .left = has(XCB_KEY_BUT_MASK_BUTTON_1),
            .right = has(XCB_KEY_BUT_MASK_BUTTON_3),
            .command = has(modifiers.command),
            .option = has(modifiers.option),
            .control = has(modifiers.control),
            .fn = has(modifiers.fn)};
}

bool PointerQuery::takeEvents() const {
    bool any = false;
    // Reading the mapping takes round trips, and their replies may bring further events along.
    for (bool isMapped = true; std::exchange(isMapped, false);) {
        while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_.raw())}) {
            any = true;
            isMapped |= keyboard_.isChange(*event);
        }
        if (isMapped) modifiers_->set(keyboard_.modifierBits());
    }
    return any;
}

}  // namespace kasto::x11
