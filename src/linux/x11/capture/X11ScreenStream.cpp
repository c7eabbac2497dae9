#include "linux/x11/capture/X11ScreenStream.h"

#include "base/MediaClock.h"
#include "base/Thread.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace kasto::x11 {

namespace {

// Safety margin for timer jitter. A reading starts this margin plus the recent reading time before the
// encoder's tick; this is the latency of the pictures.
constexpr double kMarginS = 0.002;

// The recent reading time is the longest one, forgotten by this factor with each later reading.
constexpr double kDecay = 0.98;

// A reading starts at most this part of the interval before the tick.
constexpr double kMaxLead = 0.75;

}  // namespace

X11ScreenStream::X11ScreenStream(ReadSettings settings, const SourceLocator& locator,
                                 double minimumFrameIntervalS, StreamDelegate& delegate, double firstNeededS)
    : settings_(std::move(settings)),
      locator_(locator),
      intervalS_(minimumFrameIntervalS),
      firstNeededS_(firstNeededS),
      delegate_(delegate) {}

X11ScreenStream::~X11ScreenStream() {
    // Stopping a stream does not fail.
    static_cast<void>(stopCapture());
}

Result<void> X11ScreenStream::addStreamOutput(StreamOutput& output, StreamOutputType type,
                                              SerialQueue& queue) {
    if (thread_.joinable()) return failure("the stream runs already");
    // This stream has no sound, so outputs for sound receive nothing.
    if (type != StreamOutputType::screen) return {};
    if (output_) return failure("the stream has an output for pictures already");
    output_ = &output;
    queue_ = &queue;
    return {};
}

Result<void> X11ScreenStream::startCapture() {
    if (thread_.joinable()) return failure("the stream runs already");
    stopping_ = false;
    std::promise<Result<void>> started;
    auto whenStarted = started.get_future();
    thread_ = std::thread([this, promise = std::move(started)]() mutable { run(std::move(promise)); });
    auto result = whenStarted.get();
    if (!result) thread_.join();
    return result;
}

Result<void> X11ScreenStream::stopCapture() {
    if (!thread_.joinable()) return {};
    {
        const std::scoped_lock held(mutex_);
        stopping_ = true;
    }
    wake_.notify_one();
    thread_.join();
    return {};
}

void X11ScreenStream::run(std::promise<Result<void>> started) {
    nameThread("screen");
    setThreadPriority(ThreadPriority::userInteractive);
    auto reader = FollowingReader::open(settings_, locator_);
    const auto begun = reader ? readFirst(*reader) : std::unexpected(reader.error());
    started.set_value(begun);
    if (!begun) return;
    if (const auto ended = readUntilStopped(*reader); !ended) delegate_.streamDidStopWithError(ended.error());
}

Result<void> X11ScreenStream::readFirst(FollowingReader& reader) {
    constexpr double kPatienceS = 2;
    const double untilS = mediaClockNow() + kPatienceS;
    while (mediaClockNow() < untilS) {
        auto picture = reader.readPicture();
        if (!picture) return std::unexpected(picture.error());
        if (*picture) {
            deliver(std::move(**picture));
            return {};
        }
        std::this_thread::sleep_for(std::chrono::duration<double>(intervalS_));
    }
    return failure("the X server does not let the screen be read");
}

Result<void> X11ScreenStream::readUntilStopped(FollowingReader& reader) {
    const double neededS = mediaClockNow() + firstNeededS_;
    double readingS = 0;
    const auto leadS = [&] { return std::min(readingS + kMarginS, kMaxLead * intervalS_); };
    const auto next = [&] { return std::ceil((mediaClockNow() + leadS() - neededS) / intervalS_); };
    for (double tick = next(); waitUntil(neededS + tick * intervalS_ - leadS());) {
        const double beganS = mediaClockNow();
        auto picture = reader.readPicture();
        if (!picture) return std::unexpected(picture.error());
        if (*picture) deliver(std::move(**picture));
        readingS = std::max(kDecay * readingS, mediaClockNow() - beganS);
        // Missed ticks are skipped.
        tick = std::max(tick + 1, next());
    }
    return {};
}

void X11ScreenStream::deliver(ScreenPicture picture) {
    ++generation_;
    if (!output_) return;
    ScreenFrame frame{.pixels = std::move(picture.pixels),
                      .generation = generation_,
                      .changedPx = std::move(picture.changedPx),
                      .timeS = picture.timeS,
                      .areaPts = picture.areaPts};
    queue_->async([output = output_, sample = SampleBuffer(std::move(frame))] {
        output->streamDidOutputSampleBuffer(sample, StreamOutputType::screen);
    });
}

bool X11ScreenStream::waitUntil(double timeS) {
    const std::chrono::steady_clock::time_point due(
        std::chrono::duration_cast<std::chrono::steady_clock::duration>(
            std::chrono::duration<double>(timeS)));
    std::unique_lock held(mutex_);
    return !wake_.wait_until(held, due, [this] { return stopping_; });
}

}  // namespace kasto::x11
