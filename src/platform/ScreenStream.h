#pragma once

#include "base/Geometry.h"
#include "base/Result.h"
#include "base/SerialQueue.h"
#include "imaging/PixelBuffer.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace kasto {

struct RunningApplication {
    std::string bundleIdentifier;
};

// What may be recorded now, in the desktop's order.
struct ShareableContent {
    std::vector<DisplayId> displays;
    std::vector<RunningApplication> applications;
};

// One display without the windows of some applications.
struct ContentFilter {
    DisplayId display = 0;
    std::vector<RunningApplication> excludedApplications;
};

struct StreamConfiguration {
    int width = 0;  // of each picture, in pixels
    int height = 0;
    double minimumFrameIntervalS = 0;  // must be set
    // A picture is needed so long after the start, and one every interval from then on. A stream that chooses
    // its moments takes pictures shortly before.
    double firstNeededS = 0;
    int queueDepth = 8;  // pictures that may be held at a time, including those the stream holds
    bool showsCursor = true;
    std::optional<Rect> sourceRectPts;  // the part of the display, from its top-left corner; none = all of it
    bool capturesAudio = false;         // system sound, without the program's own
    bool capturesMicrophone = false;
};

enum class StreamOutputType { screen, audio, microphone };

// One picture of the screen.
struct ScreenFrame {
    // bgrx, top row first. They never change again while a reference to them is held. A frame without pixels
    // is ignored.
    PixelBufferRef pixels;
    // Counts the pictures of a stream from 1; two frames of one generation show the same.
    std::uint64_t generation = 0;
    // What differs from the picture of the previous generation, in pixels of the picture. Empty when unknown,
    // which means all of it.
    std::vector<PixelRect> changedPx;
    double timeS = 0;  // media clock, when it was taken
    // The part of the desktop that it shows, in global points. Empty: the part the stream was made for.
    Rect areaPts = {};
};

// Interleaved sound, 48 kHz.
struct AudioSamples {
    std::vector<float> samples;
    int channels = 0;
    double presentationS = 0;  // media clock, of the first sample
    double durationS = 0;
};

using SampleBuffer = std::variant<ScreenFrame, AudioSamples>;

// Takes what a stream delivers, on the queue it was registered with.
class StreamOutput {
public:
    virtual ~StreamOutput() = default;
    virtual void streamDidOutputSampleBuffer(const SampleBuffer& buffer, StreamOutputType type) = 0;
};

// Told once, on a thread of the stream's, when the stream ends by itself (display gone or resized, connection
// lost). It must not call back into the stream there.
class StreamDelegate {
public:
    virtual ~StreamDelegate() = default;
    virtual void streamDidStopWithError(const Error& error) = 0;
};

// A running capture of one display. Made, started and stopped by one thread at a time; destruction stops it.
class ScreenStream {
public:
    virtual ~ScreenStream() = default;

    // Before the start. Output and queue must outlive the stream.
    virtual Result<void> addStreamOutput(StreamOutput& output, StreamOutputType type, SerialQueue& queue) = 0;

    // Blocks until the capture runs.
    virtual Result<void> startCapture() = 0;

    // Blocks until nothing more is put on the queues; what is on them already is still delivered.
    virtual Result<void> stopCapture() = 0;
};

// Makes streams. Any thread; both operations may block.
class ScreenCapture {
public:
    virtual ~ScreenCapture() = default;

    virtual Result<ShareableContent> shareableContent() = 0;

    // The delegate must outlive the stream.
    virtual Result<std::unique_ptr<ScreenStream>> makeStream(const ContentFilter& filter,
                                                             const StreamConfiguration& configuration,
                                                             StreamDelegate& delegate) = 0;

    // True where a microphone track can be delivered.
    virtual bool deliversMicrophone() const = 0;
};

}  // namespace kasto
