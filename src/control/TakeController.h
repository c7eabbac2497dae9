#pragma once

#include "base/SerialQueue.h"
#include "control/TakeInput.h"
#include "control/TakePhases.h"
#include "platform/Desktop.h"
#include "recording/Recorder.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>

namespace kasto {

class CaptureModel;
class WebcamTile;

// How a take ended.
struct EndedTake {
    // Where its movie is; none when there is no movie.
    std::optional<std::filesystem::path> file;
    // The user is to be shown the file.
    bool reveal = false;
    // Why the take ended by itself; none if the user or the session ended it.
    std::optional<Error> reason;
};

// What the program shows of a take. Called on the main thread.
class TakeObserver {
public:
    virtual ~TakeObserver() = default;

    // Asked before a take starts. False leaves the controller idle.
    virtual bool mayStartTake() = 0;

    // The phase is recording.
    virtual void takeBegan() = 0;

    // The phase is idle again, and no take has begun. Not called while the program quits.
    virtual void takeFailed(const Error& error) = 0;

    // The phase is finishing. What the user sees of a running take is to go away.
    virtual void takeEnding() = 0;

    // The phase is idle again.
    virtual void takeEnded(const EndedTake& take) = 0;

    // The user has asked for the quick menu by fn + right click while a take runs.
    virtual void quickMenuWanted() = 0;

    // The phase is ended: every take is in its file, and none can start.
    virtual void mayTerminate() = 0;
};

// Runs one take after the other: the only place that starts or ends one. It holds a phase, and every wish and
// every news is a trigger that a table (TakePhases.h) turns into the next phase and an action.
//
//          start, toggle                     started
//    idle ───────────────▶ starting ────────────────────────▶ recording
//     │ ▲                     │ startFailed                       │ stop, toggle, quit,
//     │ │◀────────────────────┘                                   ▼ endedByItself
//     │ └─────────────────────────────────────────────────── finishing
//     │ quit                          finished
//     ▼
//   ended ◀── finishNow, from every phase
//
// What the drawing leaves out is ignored, with two exceptions. A quit in mid-take, and a take that ends by
// itself before its start has been reported, come too early: they are kept and fired again when the phase
// changes, until they are done. So a quit while a take is starting lets it start, finishes it, and ends the
// program then. Of two such triggers the quit is kept.
//
// Threads: the controller belongs to the main thread. Recorder::start() and stop(), converting and moving the
// movie block for as long as the desktop and the disk take; they run on the queue "take", one after the
// other, and report by a job on the main thread, where they are triggers like all others. So no lock is
// needed, and the phase that a trigger finds is always the present one.
class TakeController {
public:
    using Job = std::move_only_function<void()>;

    // Runs a job on the main thread, in the order given; called on any thread. From the moment the
    // controller's destruction begins it must run none of the controller's jobs any more.
    using RunOnMain = std::function<void(Job)>;

    // All of them outlive the controller. Nothing is opened yet.
    TakeController(CaptureModel& model, WebcamTile& tile, const Desktop& desktop, RunOnMain runOnMain,
                   TakeObserver& observer);

    // Completes the movie of a take that still runs, and leaves it where it was recorded. Blocks for that.
    ~TakeController();

    TakeController(const TakeController&) = delete;
    TakeController& operator=(const TakeController&) = delete;

    // Wishes. Each returns at once, and is ignored in a phase it does not fit.
    void start() { fire(Trigger::start); }
    void toggle() { fire(Trigger::toggle); }
    void stop() { fire(Trigger::stop); }
    void stopUnseen() { fire(Trigger::stopUnseen); }

    // Ends the take that is under way, if one is, then calls mayTerminate(): at once when idle.
    void quit() { fire(Trigger::quit); }

    // For a process that is about to end without its event loop: returns when the take that is under way is
    // in its file, converted and moved as ever. The observer is not told.
    void finishNow() { fire(Trigger::finishNow); }

    // While the program quits: gives up converting and moving the movie. False where the movie is complete
    // and one of these is under way, which cannot be interrupted; the process may then be ended as it is, and
    // leaves the movie where it was recorded.
    bool skipFiling();

    Phase phase() const { return phase_; }
    bool isRecording() const { return phase_ == Phase::recording; }

    // When the newest take began; before the first one, when the controller was made.
    std::chrono::system_clock::time_point startDate() const { return startDate_; }

    // The display that is recorded. While recording only.
    DisplayId displayID() const { return recorder_.captureDisplayID(); }

private:
    void fire(Trigger trigger);
    void perform(Action action);
    void keep(Trigger trigger);

    void startRecorder();
    void begin();
    void tellFailure();
    void finish(bool reveal);
    void waitForFinish();
    std::optional<std::filesystem::path> stopAndFile();
    std::filesystem::path convertAndMove(const std::filesystem::path& movie);

    const Desktop desktop_;
    const RunOnMain runOnMain_;
    TakeObserver& observer_;

    Phase phase_ = Phase::idle;
    std::optional<Trigger> kept_;  // to be fired again when the phase changes
    std::chrono::system_clock::time_point startDate_ = std::chrono::system_clock::now();
    Error startError_;              // of the newest start that failed
    std::optional<Error> failure_;  // of the newest take, if it ended by itself
    EndedTake ended_;               // the newest take that was finished

    std::atomic<bool> skipsFiling_ = false;
    std::atomic<bool> isFiling_ = false;  // the movie is complete, and being converted or moved

    Recorder recorder_;
    TakeInput input_;
    // The last member, so that its jobs have run before the recorder goes.
    SerialQueue worker_{"app.tolvane.kasto.take", QueuePriority::userInteractive};
};

}  // namespace kasto
