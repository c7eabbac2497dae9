#include "control/TakeController.h"

#include "base/log/SystemLog.h"
#include "control/TakeFiling.h"
#include "options/Prefs.h"
#include "recording/Mp4Conversion.h"

#include <utility>

namespace kasto {

TakeController::TakeController(CaptureModel& model, WebcamTile& tile, const Desktop& desktop,
                               RunOnMain runOnMain, TakeObserver& observer)
    : desktop_(desktop),
      runOnMain_(std::move(runOnMain)),
      observer_(observer),
      recorder_(model, tile, desktop),
      input_(model, desktop, [this] { runOnMain_([this] { observer_.quickMenuWanted(); }); }) {
    recorder_.onStreamStopped = [this](const std::optional<Error>& error) {
        runOnMain_([this, error] {
            failure_ = error;
            fire(Trigger::endedByItself);
        });
    };
}

TakeController::~TakeController() = default;

void TakeController::fire(Trigger trigger) {
    const Step step = stepFor(phase_, trigger);
    if (!step.next) return;
    if (step.action == Action::start && !observer_.mayStartTake()) return;
    const bool changes = phase_ != *step.next;
    if (step.firesAgain) keep(trigger);
    phase_ = *step.next;
    perform(step.action);
    if (changes && kept_) fire(*std::exchange(kept_, std::nullopt));
}

// A quit ends the take as well, so that it stands for both.
void TakeController::keep(Trigger trigger) {
    if (kept_ != Trigger::quit) kept_ = trigger;
}

void TakeController::perform(Action action) {
    switch (action) {
        case Action::none:
            break;
        case Action::start:
            startRecorder();
            break;
        case Action::begin:
            begin();
            break;
        case Action::tellFailure:
            tellFailure();
            break;
        case Action::finish:
            finish(true);
            break;
        case Action::finishUnseen:
            finish(false);
            break;
        case Action::waitForFinish:
            waitForFinish();
            break;
        case Action::tellEnd:
            observer_.takeEnded(ended_);
            break;
        case Action::terminate:
            observer_.mayTerminate();
            break;
    }
}

void TakeController::startRecorder() {
    failure_.reset();
    worker_.async([this] {
        auto started = recorder_.start();
        runOnMain_([this, started = std::move(started)] {
            if (!started) startError_ = started.error();
            fire(started ? Trigger::started : Trigger::startFailed);
        });
    });
}

void TakeController::begin() {
    startDate_ = std::chrono::system_clock::now();
    observer_.takeBegan();
    input_.start();
}

void TakeController::tellFailure() {
    systemLog("kasto: start failed: " + startError_.description);
    if (kept_ != Trigger::quit) observer_.takeFailed(startError_);
}

void TakeController::finish(bool reveal) {
    input_.stop();
    observer_.takeEnding();
    ended_ = {.file = {}, .reveal = reveal, .reason = failure_};
    worker_.async([this] {
        auto file = stopAndFile();
        runOnMain_([this, file = std::move(file)]() mutable {
            ended_.file = std::move(file);
            fire(Trigger::finished);
        });
    });
}

void TakeController::waitForFinish() {
    input_.stop();
    // A start or a finish that is under way ends before this. Where the take is finished by then, there is
    // nothing left to stop.
    worker_.async([this] { stopAndFile(); });
    worker_.drain();
}

std::optional<std::filesystem::path> TakeController::stopAndFile() {
    auto file = recorder_.stop();
    isFiling_ = true;
    if (file && !skipsFiling_) file = convertAndMove(*file);
    isFiling_ = false;
    return file;
}

// On the worker: it may take as long as copying the movie does.
std::filesystem::path TakeController::convertAndMove(const std::filesystem::path& movie) {
    auto file = movie;
    if (Prefs::convertMP4()) file = convertToMP4(desktop_.movieExports, file).value_or(file);
    return fileTake(file);
}

bool TakeController::skipFiling() {
    skipsFiling_ = true;
    return !isFiling_;
}

}  // namespace kasto
