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

// The displays that may be recorded now, in the desktop's order, and the programs whose windows may be left
// out.
struct ShareableContent {
    std::vector<DisplayId> displays;
    std::vector<RunningApplication> applications;
};

// What a stream shows: one display without the windows of some applications.
struct ContentFilter {
    DisplayId display = 0;
    std::vector<RunningApplication> excludedApplications;
};

struct StreamConfiguration {
    int width = 0;  // of the pictures at the start, in pixels
    int height = 0;
    double minimumFrameIntervalS = 0;  // must be set
    // A picture is needed this long after the start, and another one every interval from then on. A stream
    // that can choose its moments takes each picture shortly before.
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
    // Counts the pictures of a stream from 1. Two frames of the same generation show the same picture.
    std::uint64_t generation = 0;
    // The rectangles in which this picture may differ from that of the previous generation, in pixels of the
    // picture. Empty if that is unknown: it may differ everywhere.
    std::vector<PixelRect> changedPx;
    double timeS = 0;  // media clock, when it was taken
    // The part of the desktop that it shows, in global points. Empty: the part the stream was made for.
    Rect areaPts = {};
};

// A block of sound at 48 kHz, with the samples of all channels interleaved.
struct AudioSamples {
    std::vector<float> samples;
    int channels = 0;
    double presentationS = 0;  // when the first sample was heard, on the media clock
    double durationS = 0;
};

using SampleBuffer = std::variant<ScreenFrame, AudioSamples>;

// Receives pictures and sound of a stream, on the queue that it was registered with.
class StreamOutput {
public:
    virtual ~StreamOutput() = default;
    virtual void streamDidOutputSampleBuffer(const SampleBuffer& buffer, StreamOutputType type) = 0;
};

// Called once, on a thread of the stream's, when the stream ends by itself because the display is gone or the
// connection is lost. The call must not use the stream.
class StreamDelegate {
public:
    virtual ~StreamDelegate() = default;
    virtual void streamDidStopWithError(const Error& error) = 0;
};

// A running capture of one display. Made, started and stopped by one thread at a time; destruction stops it.
class ScreenStream {
public:
    virtual ~ScreenStream() = default;

    // Registers an output. To be called before the start. Output and queue outlive the stream.
    virtual Result<void> addStreamOutput(StreamOutput& output, StreamOutputType type, SerialQueue& queue) = 0;

    // Blocks until the capture runs.
    virtual Result<void> startCapture() = 0;

    // Blocks until nothing more is put on the queues. Jobs that are on them already still run.
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

    // True if streams can deliver a microphone's sound.
    virtual bool deliversMicrophone() const = 0;
};

}  // namespace kasto
