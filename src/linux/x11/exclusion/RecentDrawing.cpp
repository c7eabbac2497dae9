#include "linux/x11/exclusion/RecentDrawing.h"

#include <algorithm>

namespace kasto::x11 {

void RecentDrawing::note(const Region& area, double nowS, double lastsS) {
    if (area.isEmpty()) return;
    // An area that is drawn again and again takes one entry.
    std::erase_if(entries_, [&](const auto& entry) {
        return entry.untilS <= nowS || subtracted(entry.area, area).isEmpty();
    });
    entries_.push_back({area, nowS + lastsS});
}

void RecentDrawing::noteEverywhere(double nowS, double lastsS) {
    everywhereUntilS_ = std::max(everywhereUntilS_, nowS + lastsS);
}

Region RecentDrawing::partOf(const Region& damage, double nowS) const {
    if (nowS < everywhereUntilS_) return damage;
    Region drawn;
    for (const auto& entry : entries_)
        if (nowS < entry.untilS) drawn.unite(entry.area);
    return intersected(damage, drawn);
}

bool RecentDrawing::isAny(double nowS) const {
    return nowS < everywhereUntilS_ ||
           std::ranges::any_of(entries_, [&](const auto& entry) { return nowS < entry.untilS; });
}

}  // namespace kasto::x11
