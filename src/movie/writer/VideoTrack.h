#pragma once

#include "base/Guarded.h"
#include "base/SerialQueue.h"
#include "movie/container/MovieFile.h"
#include "movie/encoder/VideoEncoder.h"
#include "platform/MovieWriter.h"

#include <atomic>
#include <functional>
#include <limits>
#include <memory>
#include <optional>

namespace kasto {

// The video track of a movie: a short queue of pictures, which are encoded and written to the file. A picture
// is refused when the queue is full, or when its time is not at least one unit of 1/600 s after the picture
// before.
class VideoTrack final : public WriterInput, public PixelBufferAdaptor {
public:
    VideoTrack(VideoInputSettings settings, MediaTime fragmentInterval);

    // Opens the encoder. Blocks.
    Result<void> open(const VideoEncoderMaker& openEncoder);

    // Adds the track to the file and accepts pictures from now on. The file and the queue must outlive the
    // track's use. Pictures are encoded on the queue, and `reached` is called there with the time of each.
    void beginIn(MovieFile& file, SerialQueue& encoding, std::function<void(double movieTimeS)> reached);

    // The movie's zero; only the first call counts.
    void startSession(MediaTime time);

    // Encodes and writes what the encoder still holds. Returns the time in seconds at which the last picture
    // begins, 0 if there is none. On the encoding queue.
    double finish();

    // Discards the queued pictures and accepts no more. Any thread.
    void cancel();

    // Called on the encoding queue when the encoder fails, once. To be set before `beginIn`.
    void setOnFailure(std::function<void(const Error&)> onFailure) { onFailure_ = std::move(onFailure); }

    // Why no more pictures are accepted, if the encoder failed. Any thread.
    std::optional<Error> error() const { return error_.copy(); }

    bool isReadyForMoreMediaData() const override;
    void markAsFinished() override { accepting_ = false; }

    // Has as many buffers as the queue can hold, and a few for the compositor and the encoder.
    PixelBufferPool* pixelBufferPool() override { return pool_.get(); }
    bool append(const PixelBufferRef& buffer, MediaTime presentationTime, const BlockSet& changed) override;

private:
    void encode(PictureToEncode& picture);
    bool beginsFragment(std::int64_t timeUnits);
    void fail(const Error& error);
    PictureSink toFile();

    static constexpr std::int64_t kNone = std::numeric_limits<std::int64_t>::min();

    const VideoInputSettings settings_;
    const MediaTime fragmentInterval_;
    const int queueLimit_;
    std::unique_ptr<PixelBufferPool> pool_;
    MovieFile* file_ = nullptr;
    std::size_t indexInFile_ = 0;
    std::atomic<std::int64_t> sessionStartUnits_ = kNone;
    std::int64_t lastUnits_ = kNone;           // the appending thread's
    std::int64_t fragmentStartUnits_ = kNone;  // the encoding thread's
    std::atomic<bool> accepting_ = false;
    std::atomic<bool> discarding_ = false;
    std::atomic<int> queued_ = 0;
    std::function<void(const Error&)> onFailure_;
    Guarded<std::optional<Error>> error_;
    std::unique_ptr<VideoEncoder> encoder_;  // the encoding queue's while there is one
    SerialQueue* encoding_ = nullptr;
    std::function<void(double movieTimeS)> reached_;
};

}  // namespace kasto
