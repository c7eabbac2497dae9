#include "movie/writer/MovieFileWriter.h"

#include <unistd.h>

#include <utility>

namespace kasto {

namespace {

// libx264's limit.
constexpr int kMaxSidePx = 16'384;

}  // namespace

MovieFileWriter::MovieFileWriter(std::filesystem::path file, MediaTime fragmentInterval,
                                 VideoEncoderMaker openVideoEncoder, SoundEncoderMaker openSoundEncoder)
    : path_(std::move(file)),
      fragmentInterval_(fragmentInterval),
      openVideoEncoder_(std::move(openVideoEncoder)),
      openSoundEncoder_(std::move(openSoundEncoder)) {}

MovieFileWriter::~MovieFileWriter() { cancelWriting(); }

WriterInput* MovieFileWriter::addVideoInput(const VideoInputSettings& settings) {
    const auto fits = [](int sizePx) { return sizePx > 0 && sizePx <= kMaxSidePx && sizePx % 2 == 0; };
    const bool sizeFits = fits(settings.width) && fits(settings.height);
    const bool ratesFit = settings.averageBitRate > 0 && settings.maxKeyFrameInterval > 0 &&
                          settings.expectedFrameRate > 0 && settings.expectedFrameRate <= kMovieTimescale;
    if (status() != WriterStatus::unknown || video_ || !sizeFits || !ratesFit) return nullptr;
    video_ = std::make_unique<VideoTrack>(settings, fragmentInterval_);
    return video_.get();
}

AudioWriterInput* MovieFileWriter::addAudioInput(const AudioInputSettings& settings) {
    const bool fits = (settings.channels == 1 || settings.channels == 2) && settings.bitRate > 0;
    if (status() != WriterStatus::unknown || !fits) return nullptr;
    // Without an encoder the movie has no such track, which is better than no movie.
    auto encoder = openSoundEncoder_(settings);
    if (!encoder) return nullptr;
    sounds_.push_back(std::make_unique<SoundTrack>(settings, std::move(*encoder)));
    return sounds_.back().get();
}

PixelBufferAdaptor* MovieFileWriter::adaptor(WriterInput& videoInput) {
    return &videoInput == video_.get() ? video_.get() : nullptr;
}

void MovieFileWriter::setOnFailure(std::function<void(const Error&)> onFailure) {
    onFailure_ = std::move(onFailure);
}

void MovieFileWriter::report(const Error& error) {
    if (mayReport_.exchange(false) && onFailure_) onFailure_(error);
}

bool MovieFileWriter::startWriting() {
    if (status() != WriterStatus::unknown) return false;
    if (const auto opened = open(); !opened) {
        if (video_) video_->cancel();
        fail(opened.error());
        return false;
    }
    outcome_.with([](Outcome& outcome) { outcome.status = WriterStatus::writing; });
    return true;
}

Result<void> MovieFileWriter::open() {
    if (!video_) return failure("the movie has no video track");
    if (auto opened = video_->open(openVideoEncoder_); !opened) return opened;
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
    // Without its beginning the file cannot be played.
    if (!begun) unlink(path_.c_str());
    return begun;
}

void MovieFileWriter::startSession(MediaTime time) {
    if (status() != WriterStatus::writing) return;
    video_->startSession(time);
    for (const auto& sound : sounds_) sound->startSession(time);
}

void MovieFileWriter::finishWriting() {
    if (status() == WriterStatus::unknown) fail({"the movie was never started", 0});
    if (status() != WriterStatus::writing) return;
    mayReport_ = false;
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

void MovieFileWriter::endTracks() {
    encoding_->async([this] {
        const double endS = video_->finish();
        for (const auto& sound : sounds_) sound->finish(endS);
    });
    encoding_->drain();
}

void MovieFileWriter::cancelWriting() {
    mayReport_ = false;
    outcome_.with([](Outcome& outcome) {
        if (outcome.status == WriterStatus::unknown || outcome.status == WriterStatus::writing)
            outcome.status = WriterStatus::cancelled;
    });
    if (video_) video_->cancel();
    for (const auto& sound : sounds_) sound->cancel();
    encoding_.reset();
}

WriterStatus MovieFileWriter::status() const {
    return outcome_.with([](const Outcome& outcome) { return outcome.status; });
}

std::optional<Error> MovieFileWriter::error() const {
    if (auto failed = outcome_.copy().error) return failed;
    if (status() != WriterStatus::writing) return std::nullopt;
    if (auto failed = video_->error()) return failed;
    return file_->error();
}

void MovieFileWriter::fail(const Error& error) {
    outcome_.with([&](Outcome& outcome) { outcome = {WriterStatus::failed, error}; });
}

}  // namespace kasto
