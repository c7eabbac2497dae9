#include "linux/ffmpeg/FfmpegMovieWriter.h"

#include <unistd.h>

#include <utility>

namespace kasto::ffmpeg {

namespace {

// What libx264 takes.
constexpr int kMostPixelsASide = 16'384;

}  // namespace

FfmpegMovieWriter::FfmpegMovieWriter(std::filesystem::path file, MediaTime fragmentInterval)
    : path_(std::move(file)), fragmentInterval_(fragmentInterval) {}

FfmpegMovieWriter::~FfmpegMovieWriter() { cancelWriting(); }

WriterInput* FfmpegMovieWriter::addVideoInput(const VideoInputSettings& settings) {
    const auto fits = [](int sizePx) { return sizePx > 0 && sizePx <= kMostPixelsASide && sizePx % 2 == 0; };
    const bool sizeFits = fits(settings.width) && fits(settings.height);
    const bool ratesFit = settings.averageBitRate > 0 && settings.maxKeyFrameInterval > 0 &&
                          settings.expectedFrameRate > 0 && settings.expectedFrameRate <= kMovieTimescale;
    if (status() != WriterStatus::unknown || video_ || !sizeFits || !ratesFit) return nullptr;
    video_ = std::make_unique<VideoTrack>(settings, fragmentInterval_);
    return video_.get();
}

AudioWriterInput* FfmpegMovieWriter::addAudioInput(const AudioInputSettings& settings) {
    const bool fits = (settings.channels == 1 || settings.channels == 2) && settings.bitRate > 0;
    if (status() != WriterStatus::unknown || !fits) return nullptr;
    // A movie without sound is better than none.
    auto sound = std::make_unique<SoundTrack>(settings);
    if (!sound->open()) return nullptr;
    sounds_.push_back(std::move(sound));
    return sounds_.back().get();
}

PixelBufferAdaptor* FfmpegMovieWriter::adaptor(WriterInput& videoInput) {
    return &videoInput == video_.get() ? video_.get() : nullptr;
}

void FfmpegMovieWriter::setOnFailure(std::function<void(const Error&)> onFailure) {
    onFailure_ = std::move(onFailure);
}

void FfmpegMovieWriter::report(const Error& error) {
    if (!isReported_.exchange(true) && onFailure_) onFailure_(error);
}

bool FfmpegMovieWriter::startWriting() {
    if (status() != WriterStatus::unknown) return false;
    if (const auto opened = open(); !opened) {
        if (video_) video_->cancel();
        fail(opened.error());
        return false;
    }
    outcome_.with([](Outcome& outcome) { outcome.status = WriterStatus::writing; });
    return true;
}

Result<void> FfmpegMovieWriter::open() {
    if (!video_) return failure("the movie has no video track");
    if (const auto opened = video_->open(); !opened) return opened;
    auto file = MovieFile::create(path_, fragmentInterval_);
    if (!file) return std::unexpected(file.error());
    file_ = std::move(*file);
    file_->setOnFailure([this](const Error& error) { report(error); });
    video_->setOnFailure([this](const Error& error) { report(error); });
    encoding_ = std::make_unique<SerialQueue>("app.tolvane.kasto.movie", QueuePriority::userInteractive);
    video_->beginIn(*file_, *encoding_, [this](double movieTimeS) {
        for (const auto& sound : sounds_) sound->movieReached(movieTimeS);
    });
    for (const auto& sound : sounds_) sound->beginIn(*file_, *encoding_);
    const auto begun = file_->begin();
    // A file without a beginning is of use to nobody.
    if (!begun) unlink(path_.c_str());
    return begun;
}

void FfmpegMovieWriter::startSession(MediaTime time) {
    if (status() != WriterStatus::writing) return;
    video_->startSession(time);
    for (const auto& sound : sounds_) sound->startSession(time);
}

void FfmpegMovieWriter::finishWriting() {
    if (status() == WriterStatus::unknown) fail({"the movie was never started", 0});
    if (status() != WriterStatus::writing) return;
    isReported_ = true;
    endTracks();
    const auto finished = file_->finish();
    // The encoder's error came first, if there are two.
    auto early = video_->error();
    if (!early) early = file_->error();
    if (finished) {
        outcome_.set({WriterStatus::completed, early});
    } else {
        fail(early.value_or(finished.error()));
    }
}

void FfmpegMovieWriter::endTracks() {
    encoding_->async([this] {
        const double endS = video_->finish();
        for (const auto& sound : sounds_) sound->finish(endS);
    });
    encoding_->drain();
}

void FfmpegMovieWriter::cancelWriting() {
    isReported_ = true;
    outcome_.with([](Outcome& outcome) {
        if (outcome.status == WriterStatus::unknown || outcome.status == WriterStatus::writing)
            outcome.status = WriterStatus::cancelled;
    });
    if (video_) video_->cancel();
    for (const auto& sound : sounds_) sound->cancel();
    encoding_.reset();
}

WriterStatus FfmpegMovieWriter::status() const {
    return outcome_.with([](const Outcome& outcome) { return outcome.status; });
}

std::optional<Error> FfmpegMovieWriter::error() const {
    if (auto failed = outcome_.copy().error) return failed;
    if (status() != WriterStatus::writing) return std::nullopt;
    if (auto failed = video_->error()) return failed;
    return file_->error();
}

void FfmpegMovieWriter::fail(const Error& error) {
    outcome_.with([&](Outcome& outcome) { outcome = {WriterStatus::failed, error}; });
}

}  // namespace kasto::ffmpeg
