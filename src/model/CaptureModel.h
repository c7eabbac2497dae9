#pragma once

#include "base/Geometry.h"
#include "model/CaptureArea.h"
#include "model/RenderSnapshot.h"

#include <mutex>
#include <optional>
#include <vector>

namespace kasto {

// One pulse, as remembered from the press that caused it.
struct Ripple {
    Point px;       // of the press, in capture pixels
    double t0 = 0;  // of the press, in seconds on the media clock
};

// A take's virtual camera: pointer, zoom, pan, pulses and the place of the webcam tile. The input classes
// write into it, the recorder advances it once per tick, and the overlay reads the last result.
//
// Any thread. One lock guards the whole object and is held for the whole of each operation. The model is
// arithmetic only: it draws nothing and uses no desktop service. Times are seconds on the media clock.
class CaptureModel {
public:
    CaptureModel();

    // Starts a take: unzoomed, unpanned, without pulses, centred, and without the webcam tile until the next
    // `setPip`. The capture area is given in global points and must not be empty; the size of the movie's
    // frame is given in pixels.
    void configure(const Rect& displayBoundsPts, double pixW, double pixH);

    // Goes on with another area of the same frame size, because the recorded display has changed in mid-take.
    // Zoom, pan and pulses stay as they are.
    void moveTo(const CaptureArea& area);

    // The pointer, in global points, and whether a held button is to be shown as a disc there.
    void setMouse(Point globalPts, bool held);

    // Starts a pulse for a press at a point in global points, at the time `t`. A press outside the capture
    // area is ignored. Of more than 24 pulses the oldest is dropped.
    void spawnRipple(Point globalPts, double t);

    // Moves the view by a vector in points of the magnified picture: at 2x, 10 points move it by 5 points of
    // the screen.
    void pan(Vector viewPts);

    // Adds to the natural logarithm of the requested zoom, which stays within 1x and 8x.
    void zoom(double logDelta);

    // Whether the webcam tile is shown, and whether it is a circle.
    void setPip(bool on, bool round);

    // Width divided by height of the webcam's picture. The caller has clamped it to what a tile may look
    // like.
    void setCamAspect(double aspect);

    // Eases zoom and centre to the time `now` and returns what the frame of that time shows. The first step
    // of a take eases nothing, and a later one eases at most 0.1 s. It allocates nothing, except for the log
    // line that is written when a take's zoom becomes visible for the first time.
    RenderSnapshot step(double now);

    // A copy of what the last `step` returned.
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
