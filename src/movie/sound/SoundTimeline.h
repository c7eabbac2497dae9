#pragma once

#include <cstdint>

namespace kasto {

// What to do with a buffer of sound so that a track without holes stays in time: first so much silence, then
// the buffer without its first frames, slightly stretched.
struct SoundPlacement {
    std::int64_t silence = 0;  // frames
    std::int64_t skipped = 0;  // frames of the buffer; all of it when it comes too late
    double stretch = 0;        // the part of its length by which the rest is to become longer
};

// Places buffers by the times their sound was heard on a line of frames that begins at the movie's zero.
//
// The clock of a sound device runs a little faster or slower than the media clock. Up to 50 ms of difference
// are made up for smoothly, by less than can be heard; what is more is taken for a gap, or for sound that
// was heard before, and put right at once. Pure arithmetic, one thread at a time.
class SoundTimeline {
public:
    // Where a buffer of so many frames, heard from `timeS` of the movie on, is to go. A time that cannot be,
    // not finite or far ahead of the movie, counts as that of the line's end. `place` expects the frames that
    // follow from its answer to be told by `advance`.
    SoundPlacement place(double timeS, std::int64_t frames);

    // So many frames were added to the line.
    void advance(std::int64_t frames) { frames_ += frames; }

    // The movie has come to this time. Frames of silence that are missing when nothing was heard for long: a
    // device may sleep, or come late. Filling as the movie goes on leaves no long hole to encode at once.
    std::int64_t missing(double movieTimeS);

    // The line's end.
    std::int64_t frames() const { return frames_; }

private:
    std::int64_t frames_ = 0;
    bool hasBegun_ = false;
    double movieTimeS_ = 0;
    double errorS_ = 0;  // smoothed; positive: the device is slow and the line behind
};

}  // namespace kasto
