#pragma once

#include "base/Guarded.h"
#include "camera/CameraSource.h"
#include "camera/TilePainter.h"
#include "model/RenderSnapshot.h"

#include <optional>
#include <string>
#include <vector>

namespace kasto {

class CaptureModel;

// The webcam's picture in the corner of the movie: runs the camera, tells the model whether and in which
// shape the tile is shown, and draws it.
//
//   options ─▶ apply ─▶ CameraSource ──── picture ───▶ TilePainter ─▶ newest TilePicture
//                └────▶ CaptureModel ─ snapshot ─▶ takeFor ─┘ place        │
//                                                     └────────────────────▶ frame of the movie
//
// A tile is drawn on the camera's queue as soon as a picture comes, at the place the last frame asked for. A
// frame then only lays the drawn tile over the screen's picture: cameras deliver 30 pictures a second, movies
// have up to 60 frames. A frame whose tile has not been drawn at the right place yet is composed from the
// camera's picture itself, which looks the same.
class WebcamTile {
public:
    // Both outlive the tile. No camera runs yet.
    WebcamTile(CaptureModel& model, CameraSession& session);

    // What the user has chosen.
    struct Options {
        bool isShown = false;
        bool isRound = false;
        std::optional<std::string> cameraId;  // none: the default camera
    };

    // Shows the tile as the options say, and starts or stops the camera for it. A camera that runs goes on,
    // even if the options name another one. Returns at once. Main thread.
    void apply(const Options& options);

    // Runs the camera with this id in the place of the one that runs. Main thread.
    void changeCamera(const std::optional<std::string>& cameraId);

    // Stops the camera and drops its picture. Main thread.
    void stopCamera() { source_.stop(); }

    // The camera behind the tile.
    CameraSource& source() { return source_; }

    // What the frame with this snapshot shows of the webcam: nothing if the snapshot has no tile. Tells the
    // model the shape of the camera's picture, and has the next tiles drawn for the snapshot's place. One
    // thread at a time: the encode queue while a take runs.
    TilePicture takeFor(const RenderSnapshot& snapshot);

    // Draws no tile until a frame asks for one again, and drops the one that was drawn. Any thread.
    void endTake();

private:
    struct State {
        std::optional<TilePlace> wanted;
        TilePicture newest;
    };

    void pictureArrived(const PixelBufferRef& camera);

    CaptureModel& model_;
    Guarded<State> state_;
    TilePainter painter_;  // the camera queue's
    CameraSource source_;  // last: it ends first, and with it the queue that uses the others
};

}  // namespace kasto
