#pragma once

#include "base/Geometry.h"

namespace kasto {

// Recognises a fixed number of fingers that spread, pinch or move together. Fed with every contact frame;
// deltas flow once the fingers have left their resting place, and survive a finger that flickers. Not
// thread-safe.
class ThreeFingerInterpreter {
public:
    struct Output {
        bool active = false;
        double zoomDelta = 0;  // natural logarithm of the change of scale
        Vector panDelta{};     // in parts of the pad, y upwards
    };

    explicit ThreeFingerInterpreter(int fingers) : fingers_(fingers) {}

    // Back to fingers never seen.
    void reset();

    // How many fingers there are, their mean place and their mean distance from it (in parts of the pad) at
    // the time `t` in seconds.
    Output ingest(int count, Point centroid, double spread, double t);

private:
    void arm(Point centroid, double spread);
    bool leavesRest(Point centroid, double spread);
    Output deltas(Point centroid, double spread);

    const int fingers_;
    bool armed_ = false;
    bool engaged_ = false;
    bool needsRebase_ = false;
    Point baseCentroid_;
    double baseSpread_ = 0;
    Point lastCentroid_;
    double lastSpread_ = 0;
    double lastT_ = 0;
    double lastMatchT_ = -1;
};

}  // namespace kasto
