#pragma once

#include "linux/x11/exclusion/DamageOrigin.h"
#include "linux/x11/exclusion/ExcludedArea.h"
#include "linux/x11/exclusion/MovedWindows.h"
#include "linux/x11/exclusion/Underlay.h"
#include "linux/x11/exclusion/WindowTree.h"
#include "linux/x11/server/Connection.h"
#include "linux/x11/server/Region.h"
#include "platform/OwnWindows.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace kasto::x11 {

// What a tick has to read, and from where. Both parts are in pixels of the picture and do not overlap.
struct PixelSources {
    Region screen;    // from the root window
    Region underlay;  // from the pixmap `WindowExclusion::underlayPixmap()`
    // True if only damage of our own windows or the underlay made this tick read. If the pixels equal the
    // last picture, nothing has changed and the tick ends as `TickEnd::unchanged`.
    bool comparesOnly = false;
};

enum class TickState {
    blocked,  // no picture can be made yet
    idle,     // windows and damage give no reason for a new picture
    due,      // something has to be read
};

enum class TickEnd {
    published,  // the sources are in the newest picture
    unchanged,  // they were read and show what the newest picture shows
    failed,     // they were not read, or could not be used; a later tick reads them again
};

// Keeps the registered windows of sharing type `none` out of the pictures of the screen.
//
// THE PROBLEM. The X server draws all windows into one root window. Reading the root window gives our own
// windows too, and reading it whole for every frame is expensive. The server reports which part of the root
// window changed ("damage"), and does not say which window caused it.
//
// THE IDEA. Every pixel of the picture has a source. Where no own window can be visible it is read from the
// root window. Elsewhere it is read from the underlay: a pixmap in which we compose the root background and
// all other windows, bottom to top, from their own contents. The server keeps the contents of a covered
// window only if it is redirected (Composite), so the children of the root window are redirected as long as
// an own window is registered, even before it becomes visible. A pixel goes through these states:
//
//                 own window paints here          own window leaves
//     on screen ────────────────────────▶ covered ──────────────────▶ tail
//         ▲                                  ▲                         │ │
//         │                                  └─── own window is back ──┘ │
//         └─ read once from the root window ── exclusion tail has passed ┘
//
// "Excluded" means covered or tail. The tail exists because the screen lags behind the window tree: a
// compositing manager fades a window out after it was unmapped, and without a manager the program's own
// drawing requests may still be unsent.
//
// DAMAGE. Our own windows damage the root window as well. A moving dashed outline would make every tick read
// and encode a picture in which nothing changed, because servers and compositing managers report the bounding
// box of what an own window drew, far more than the excluded area. Therefore the damage of each other window
// is watched while something is excluded. Root damage in places where another window drew recently, or while
// windows have come, gone or moved recently, is foreign and is read. The rest is own damage: it is kept, read
// every 0.5 s, and published only if its pixels differ from the newest picture (`DamageOrigin`).
//
// ONE TICK. The server sends events before the replies that depend on what they announce. A window that was
// mapped or moved before our read request is therefore announced by the time the reply is here, and the
// excluded pixels are composed again before anything is published.
//
//     noteEvent()*  beginTick() ──▶ blocked, idle: no picture
//                        │ due, or a picture is needed for another reason
//                        ▼
//                      plan() ──▶ read the sources ──▶ noteEvent()*, recompose() ──▶ nothing moved: endTick()
//                                                         ▲            │ something moved
//                                                         └────────────┘ read the underlay again
//
// INVARIANTS. No pixel of the excluded area is ever taken from the root window. Every pixel that leaves the
// excluded area is read from the root window once. What a failed tick should have read, a later tick reads.
//
// WHAT WAS TRIED. Reading before looking at events a second time showed a window in 4 of 1261 pictures.
// Excluding only where a window is, without a tail, showed it while it faded, and in places where it was for
// less than a tick (so each ConfigureNotify adds a tail). Trusting root damage alone lost the damage of
// windows that move under a software cursor (`MovedWindows`), and made a picture for each step of the dashed
// outline.
//
// One thread, which also handles the events of the connection.
class WindowExclusion {
public:
    // Pictures show the part `area` of the root window. `registry` outlives this; none excludes nothing and
    // makes every root damage foreign. In `excludedBefore` (pixels of the picture) own windows may still be
    // visible: it gets an exclusion tail. Fails if windows are to be excluded and the server lacks an
    // extension.
    static Result<std::unique_ptr<WindowExclusion>> open(const Connection& connection,
                                                         const OwnWindows* registry, const PixelRect& area,
                                                         Region excludedBefore);

