#pragma once

#include "base/Geometry.h"
#include "model/CaptureArea.h"
#include "model/RenderSnapshot.h"

#include <mutex>
#include <optional>
#include <vector>

namespace kasto {

// One click pulse.
struct Ripple {
    Point px;       // where, in capture pixels
    double t0 = 0;  // when, in seconds on the media clock
};

// A take's virtual camera: pointer, zoom, pan, click pulses and the place of the webcam tile. Input writes
// into it, the compositor advances it once per output frame, the overlay reads the last result.
//
// Any thread; one lock guards all of it, held for the whole of each operation. Pure arithmetic: it draws
// nothing and knows no desktop service. Times are seconds on the media clock.
class CaptureModel {
public:
    CaptureModel();

    // Starts a take: unzoomed, unpanned, without pulses, centred on the picture and with the webcam tile off
    // until the next `setPip`. The captured area is given in global points and must not be degenerate; the
    // picture's size is in pixels.
    void configure(const Rect& displayBoundsPts, double pixW, double pixH);

    // The pointer, in global points, and whether a held button is to be shown as a disc there.
    void setMouse(Point globalPts, bool held);

    // A press at a point in global points; one outside the captured area is ignored.
    void spawnRipple(Point globalPts, double t);

    // Moves the view by a vector in points, scaled down by the current zoom.
    void pan(Vector viewPts);

    // Changes the natural logarithm of the requested zoom, within 1x and 8x.
    void zoom(double logDelta);

    void setPip(bool on, bool round);

    // Width / height of the webcam picture, already clamped by the caller.
    void setCamAspect(double aspect);

    // Eases zoom and centre on to `now` and returns what the frame of that moment shows. The first step of a
    // take eases nothing, a later one at most 0.1 s. Allocates nothing but the log line of a take's first
    // visible zoom.
    RenderSnapshot step(double now);

    // A copy of what the last `step` returned; moves no time forward.
    RenderSnapshot snapshot() const;

    // A copy of the recorded area. Empty before the first take.
    CaptureArea area() const;

private:
    void easeZoom(double dt);
    double panWeight(double z, double pannedPx) const;
    void easeCenter(double dt, double panWeight);
    Rect camRect() const;
    Rect crop(double z) const;

    mutable std::mutex lock_;
    CaptureArea area_;
    Point mousePx_;
    std::optional<Point> heldPx_;
    double zoomLogTarget_ = 0;
    Vector panOffsetPx_;
    double zoomRefForPan_ = 1.25;
    std::vector<Ripple> ripples_;
    bool pipOn_ = false;
    bool pipRound_ = false;
    double camAspect_ = 16.0 / 9.0;
    Point center_;
    double zoomLog_ = 0;
    std::optional<double> lastStep_;
    RenderSnapshot lastSnapshot_;
    bool loggedZoomVisible_ = false;
};

}  // namespace kasto
