#pragma once

#include "linux/x11/exclusion/WindowTree.h"
#include "linux/x11/server/Region.h"

#include <cstdint>
#include <set>
#include <vector>

namespace kasto::x11 {

// Where windows were before and after they moved. Without a compositing manager, a server that draws the
// cursor in software loses a part of the root damage of windows that move under it; these places are
// therefore read whatever the damage. In pixels of the picture. One thread.
class MovedWindows {
public:
    // An event named this window.
    void note(std::uint32_t window) { ids_.insert(window); }

    // A window was in this place for a moment.
    void notePlace(const PixelRect& place) { places_.unite(place); }

    // The tree was read anew: adds the places of all noted windows in either tree. With a compositing manager
    // the server draws only the manager's output, and there is nothing to add.
    void update(const std::vector<TopLevel>& before, const std::vector<TopLevel>& after,
                bool hasCompositingManager);

    const Region& places() const { return places_; }
    Region take() { return std::exchange(places_, {}); }

private:
    std::set<std::uint32_t> ids_;
    Region places_;
};

}  // namespace kasto::x11
