#include "linux/x11/exclusion/WindowDamage.h"

#include "linux/x11/server/Rectangles.h"

#include <algorithm>

namespace kasto::x11 {

Region toRegion(const xcb_xfixes_fetch_region_reply_t* reply) {
    if (!reply) return {};
    return Region(fromXcb({xcb_xfixes_fetch_region_rectangles(reply),
                           static_cast<std::size_t>(xcb_xfixes_fetch_region_rectangles_length(reply))}));
}

WindowDamage::WindowDamage(const Connection& connection)
    : connection_(connection), region_(connection, xcb_generate_id(connection.raw())) {
    xcb_xfixes_create_region(connection.raw(), region_.id(), 0, nullptr);
}

void WindowDamage::watch(const std::vector<const TopLevel*>& windows) {
    std::erase_if(watched_, [&](const auto& entry) {
        return std::ranges::none_of(windows, [&](const auto* top) { return top->id == entry.first; });
    });
    for (const auto* top : windows) {
        if (watched_.contains(top->id)) continue;
        const auto id = xcb_generate_id(connection_.raw());
        xcb_damage_create(connection_.raw(), id, top->id, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
        watched_[top->id].damage = {connection_, id};
    }
}

void WindowDamage::noteEvent(const xcb_damage_notify_event_t& event) {
    const auto entry = watched_.find(event.drawable);
    if (entry == watched_.end() || entry->second.damage.id() != event.damage) return;
    entry->second.isDamaged = true;
    isAny_ = true;
}

void WindowDamage::forget(std::uint32_t window) {
    const auto entry = watched_.find(window);
    if (entry == watched_.end()) return;
    entry->second.damage.forget();
    watched_.erase(entry);
}

Region WindowDamage::take(const std::vector<TopLevel>& windows) {
    if (!std::exchange(isAny_, false)) return {};
    struct Asked {
        int dx;
        int dy;
        xcb_xfixes_fetch_region_cookie_t cookie;
    };
    auto* c = connection_.raw();
    std::vector<Asked> asked;
    for (const auto& top : windows) {
        const auto entry = watched_.find(top.id);
        if (entry == watched_.end() || !std::exchange(entry->second.isDamaged, false)) continue;
        xcb_damage_subtract(c, entry->second.damage.id(), XCB_NONE, region_.id());
        asked.push_back({top.outer.x + top.borderPx, top.outer.y + top.borderPx,
                         xcb_xfixes_fetch_region(c, region_.id())});
    }
    Region damaged;
    for (const auto& ask : asked) {
        const Reply<xcb_xfixes_fetch_region_reply_t> reply(
            xcb_xfixes_fetch_region_reply(c, ask.cookie, nullptr));
        damaged.unite(toRegion(reply.get()).translate(ask.dx, ask.dy));
    }
    return damaged;
}

}  // namespace kasto::x11
