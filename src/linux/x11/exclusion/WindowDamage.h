#pragma once

#include "linux/x11/exclusion/WindowTree.h"
#include "linux/x11/server/Connection.h"
#include "linux/x11/server/Region.h"

#include <xcb/damage.h>
#include <xcb/xfixes.h>

#include <map>
#include <vector>

namespace kasto::x11 {

// The rectangles of a region the server was asked for; empty when it refused.
Region toRegion(const xcb_xfixes_fetch_region_reply_t* reply);

// What each of some windows has drawn since it was last asked, also where it is covered. One thread.
class WindowDamage {
public:
    explicit WindowDamage(const Connection& connection);

    // Watches these windows and no others. What windows that stay watched have drawn is kept.
    void watch(const std::vector<const TopLevel*>& windows);

    // Takes every damage event of the connection.
    void noteEvent(const xcb_damage_notify_event_t& event);

    // The window is gone, and with it the server's damage object; the id may be another window's from now on.
    void noteDestroyed(std::uint32_t window) { forget(window); }

    // False if `take` returns nothing.
    bool isAny() const { return isAny_; }

    // What the watched ones of these windows drew since the last call, in pixels of the picture. Blocks for a
    // round trip if there is something.
    Region take(const std::vector<TopLevel>& windows);

private:
    struct Watched {
        ServerObject<xcb_damage_destroy> damage;
        bool isDamaged = false;
    };
    void forget(std::uint32_t window);

    const Connection& connection_;
    ServerObject<xcb_xfixes_destroy_region> region_;
    std::map<std::uint32_t, Watched> watched_;
    bool isAny_ = false;
};

}  // namespace kasto::x11
