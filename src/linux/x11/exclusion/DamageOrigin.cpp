#include "linux/x11/exclusion/DamageOrigin.h"

#include "linux/x11/exclusion/ExcludedArea.h"

namespace kasto::x11 {

namespace {

// How long after a window drew, root damage in that place may come from it: a compositing manager presents it
// with a delay, the server itself at once.
constexpr double kManagedDelayS = 0.5;
constexpr double kDelayS = 0.05;

constexpr double kCheckIntervalS = 0.5;

}  // namespace

void DamageOrigin::noteStructureChange(double nowS, bool hasCompositingManager) {
    recent_.noteEverywhere(nowS, exclusionTailS(hasCompositingManager));
}

void DamageOrigin::noteUnaccounted(double nowS) { recent_.noteEverywhere(nowS, kManagedExclusionTailS); }

Region DamageOrigin::takeDrawing(const std::vector<TopLevel>& windows, double nowS,
                                 bool hasCompositingManager) {
    auto drawn = drawing_.take(windows);
    recent_.note(drawn, nowS, hasCompositingManager ? kManagedDelayS : kDelayS);
    return drawn;
}

Region DamageOrigin::foreignPart(Region damage, const Region& excluded, double nowS) {
    damage.unite(std::exchange(ownDamage_, {}));
    if (excluded.isEmpty()) return damage;
    auto foreign = recent_.partOf(damage, nowS);
    ownDamage_ = std::move(damage.subtract(excluded).subtract(foreign));
    return foreign;
}

bool DamageOrigin::isWorthFetching(bool isAnyExcluded, double nowS) const {
    return !isAnyExcluded || drawing_.isAny() || recent_.isAny(nowS) || nowS >= nextCheckS_;
}

Region DamageOrigin::takeDueOwnDamage(double nowS) {
    if (nowS < nextCheckS_) return {};
    nextCheckS_ = nowS + kCheckIntervalS;
    return std::exchange(ownDamage_, {});
}

}  // namespace kasto::x11
