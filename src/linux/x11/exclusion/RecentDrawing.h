#pragma once

#include "linux/x11/server/Region.h"

#include <vector>

namespace kasto::x11 {

// Where something was drawn of late: what is on the screen there may still change for it. One thread.
class RecentDrawing {
public:
    void note(const Region& area, double nowS, double lastsS);
    void noteEverywhere(double nowS, double lastsS);

    // The part of `damaged` that may have come of it.
    Region explains(const Region& damaged, double nowS) const;
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
