#pragma once

#include "base/MediaClock.h"
#include "base/Result.h"
#include "imaging/BlockSet.h"
#include "imaging/PixelBuffer.h"
#include "platform/ScreenStream.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

namespace kasto {

// H.264 High, automatic level.
struct VideoInputSettings {
    int width = 0;  // even
    int height = 0;
    std::int64_t averageBitRate = 0;  // bits per second
    int maxKeyFrameInterval = 0;      // frames
    int expectedFrameRate = 0;
};

// AAC, 48 kHz.
struct AudioInputSettings {
    int channels = 0;
    int bitRate = 0;
};

enum class WriterStatus { unknown, writing, completed, failed, cancelled };

// One track of a movie being written. Owned by the writer.
class WriterInput {
public:
    virtual ~WriterInput() = default;

    // False while the track's queue is full: what comes then is to be dropped, not waited for. Any thread.
    virtual bool isReadyForMoreMediaData() const = 0;

    // No more is appended after this.
    virtual void markAsFinished() = 0;
};

class AudioWriterInput : public WriterInput {
public:
    // `presentationTime` counts from the movie's zero. False if it was refused. One thread at a time.
    virtual bool append(const AudioSamples& samples, MediaTime presentationTime) = 0;
};

// Takes the pictures of the video track. Owned by the writer, and gone with it.
class PixelBufferAdaptor {
public:
    virtual ~PixelBufferAdaptor() = default;

    // Buffers in the format the encoder takes, of the movie's size; none before the writing started.
    virtual PixelBufferPool* pixelBufferPool() = 0;

    // Queues a picture and returns at once; times must rise. The buffer must not change any more. The buffer
    // of the previous picture may be given again: the screen then shows the same. `changed` are the blocks of
    // the picture that may differ from the picture appended before; for the first one, all of them. False if
    // it was refused. One thread at a time.
    virtual bool append(const PixelBufferRef& buffer, MediaTime presentationTime,
                        const BlockSet& changed) = 0;
};

// Writes one movie file. One thread at a time, except where an operation says otherwise; destruction without
// a finish cancels.
class MovieWriter {
public:
    virtual ~MovieWriter() = default;

    // Adds the one video track before the start; null if the writer cannot.
    virtual WriterInput* addVideoInput(const VideoInputSettings& settings) = 0;

    // Adds a sound track before the start; null if the writer cannot.
    virtual AudioWriterInput* addAudioInput(const AudioInputSettings& settings) = 0;

    // The way in for the pictures of the video input.
    virtual PixelBufferAdaptor* adaptor(WriterInput& videoInput) = 0;

    // Called once at most, when writing ends by itself: the disk is full, or the video encoder or the disk
    // failed. Nothing is accepted any more then, but the status stays `writing`, and `finishWriting` makes a
    // movie of what there is. The call comes on a thread of the writer's, which `finishWriting` waits for: it
    // must return at once and not use the writer. No call begins after `finishWriting` or `cancelWriting`.
    // To be set before the start.
    virtual void setOnFailure(std::function<void(const Error&)> onFailure) = 0;

    // Opens the encoders and the file. False leaves the status failed.
    virtual bool startWriting() = 0;

    // The movie begins at this time: what lies before it is left out. Once, after the start.
    virtual void startSession(MediaTime time) = 0;

    // Ends the tracks, makes the file an ordinary movie and waits for it. The time this takes does not grow
    // with the length of the movie. The status is then `completed` if the file plays, even if writing ended
    // early, of which `error` tells; else `failed`.
    virtual void finishWriting() = 0;

    // Stops at once; the file may stay behind, incomplete.
    virtual void cancelWriting() = 0;

    // Any thread.
    virtual WriterStatus status() const = 0;

    // Why the status is failed, or why writing ended early. Any thread.
    virtual std::optional<Error> error() const = 0;
};

// Makes movie writers. Any thread.
class MovieWriters {
public:
    virtual ~MovieWriters() = default;

    // A QuickTime movie at `file`, which must not exist. While it is written it consists of fragments of this
    // length, each complete on disk before the next, so that an interrupted movie plays up to the last one.
    virtual Result<std::unique_ptr<MovieWriter>> makeWriter(const std::filesystem::path& file,
                                                            MediaTime fragmentInterval) = 0;
};

}  // namespace kasto
