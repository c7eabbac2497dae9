#pragma once

#include "linux/x11/exclusion/WindowTree.h"
#include "linux/x11/server/Region.h"
#include "platform/OwnWindows.h"

#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace kasto::x11 {

// How long an area stays excluded after an own window left it: with a compositing manager, longer than its
// fade-out; without one, what the program's own drawing requests may take that are not yet sent.
constexpr double kManagedExclusionTailS = 1;
constexpr double kExclusionTailS = 0.3;

constexpr double exclusionTailS(bool hasCompositingManager) {
    return hasCompositingManager ? kManagedExclusionTailS : kExclusionTailS;
}

// Which pixels own windows cover, or have covered within the exclusion tail. Pure arithmetic: it is told what
// the windows say they paint, where they are and what moved. All regions are in pixels of the picture, which
// shows the part `area` of the root window. One thread.
class ExcludedArea {
public:
    explicit ExcludedArea(const PixelRect& area) : area_(area) {}

    // Replaces what is known of the own windows. `replaced` was said of them and withdrawn since the last
    // call: it may have been on the screen for a moment. True if other windows are registered than before.
    bool setWindows(const std::vector<OwnWindow>& windows, const std::vector<OwnWindow>& replaced,
                    double nowS);

    // The registered windows, and those that were registered within the exclusion tail: the request that
    // hides one may be unsent, and a window manager removes its frame later.
    std::vector<std::uint32_t> windows() const;
    bool hasWindows() const { return !painted_.empty() || !former_.empty(); }

    // Forgets windows whose exclusion tail is over. True if there were any.
    bool forgetFormer(double nowS);

    // Replaces where the own windows are.
    void setPlaces(std::vector<OwnPlace> places, bool hasCompositingManager);
    const std::vector<OwnPlace>& places() const { return places_; }

    // A top-level window was configured to be here (with its border), or a window was mapped. Until the next
    // `update` it may have been in several places, and each gets an exclusion tail.
    void noteConfigured(std::uint32_t topLevel, const PixelRect& outer);
    void noteMapped(std::uint32_t window);

    // True if this is an own window's top level, and known to be here. Its place in the stacking order does
    // not matter, because own windows are excluded wherever they are in it.
    bool isPlacedAt(std::uint32_t topLevel, const PixelRect& outer) const;

    // Own windows have just left this area: it gets an exclusion tail.
    void noteLeft(Region area) { passedThrough_.push_back(std::move(area)); }

    // False if a change of this own window's shape changes nothing here: what it says it paints is known
    // better than its shape, which may change with every step of a moving line.
    bool dependsOnShapeOf(std::uint32_t window) const;

    struct Change {
        Region left;     // excluded before, not any more
        Region entered;  // newly excluded
    };

    // Ends tails that are over and, if windows have moved or said something new, computes the area anew.
    // None if nothing was to be done.
    std::optional<Change> update(double nowS, bool hasMoved);

    const Region& region() const { return region_; }

private:
    struct Tail {
        Region area;
        double untilS;
    };
    Region paintedBy(const OwnPlace& place) const;
    double tailEndS(double nowS) const;

    PixelRect area_;
    std::map<std::uint32_t, std::optional<Region>> painted_;  // from the window's corner; none = its shape
    std::map<std::uint32_t, double> former_;                  // and until when
    std::vector<OwnPlace> places_;
    bool hasCompositingManager_ = false;
    std::vector<Region> passedThrough_;  // since the last update, to become tails
    std::vector<Tail> tails_;
    Region covered_;
    Region region_;  // covered, and the tails
};

}  // namespace kasto::x11
