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

// What single windows have drawn since they were last asked, wherever they are covered. One thread.
class WindowDamage {
public:
    explicit WindowDamage(const Connection& connection);

    // Watches these windows and no others; what is watched already stays so.
    void watch(const std::vector<const TopLevel*>& windows);

    // True if the event was about one of them.
    bool noteEvent(const xcb_damage_notify_event_t& event);

    // The server has dropped what belonged to this window; its id may be another's from now on.
    void noteDestroyed(std::uint32_t window) { forget(window); }

    bool isAny() const { return isAny_; }

    // What was drawn in windows at these places, in pixels of the picture, and starts anew.
    Region take(const std::vector<TopLevel>& places);

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
