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

namespace kasto {

class CaptureModel;
class WebcamTile;

// One take after the other, each from the choice of the display to the finished file.
//
// start() and stop() block for as long as the desktop and the disk take, so they belong off the main thread.
// They may come from different threads; a call that overlaps another waits for it.
class Recorder final : private StreamOutput, private StreamDelegate {
public:
    // All three outlive the recorder. Nothing is opened yet.
    Recorder(CaptureModel& model, WebcamTile& tile, const Desktop& desktop);

    // Ends a take that still runs, as stop() does.
    ~Recorder() override;

    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    // Opens the stream and the movie as the user's options say; a take runs when it returns without error.
    // Fails with a KastoError or with the desktop's own error; what was opened until then is closed, an empty
    // movie file by the next start(), by stop() or by the destructor. While a take is open (running, or ended
    // by itself and not yet stopped) it fails and leaves that take alone.
    Result<void> start();

    // Ends the take and finishes its movie, if there is one. Returns the movie, or none when there was no
    // take, no frame was written, or the writer failed. Without a single frame, or with a writer that failed
    // before, the file is deleted; one that could not be completed stays where it is.
    // Not from within onStreamStopped.
    std::optional<std::filesystem::path> stop();

    // The display recorded now or last, 0 before the first take. To be read while neither start() nor stop()
    // is under way.
    DisplayId captureDisplayID() const { return captureDisplayID_; }

    // Called once per take at most, on a thread of the stream's, when the stream ends by itself; the take is
    // then still to be finished by stop(), from another thread. To be set while no take is open.
    std::function<void(const std::optional<Error>&)> onStreamStopped;

private:
    // What the stream's own thread and start() and stop() have to agree on.
    struct Life {
        bool running = false;
        std::optional<Error> endedWith;  // how the newest stream ended by itself
    };

    void streamDidOutputSampleBuffer(const SampleBuffer& buffer, StreamOutputType type) override;
    void streamDidStopWithError(const Error& error) override;

    Result<std::unique_ptr<ScreenStream>> openStream(const TakePlan& plan);
    Result<void> startCapture(std::unique_ptr<ScreenStream> stream);
    void replaceMovie(TakeMovie movie);
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

    // Changed by start() and stop() only, while no job that reads them is on a queue.
    std::optional<TakeMovie> movie_;
    double startT_ = 0;  // media clock, when the capture started

    // The encode queue's word to the audio queue that the movie has begun (and startT_ is set).
    std::atomic<bool> sessionStarted_ = false;
    // The encode queue's while a take runs.
    FrameCompositor compositor_;
    FrameIngredients ingredients_;

    std::unique_ptr<ScreenStream> stream_;
    std::unique_ptr<QueueTimer> timer_;
};

}  // namespace kasto
