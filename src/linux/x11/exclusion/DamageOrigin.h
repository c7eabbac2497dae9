#pragma once

#include "linux/x11/exclusion/RecentDrawing.h"
#include "linux/x11/exclusion/WindowDamage.h"
#include "linux/x11/exclusion/WindowTree.h"
#include "linux/x11/server/Connection.h"
#include "linux/x11/server/Region.h"

#include <utility>
#include <vector>

namespace kasto::x11 {

// Splits root damage into foreign damage, which other clients caused, and own damage, which only own windows
// can have caused. Own damage is kept and due for a check every 0.5 s, in case it was taken for our own
// wrongly. All regions are in pixels of the picture; times are seconds on the media clock. One thread.
class DamageOrigin {
public:
    explicit DamageOrigin(const Connection& connection) : drawing_(connection) {}

    // The windows of other clients whose drawing is watched; `drawing().noteEvent()` takes its events.
    WindowDamage& drawing() { return drawing_; }

    // Windows came, went or moved: for a while all root damage may be theirs.
    void noteStructureChange(double nowS, bool hasCompositingManager);

    // A check found that own damage had changed the screen: something draws that no window accounts for.
    void noteUnaccounted(double nowS);

    // What the watched windows drew since the last call, wherever they are covered. Remembered, because it
    // reaches the screen with a delay.
    Region takeDrawing(const std::vector<TopLevel>& windows, double nowS, bool hasCompositingManager);

    // The foreign part of `damage`. What else of it lies outside `excluded` is kept as own damage. Ask after
    // `takeDrawing`, which has to follow the fetching of the damage.
    Region foreignPart(Region damage, const Region& excluded, double nowS);

    // True if root damage that was reported now may be foreign, or is due for a check.
    bool isWorthFetching(bool isAnyExcluded, double nowS) const;

    bool isCheckDue(double nowS) const { return !ownDamage_.isEmpty() && nowS >= nextCheckS_; }

    // The own damage, if its check is due; otherwise nothing.
    Region takeDueOwnDamage(double nowS);

private:
    WindowDamage drawing_;
    RecentDrawing recent_;
    Region ownDamage_;
    double nextCheckS_ = 0;
};

}  // namespace kasto::x11
