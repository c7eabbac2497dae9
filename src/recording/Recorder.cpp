#include "recording/Recorder.h"

#include "base/MediaClock.h"
#include "base/MediaRates.h"
#include "base/NumberText.h"
#include "base/log/DebugLog.h"
#include "camera/WebcamTile.h"
#include "model/CaptureModel.h"
#include "options/Prefs.h"
#include "recording/FrameGeometry.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <variant>

namespace kasto {

using namespace std::string_literals;

namespace {

constexpr double kTickLeewayS = 0.002;

const char* trueOrFalse(bool value) { return value ? "true" : "false"; }

bool isWithinAPoint(const Rect& a, const Rect& b) {
    return std::max({std::abs(a.minX() - b.minX()), std::abs(a.minY() - b.minY()),
                     std::abs(a.maxX() - b.maxX()), std::abs(a.maxY() - b.maxY())}) < 1;
}

// "1280x720 @ (0,0)", in pixels and global points.
std::string areaText(const Rect& areaPts, Size sizePx) {
    return fixedText(sizePx.width, 0) + "x" + fixedText(sizePx.height, 0) + " @ (" + fixedText(areaPts.x, 0) +
           "," + fixedText(areaPts.y, 0) + ")";
}

}  // namespace

Recorder::Recorder(CaptureModel& model, WebcamTile& tile, const Desktop& desktop)
    : model_(model), tile_(tile), desktop_(desktop) {}

Recorder::~Recorder() { stop(); }

Result<void> Recorder::start() {
    const std::scoped_lock oneAtATime(takeLock_);
    if (stream_) return failure("a take is already being recorded");

    const auto plan = planTake(desktop_);
    if (!plan) return std::unexpected(plan.error());
    captureDisplayID_ = plan->filter.display;
    plannedPts_ = recordedPts_ = plan->areaGlobalPts;
    recordedPx_ = {static_cast<double>(plan->stream.width), static_cast<double>(plan->stream.height)};
    model_.configure(recordedPts_, recordedPx_.width, recordedPx_.height);

    auto stream = openStream(*plan);
    if (!stream) return std::unexpected(stream.error());
    const bool systemSound = plan->stream.capturesAudio;
    const bool microphone = plan->stream.capturesMicrophone;
    auto movie =
        TakeMovie::open(desktop_.movieWriters, Prefs::saveDir(), plan->video, systemSound, microphone,
                        [this](const Error& error) { takeEndedByItself("writing stopped", error); });
    if (!movie) return std::unexpected(movie.error());
    replaceMovie(std::move(*movie));
    latest_.begin(plan->video.width, plan->video.height);
    compositor_.begin(plan->video.width, plan->video.height);
    DebugLog::log("audio: sys="s + trueOrFalse(systemSound) + " mic=" + trueOrFalse(microphone));

    if (auto capturing = startCapture(std::move(*stream)); !capturing) return capturing;
    const int fps = plan->video.expectedFrameRate;
    timer_ = videoQueue_.startTimer(kFirstFrameS, 1.0 / fps, kTickLeewayS, [this] { encodeTick(); });
    DebugLog::log("recording " + std::to_string(plan->video.width) + "x" +
                  std::to_string(plan->video.height) + "@" + std::to_string(fps) + " → " +
                  movie_->file().filename().string());
    return {};
}

Result<std::unique_ptr<ScreenStream>> Recorder::openStream(const TakePlan& plan) {
    life_.set({});
    auto stream = desktop_.screenCapture.makeStream(plan.filter, plan.stream, *this);
    if (!stream) return stream;
    const auto add = [&](bool wanted, StreamOutputType type, SerialQueue& queue) -> Result<void> {
        if (!wanted) return {};
        return (*stream)->addStreamOutput(*this, type, queue);
    };
    auto added = add(true, StreamOutputType::screen, captureQueue_);
    if (added) added = add(plan.stream.capturesAudio, StreamOutputType::audio, audioQueue_);
    if (added) added = add(plan.stream.capturesMicrophone, StreamOutputType::microphone, audioQueue_);
    if (!added) return std::unexpected(added.error());
    return stream;
}

// If the capture of the take before could not be started, its movie is still here, without a frame.
void Recorder::replaceMovie(TakeMovie movie) {
    if (movie_) movie_->discard();
    movie_ = std::move(movie);
    sessionStarted_ = false;
}

Result<void> Recorder::startCapture(std::unique_ptr<ScreenStream> stream) {
    auto capturing = stream->startCapture();
    if (capturing) {
        startT_ = mediaClockNow();
        // A stream that has ended by itself already was not reported, because no take was running yet.
        capturing = life_.with([](Life& life) -> Result<void> {
            if (life.endedWith) return std::unexpected(*life.endedWith);
            life.running = true;
            return {};
        });
    }
    if (!capturing) {
        stream.reset();
        drainQueues();
        return capturing;
    }
    stream_ = std::move(stream);
    return {};
}

std::optional<std::filesystem::path> Recorder::stop() {
    const std::scoped_lock oneAtATime(takeLock_);
    life_.with([](Life& life) { life.running = false; });
    timer_.reset();
    if (stream_) {
        // If this fails, the destructor stops the stream.
        (void)stream_->stopCapture();
        stream_.reset();
    }
    drainQueues();
    return closeMovie();
}

// After this no tick and no append is running, and no picture of an ended stream can arrive.
void Recorder::drainQueues() {
    captureQueue_.drain();
    videoQueue_.drain();
    audioQueue_.drain();
}

std::optional<std::filesystem::path> Recorder::closeMovie() {
    if (!movie_) return std::nullopt;
    std::optional<std::filesystem::path> result;
    compositor_.end();
    if (sessionStarted_ && movie_->isWriting())
        result = movie_->finish();
    else
        movie_->discard();
    movie_.reset();
    latest_.end();
    tile_.endTake();
    ingredients_ = {};
    DebugLog::log("stopped → " + (result ? result->filename().string() : "(no file)"));
    return result;
}

void Recorder::streamDidOutputSampleBuffer(const SampleBuffer& buffer, StreamOutputType type) {
    if (const auto* picture = std::get_if<ScreenFrame>(&buffer)) {
        if (type == StreamOutputType::screen && picture->pixels) {
            followArea(*picture);
            latest_.put(*picture);
        }
    } else if (const auto* samples = std::get_if<AudioSamples>(&buffer)) {
        // Sound that comes before the first frame is dropped.
        if (sessionStarted_) movie_->audio().append(*samples, type, startT_);
    }
}

// The recorded display may have moved, or changed its resolution. Less than a point is rounding: what a
// stream records of a display that ends within a point, or has an odd number of pixels.
void Recorder::followArea(const ScreenFrame& picture) {
    const Rect areaPts = picture.areaPts.isEmpty() ? plannedPts_ : picture.areaPts;
    const Size size = sizeOf(*picture.pixels);
    if (size == recordedPx_ && isWithinAPoint(areaPts, recordedPts_)) return;
    recordedPts_ = areaPts;
    recordedPx_ = size;
    model_.moveTo(CaptureArea::fitting(areaPts, size, model_.area().sizePx()));
    DebugLog::log("display changed — recording " + areaText(areaPts, size));
}

void Recorder::streamDidStopWithError(const Error& error) { takeEndedByItself("stream stopped", error); }

// On a thread of the stream's or of the movie writer's.
void Recorder::takeEndedByItself(const std::string& what, const Error& error) {
    DebugLog::log(what + ": " + error.description);
    const bool wasRunning = life_.with([&](Life& life) {
        life.endedWith = error;
        return std::exchange(life.running, false);
    });
    if (wasRunning && onStreamStopped) onStreamStopped(error);
}

void Recorder::encodeTick() {
    if (!life_.with([](const Life& life) { return life.running; }) || !movie_) return;
    const double now = mediaClockNow();
    // Done even if this tick makes no frame: the easing follows real time.
    ingredients_.snapshot = model_.step(now);
    if (!movie_->isReadyForVideo()) return;
    PixelBufferPool* const pool = movie_->pixelBufferPool();
    // Taking the picture clears its changed blocks, so it is taken only for a frame that is composed.
    if (!pool || !latest_.take(ingredients_.screen)) return;
    ingredients_.tile = tile_.takeFor(ingredients_.snapshot);
    const PixelBufferRef frame = compositor_.compose(ingredients_, *pool);
    ingredients_.screen.pixels = {};
    if (!frame) return;

    const MediaTime pts = MediaTime::fromSeconds(now - startT_, kMovieTimescale);
    if (!sessionStarted_) {
        movie_->startSession(pts);
        sessionStarted_ = true;
    }
    // The dirty blocks of a refused frame are lost: the next frame is drawn as a whole.
    if (!movie_->appendVideo(frame, pts, compositor_.changed())) compositor_.end();
}

}  // namespace kasto
