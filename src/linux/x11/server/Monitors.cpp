#include "linux/x11/server/Monitors.h"

#include <xcb/randr.h>

namespace kasto::x11 {

namespace {

std::string nameOfAtom(const Connection& connection, xcb_get_atom_name_cookie_t cookie) {
    const Reply<xcb_get_atom_name_reply_t> reply(xcb_get_atom_name_reply(connection.raw(), cookie, nullptr));
    if (!reply) return {};
    return {xcb_get_atom_name_name(reply.get()),
            static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get()))};
}

}  // namespace

Result<std::uint8_t> selectMonitorEvents(const Connection& connection) {
    auto* c = connection.raw();
    const auto firstEvent = connection.firstEventOf(xcb_randr_id, "RANDR");
    if (!firstEvent) return firstEvent;
    const Reply<xcb_randr_query_version_reply_t> version(
        xcb_randr_query_version_reply(c, xcb_randr_query_version(c, 1, 5), nullptr));
    if (!version || (version->major_version == 1 && version->minor_version < 5))
        return failure("the X server's extension RANDR is older than 1.5");
    xcb_randr_select_input(c, connection.root(),
                           XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                               XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
    return firstEvent;
}

std::vector<Monitor> readMonitors(const Connection& connection) {
    auto* c = connection.raw();
    const Reply<xcb_randr_get_monitors_reply_t> reply(
        xcb_randr_get_monitors_reply(c, xcb_randr_get_monitors(c, connection.root(), 1), nullptr));
    if (!reply) return {};
    std::vector<Monitor> monitors;
    std::vector<xcb_get_atom_name_cookie_t> names;
    for (auto it = xcb_randr_get_monitors_monitors_iterator(reply.get()); it.rem;
         xcb_randr_monitor_info_next(&it)) {
        const auto& info = *it.data;
        monitors.push_back({.id = 0,
                            .name = {},
                            .boundsPx = {info.x, info.y, info.width, info.height},
                            .isPrimary = info.primary != 0});
        names.push_back(xcb_get_atom_name(c, info.name));
    }
    for (std::size_t i = 0; i < monitors.size(); ++i) {
        monitors[i].name = nameOfAtom(connection, names[i]);
        monitors[i].id = displayIdOf(monitors[i].name);
    }
    return monitors;
}

DisplayId displayIdOf(std::string_view monitorName) {
    constexpr std::uint32_t kOffsetBasis = 2166136261u;
    constexpr std::uint32_t kPrime = 16777619u;
    std::uint32_t hash = kOffsetBasis;
    for (const char letter : monitorName) hash = (hash ^ static_cast<unsigned char>(letter)) * kPrime;
    return hash != 0 ? hash : 1;
}

}  // namespace kasto::x11
