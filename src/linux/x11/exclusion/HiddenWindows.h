#pragma once

#include "linux/x11/exclusion/RecentDrawing.h"
#include "linux/x11/exclusion/Underlay.h"
#include "linux/x11/exclusion/WindowDamage.h"
#include "linux/x11/exclusion/WindowTree.h"
#include "linux/x11/server/Connection.h"
#include "linux/x11/server/Region.h"
#include "platform/OwnWindows.h"

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace kasto::x11 {

// Keeps the registered windows of sharing type `none` out of the pictures: tells which pixels may show them,
// which must therefore not be read from the screen, and composes what lies beneath. One thread; all regions
// are in pixels of the picture.
//
// The children of the root window are redirected from the moment a window is registered, visible or not, so
// that their contents are complete beneath it when it appears. A place a window has left counts as hidden for
// a while: a compositing manager fades, and what a window cleared may not be on the screen yet.
class HiddenWindows {
public:
    static Result<std::unique_ptr<HiddenWindows>> open(const Connection& connection,
                                                       const OwnWindows& registry, const PixelRect& area);
    ~HiddenWindows();

    // The events of the root window this needs to see.
    static std::uint32_t rootEvents();

    void noteEvent(const xcb_generic_event_t& event);

    // Catches up with the registry and with what was noted. True if something moved, so that pixels read
    // before the call may show a window.
    bool refresh(double nowS);

    // False for a moment after a window was registered that is visible already: what lies beneath it is only
    // just being drawn, and no picture can be had without it.
    bool isSettled(double nowS) const { return nowS >= settledS_; }

    // True if the next picture has to differ from the last one for it.
    bool hasWork() const;

    const Region& hidden() const { return hidden_; }

    // What has to be read from the screen whatever the server reports; empty after that.
    Region takeExposed();

    // The part of `hidden` that has to be composed anew; empty after that.
    Region takeBeneath(double nowS);

    // A part that was taken and did not get into a picture.
    void giveBackBeneath(const Region& part) { beneath_.unite(part); }

    // What of the screen was damaged, while it is read.
    void noteScreenDamage(const Region& damaged);

    // Where a hidden window draws, servers and compositing managers report far more of the screen as damaged
    // than it touches. Of such a report, the part that something else may have changed: by what other windows
    // have drawn, and by windows that came, went or moved. To be asked after the report was fetched.
    Region causedByOthers(const Region& damaged, double nowS);

    // False if no part can be.
    bool mayOthersShow(double nowS) const;

    // Something changed that no window can have drawn.
    void noteUnexplained(const Region& changed, double nowS);

    // Starts composing a part of `hidden`; what is asked of the returned pixmap after this shows it.
    std::uint32_t compose(const Region& part);

private:
    struct Ghost {
        Region area;
        double untilS;
    };

    HiddenWindows(const Connection& connection, const OwnWindows& registry, const PixelRect& area,
                  std::uint8_t shapeEvent, std::uint8_t xfixesEvent, std::uint8_t damageEvent);
    void readRegistry();
    void redirect(bool wanted);
    void readTree(double nowS);
    void placeHidden(double nowS);
    void watchContents();
    void takeDrawn(double nowS);
    void touch(const PixelRect& rootRect);
    void noteConfigure(const xcb_configure_notify_event_t& event);
    Region paintedAt(const OwnPlace& place) const;
    bool isShapeOfUse(std::uint32_t window) const;
    void touchMoved(const WindowTree& before, const WindowTree& after);
    bool dropOldGhosts(double nowS);

    const Connection& connection_;
    const OwnWindows& registry_;
    PixelRect area_;
    std::uint8_t shapeEvent_;
    std::uint8_t xfixesEvent_;
    std::uint8_t damageEvent_;
    WindowTreeReader reader_;
    WindowDamage contents_;  // of the other windows, while something is hidden
    RecentDrawing recent_;
    std::optional<Underlay> underlay_;

    std::optional<std::uint64_t> generation_;
    std::map<std::uint32_t, std::optional<Region>> registered_;  // what each has painted, from its corner
    bool isRedirected_ = false;
    std::set<std::uint32_t> unredirected_;
    double settledS_ = 0;

    WindowTree tree_;
    std::vector<TopLevel> shown_;  // of the tree, each without the program's windows inside
    bool treeChanged_ = false;
    bool placesChanged_ = false;
    std::vector<Ghost> ghosts_;
    std::vector<Region> passed_;  // where a window was for a moment, to become ghosts
    std::set<std::uint32_t> touchedIds_;
    Region touched_;  // places of windows that moved
    Region live_;     // what the windows have painted now
    Region hidden_;   // and the ghosts
    Region exposed_;
    Region beneath_;
};

}  // namespace kasto::x11
