#pragma once

#include "base/Geometry.h"

namespace kasto {

// Recognises a fixed number of fingers that spread, pinch or move together. It is fed with every contact
// frame. One thread at a time.
//
// The first frame with that number of fingers arms it. The gesture is engaged when the fingers leave the
// place they rested at; from then on every frame yields the change since the frame before. Another number of
// fingers ends the gesture after 0.15 s. A shorter interruption, a finger that flickers, only restarts the
// measuring, so that the view does not jump.
class ThreeFingerInterpreter {
public:
    struct Output {
        bool active = false;
        double zoomDelta = 0;  // natural logarithm of the change in zoom
        Vector panDelta{};     // in parts of the pad's size, y upwards
    };

    explicit ThreeFingerInterpreter(int fingers) : fingers_(fingers) {}

    // Forgets all frames.
    void reset();

    // One frame: how many fingers there are, their mean place, their mean distance from it (both in parts of
    // the pad's size), and the time in seconds.
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
