#pragma once

#include "base/Geometry.h"
#include "base/Guarded.h"
#include "base/Result.h"
#include "base/SerialQueue.h"
#include "platform/Desktop.h"
#include "platform/ScreenStream.h"
#include "recording/FrameCompositor.h"
#include "recording/LatestPicture.h"
#include "recording/TakeMovie.h"
#include "recording/TakePlan.h"

#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace kasto {

class CaptureModel;
class WebcamTile;

// Records one take after the other, each from the choice of the display to the finished file.
//
// start() and stop() block for as long as the desktop and the disk take, so they belong off the main thread.
// They may come from different threads; a call that overlaps another waits for it.
//
// The timeline of a take, and what runs where ("caller" is the thread that calls start() or stop()):
//
//   caller    start(): plan the take, configure the model, make the stream, open the movie's file,
//             start the capture (this moment is startT_, the movie's zero on the media clock),
//             start the frame timer
//   capture   every picture of the stream ─▶ latest_ (replaces the one before, changes add up);
//             if it shows another area than the one before, the model goes on with that area
//   encode    every tick, the first one kFirstFrameS after the capture:
//               step the model ─▶ snapshot
//               take the newest picture, and the webcam's tile for the snapshot
//               compose the frame ─▶ append it to the movie at the time now - startT_
//             The first frame that is composed starts the movie's session.
//   audio     every block of sound, once the session has started ─▶ its track
//   stream's  streamDidStopWithError(): the stream ended by itself ─▶ onStreamStopped
//   writer's  the disk is full, or an encoder failed ─▶ onStreamStopped
//   caller    stop(): stop the ticks, stop the stream, wait until the three queues are empty,
//             finish the file, release every picture
//
// Rules that the code relies on:
// - A tick never waits. If the writer is not ready, the pool has no free buffer or there is no picture yet,
// it
//   makes no frame. The next frame carries its own time, so the movie keeps time.
// - The model is stepped at every tick, even one without a frame, because its easing follows real time.
// - What changed on the screen is taken from latest_ only for a frame that is composed. If the movie then
//   refuses the frame, the next one is drawn as a whole.
// - Members used by jobs on the queues change only in start() and stop(), while the queues are empty.
//   life_ is the exception: the stream's and the writer's own threads may end the take at any time.
class Recorder final : private StreamOutput, private StreamDelegate {
public:
    // All three outlive the recorder. Opens nothing yet.
    Recorder(CaptureModel& model, WebcamTile& tile, const Desktop& desktop);

    // Ends a take that still runs, as stop() does.
    ~Recorder() override;

    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    // Opens the stream and the movie as the user's options say. A take runs when this returns without an
    // error.
    //
    // Fails with a KastoError or with the desktop's own error. The stream is closed then; a movie file that
    // was made already is deleted by the next start(), by stop() or by the destructor. Fails too while a take
    // is open, that is running, or ended by itself and not yet stopped, and leaves that take as it is.
    Result<void> start();

    // Ends the take and finishes its movie, if there is one. Returns the movie's file, or none if there was
    // no take, no frame was written or the writer failed. The file is deleted if it has no frame or if the
    // writer had failed before; a file that could not be completed is kept. Must not be called from within
    // onStreamStopped.
    std::optional<std::filesystem::path> stop();

    // The display recorded now or last, 0 before the first take. Must not be read while start() or stop()
    // runs.
    DisplayId captureDisplayID() const { return captureDisplayID_; }

    // Called when the take ends by itself, because the stream ended or the movie can no longer be written: at
    // most once per take, with the reason, on a thread of the stream's or the movie writer's. The take must
    // then be finished by stop(), on another thread. Must be set while no take is open.
    std::function<void(const std::optional<Error>&)> onStreamStopped;

private:
    // Whether the take runs. The stream's and the writer's own threads end it, start() and stop() change it,
    // and the ticks read it.
    struct Life {
        bool running = false;
        std::optional<Error> endedWith;  // why the take ended by itself
    };

    void streamDidOutputSampleBuffer(const SampleBuffer& buffer, StreamOutputType type) override;
    void streamDidStopWithError(const Error& error) override;

    void takeEndedByItself(const std::string& what, const Error& error);

    Result<std::unique_ptr<ScreenStream>> openStream(const TakePlan& plan);
    Result<void> startCapture(std::unique_ptr<ScreenStream> stream);
    void replaceMovie(TakeMovie movie);
    void followArea(const ScreenFrame& picture);
    void encodeTick();
    void drainQueues();
    std::optional<std::filesystem::path> closeMovie();

    CaptureModel& model_;
    WebcamTile& tile_;
    const Desktop desktop_;

    SerialQueue captureQueue_{"app.tolvane.kasto.capture", QueuePriority::userInteractive};
    SerialQueue videoQueue_{"app.tolvane.kasto.encode", QueuePriority::userInteractive};
    SerialQueue audioQueue_{"app.tolvane.kasto.audio", QueuePriority::userInteractive};

    std::mutex takeLock_;  // held by start() and stop() from beginning to end
    Guarded<Life> life_;
    LatestPicture latest_;
    DisplayId captureDisplayID_ = 0;

    // Changed only by start() and stop(), while no job that reads them is on a queue.
    std::optional<TakeMovie> movie_;
    double startT_ = 0;  // media clock, when the capture started

    // What the stream was made for, and what its newest picture shows: a part of the desktop, in global
    // points, and its size in pixels. Set by start(), then used by the capture queue only.
    Rect plannedPts_;
    Rect recordedPts_;
    Size recordedPx_;

    // Set by the encode queue when the movie has begun, read by the audio queue.
    std::atomic<bool> sessionStarted_ = false;
    // Used by the encode queue only, while a take runs.
    FrameCompositor compositor_;
    FrameIngredients ingredients_;

    std::unique_ptr<ScreenStream> stream_;
    std::unique_ptr<QueueTimer> timer_;
};

}  // namespace kasto
