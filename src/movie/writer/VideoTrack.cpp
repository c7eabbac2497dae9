#include "movie/writer/VideoTrack.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kasto {

namespace {

// The buffer that is being drawn, the one drawn before, which may be appended again, and two that the encoder
// reads.
constexpr int kBuffersBesideQueue = 4;

// The queue holds eight pictures, or fewer so that it takes at most kMaxBytes of memory.
int queueLimitFor(const VideoInputSettings& settings) {
    constexpr std::int64_t kMaxBytes = 64 << 20;
    const std::int64_t pictureBytes = std::int64_t{settings.width} * settings.height * 3 / 2;
    return static_cast<int>(std::clamp<std::int64_t>(kMaxBytes / pictureBytes, 3, 8));
}

std::int64_t toVideoUnits(MediaTime time) {
    if (time.timescale == kMovieTimescale) return time.value;
    return std::llround(time.seconds() * kMovieTimescale);
}

}  // namespace

VideoTrack::VideoTrack(VideoInputSettings settings, MediaTime fragmentInterval)
    : settings_(settings), fragmentInterval_(fragmentInterval), queueLimit_(queueLimitFor(settings)) {}

Result<void> VideoTrack::open(const VideoEncoderMaker& openEncoder) {
    auto encoder = openEncoder(settings_);
    if (!encoder) return std::unexpected(encoder.error());
    encoder_ = std::move(*encoder);
    return {};
}

void VideoTrack::beginIn(MovieFile& file, SerialQueue& encoding,
                         std::function<void(double movieTimeS)> reached) {
    file_ = &file;
    indexInFile_ = file.addTrack(avcTrackFormat(settings_, encoder_->decoderConfiguration()));
    pool_ = std::make_unique<PixelBufferPool>(PixelFormat::i420, settings_.width, settings_.height,
                                              queueLimit_ + kBuffersBesideQueue);
    encoding_ = &encoding;
    reached_ = std::move(reached);
    accepting_ = true;
}

void VideoTrack::startSession(MediaTime time) {
    std::int64_t none = kNone;
    sessionStartUnits_.compare_exchange_strong(none, toVideoUnits(time));
}

bool VideoTrack::isReadyForMoreMediaData() const {
    return accepting_ && queued_ < queueLimit_ && file_->isKeepingUp() && !file_->error();
}

bool VideoTrack::append(const PixelBufferRef& buffer, MediaTime presentationTime, const BlockSet& changed) {
    const std::int64_t sessionStartUnits = sessionStartUnits_;
    if (!isReadyForMoreMediaData() || sessionStartUnits == kNone) return false;
    if (!buffer || buffer->format() != PixelFormat::i420 || buffer->width() != settings_.width ||
        buffer->height() != settings_.height)
        return false;
    const std::int64_t timeUnits = toVideoUnits(presentationTime) - sessionStartUnits;
    if (timeUnits < 0 || timeUnits <= lastUnits_) return false;
    lastUnits_ = timeUnits;
    ++queued_;
    PictureToEncode picture{.pixels = buffer, .timeUnits = timeUnits, .changed = changed};
    encoding_->async([this, picture = std::move(picture)]() mutable {
        encode(picture);
        picture = {};
        --queued_;
    });
    return true;
}

void VideoTrack::encode(PictureToEncode& picture) {
    if (discarding_) return;
    picture.isIdrWanted = beginsFragment(picture.timeUnits);
    picture.backlog = (queued_ - 1.0) / queueLimit_;
    if (const auto encoded = encoder_->encode(picture, toFile()); !encoded) fail(encoded.error());
    reached_(static_cast<double>(picture.timeUnits) / kMovieTimescale);
}

// The file begins a fragment at an IDR picture, so the encoder is asked for one when a fragment is due.
bool VideoTrack::beginsFragment(std::int64_t timeUnits) {
    const bool begins =
        fragmentStartUnits_ == kNone ||
        static_cast<double>(timeUnits - fragmentStartUnits_) / kMovieTimescale >= fragmentInterval_.seconds();
    if (begins) fragmentStartUnits_ = timeUnits;
    return begins;
}

PictureSink VideoTrack::toFile() {
    return [this](const EncodedPicture& picture) {
        file_->append(indexInFile_,
                      {.data = picture.data, .timeUnits = picture.timeUnits, .isSync = picture.isIdr});
    };
}

double VideoTrack::finish() {
    accepting_ = false;
    if (!discarding_) {
        if (const auto finished = encoder_->finish(toFile()); !finished) fail(finished.error());
    }
    encoder_.reset();
    return static_cast<double>(std::max<std::int64_t>(lastUnits_, 0)) / kMovieTimescale;
}

void VideoTrack::cancel() {
    accepting_ = false;
    discarding_ = true;
}

void VideoTrack::fail(const Error& error) {
    accepting_ = false;
    discarding_ = true;
    error_.set(error);
    if (onFailure_) onFailure_(error);
}

}  // namespace kasto
