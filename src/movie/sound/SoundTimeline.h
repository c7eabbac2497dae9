#pragma once

#include <cstdint>

namespace kasto {

// How a buffer of sound is added to a track without holes: first so many frames of silence, then the buffer
// without its first frames, slightly stretched.
struct SoundPlacement {
    std::int64_t silence = 0;  // frames
    std::int64_t skipped = 0;  // frames of the buffer; all of it when it comes too late
    double stretch = 0;        // the part of its own length by which the rest becomes longer
};

// Places buffers, by the times at which their sound was heard, on a line of frames that begins at the movie's
// zero and has no holes.
//
// The clock of a sound device runs up to a few hundred ppm faster or slower than the media clock. Taken as
// they come, its buffers would drift from the pictures by a second within an hour. The line therefore
// compares the time of each buffer with its own end. The times jitter by milliseconds, so the drift is the
// mean of that difference over about a second, and it is corrected at 10 % per second by resampling, by
// 0.2 % at most, which cannot be heard.
//
// A difference above 50 ms is no drift: the sound has a gap, which becomes silence, or it repeats what was
// heard already, which is skipped. Both are put right at once. The first buffer that is not skipped as a
// whole begins the line in the same way.
//
// Pure arithmetic, one thread at a time.
class SoundTimeline {
public:
    // Where a buffer goes that was heard from `timeS` of the movie on. A time that is not finite or far ahead
    // of the movie counts as the time of the line's end. The caller then tells by `advance` how many frames
    // the line has grown.
    SoundPlacement place(double timeS, std::int64_t frames);

    // So many frames were added to the line.
    void advance(std::int64_t frames) { frames_ += frames; }

    // Tells that the movie has come to this time. Returns the frames of silence to add when the line is more
    // than half a second behind, because its device sleeps. Filling as the movie goes on leaves no long hole
    // to encode at once.
    std::int64_t missing(double movieTimeS);

    // The line's end.
    std::int64_t frames() const { return frames_; }

private:
    std::int64_t frames_ = 0;
    bool hasBegun_ = false;
    double movieTimeS_ = 0;
    double driftS_ = 0;  // positive: the device is slow and the line is behind the movie
};

}  // namespace kasto
