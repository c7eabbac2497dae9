#pragma once

#include "linux/x11/server/Region.h"

#include <vector>

namespace kasto::x11 {

// Areas other clients drew to recently. A compositing manager presents them with a delay, so later root
// damage there is theirs. Times are seconds on the media clock. One thread.
class RecentDrawing {
public:
    // Drawing in this area may cause root damage for so long.
    void note(const Region& area, double nowS, double lastsS);

    // Any root damage may be foreign for so long.
    void noteEverywhere(double nowS, double lastsS);

    // The part of `damage` that recent drawing may have caused.
    Region partOf(const Region& damage, double nowS) const;

    // False if `partOf` is empty for any damage.
    bool isAny(double nowS) const;

private:
    struct Entry {
        Region area;
        double untilS;
    };
    std::vector<Entry> entries_;
    double everywhereUntilS_ = 0;
};

}  // namespace kasto::x11
