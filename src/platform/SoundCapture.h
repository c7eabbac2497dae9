#pragma once

#include "base/Result.h"
#include "base/SerialQueue.h"
#include "platform/ScreenStream.h"

#include <memory>

namespace kasto {

// Sound that is being captured. Destruction blocks until nothing more is put on the queue.
class SoundRun {
public:
    virtual ~SoundRun() = default;
};

// The sound of a desktop: what it plays, and its default microphone. Any thread but its own.
class SoundCapture {
public:
    virtual ~SoundCapture() = default;

    // Delivers sound of one type, `audio` in stereo or `microphone` in mono, to the output on the queue, as
    // AudioSamples in the order of their capture. Returns at once. Sound comes as soon as there is any, also
    // again after the device or the sound service has been away. Output and queue outlive the run.
    virtual Result<std::unique_ptr<SoundRun>> start(StreamOutputType type, StreamOutput& output,
                                                    SerialQueue& queue) = 0;

    // True if a microphone can be captured.
    virtual bool deliversMicrophone() const = 0;
};

}  // namespace kasto
