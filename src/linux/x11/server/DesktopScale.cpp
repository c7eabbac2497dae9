#include "linux/x11/server/DesktopScale.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>

namespace kasto::x11 {

namespace {

// The number in an environment variable; 0 if there is none.
double environmentNumber(const char* name) {
    const char* text = std::getenv(name);
    const double number = text ? std::strtod(text, nullptr) : 0;
    return std::isfinite(number) ? number : 0;
}

}  // namespace

double readScale(const Connection& connection) {
    constexpr std::uint32_t kMaxLength = 1 << 20;
    constexpr double kBaseDpi = 96;
    auto* c = connection.raw();
    const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        c,
        xcb_get_property(c, 0, connection.root(), XCB_ATOM_RESOURCE_MANAGER, XCB_ATOM_STRING, 0, kMaxLength),
        nullptr));
    int dpi = static_cast<int>(environmentNumber("QT_FONT_DPI"));
    if (reply && dpi <= 0)
        dpi = dpiInResources({static_cast<const char*>(xcb_get_property_value(reply.get())),
                              static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))});
    const double factor = environmentNumber("QT_SCALE_FACTOR");
    return std::max(dpi / kBaseDpi, 1.0) * (factor > 0 ? factor : 1);
}

int dpiInResources(std::string_view resources) {
    constexpr std::string_view kKey = "Xft.dpi:";
    while (!resources.empty()) {
        const auto line = resources.substr(0, resources.find('\n'));
        resources.remove_prefix(std::min(resources.size(), line.size() + 1));
        if (!line.starts_with(kKey)) continue;
        const auto start = line.find_first_not_of(" \t", kKey.size());
        if (start == line.npos) continue;
        int dpi = 0;
        const auto* end = line.data() + line.size();
        if (std::from_chars(line.data() + start, end, dpi).ec == std::errc{} && dpi > 0) return dpi;
    }
    return 0;
}

}  // namespace kasto::x11