    // The events that have to be selected on the root window and given to `noteEvent`, with all other events
    // of the connection.
    static std::uint32_t rootEvents();
    void noteEvent(const xcb_generic_event_t& event);

    // Begins a tick: catches up with the registry and the events. `isRootDamaged` says whether the server has
    // reported root damage that was not fetched yet; own damage may wait there. Times are seconds on the
    // media clock.
    TickState beginTick(double nowS, bool isRootDamaged);

    // Decides from where this tick reads, and starts composing the underlay. `rootDamage` was fetched after
    // `beginTick` and is in pixels of the picture. `isPictureNeeded` says that a picture is made in any case.
    PixelSources plan(const Region& rootDamage, bool isPictureNeeded, double nowS);

    // Call after the sources were read and the events that came with them were noted. None if no window has
    // moved meanwhile. Otherwise the part of the underlay that was composed anew and has to be read again; it
    // may be empty, and more may have moved while it was composed.
    std::optional<Region> recompose(double nowS);

    // Ends the tick that `plan` began.
    void endTick(TickEnd end);

    // The pixels that own windows may cover now.
    const Region& excluded() const { return excluded_.region(); }

    // A pixmap of the picture's size that shows what was composed last, and is undefined elsewhere.
    std::uint32_t underlayPixmap() const { return underlay_->pixmap(); }

private:
    struct ExtensionEvents {
        std::uint8_t shape = 0;
        std::uint8_t xfixes = 0;
        std::uint8_t damage = 0;
    };

    WindowExclusion(const Connection& connection, const OwnWindows* registry, const PixelRect& area,
                    ExtensionEvents firstEvents);
    static Result<ExtensionEvents> askForExtensions(const Connection& connection);
    PixelRect bounds() const { return {0, 0, area_.width, area_.height}; }
    void noteStructure(int type, const xcb_generic_event_t& event);
    bool refresh(double nowS);
    void readRegistry(double nowS);
    void redirect(bool wanted);
    void readTree(double nowS);
    void updateExcluded(double nowS, bool hasMoved);
    void watchOthers();
    Region takeUnderlay(double nowS);
    void takeDrawing(double nowS);
    void checkBackground(const Region& foreignDamage);

    const Connection& connection_;
    const OwnWindows* registry_;
    PixelRect area_;
    ExtensionEvents firstEvents_;
    WindowTreeReader treeReader_;

    std::optional<std::uint64_t> generation_;  // of the registry, when it was read last
    ExcludedArea excluded_;
    DamageOrigin damageOrigin_;
    MovedWindows movedWindows_;
    std::optional<Underlay> underlay_;  // while the children of the root window are redirected

    bool treeChanged_ = false;
    bool registryChanged_ = false;
    std::optional<double> readyS_;  // when the underlay is complete; none until the tree was read
    bool hasCompositingManager_ = false;
    std::vector<TopLevel> others_;  // the top-level windows of other clients, bottom to top

    Region exposed_;        // to be read from the root window whatever the damage
    Region staleUnderlay_;  // where the underlay has to be composed anew; counts inside the excluded area
    PixelSources planned_;
    double plannedS_ = 0;
};

}  // namespace kasto::x11
