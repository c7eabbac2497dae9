#pragma once

#include "base/Guarded.h"
#include "base/MediaClock.h"
#include "base/Result.h"
#include "base/SerialQueue.h"
#include "movie/container/FragmentBoxes.h"
#include "movie/container/OutputFile.h"

#include <atomic>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

namespace kasto {

struct MovieSample {
    std::span<const std::uint8_t> data;
    std::int64_t timeUnits = 0;       // in the track's timescale, rising within a track
    std::uint32_t durationUnits = 0;  // 0: it lasts until the next one
    bool isKey = false;
};

// A movie file on its way to the disk. It is always playable up to the last fragment that is whole on the
// disk, and `finish` turns it into an ordinary movie without moving a sample.
//
// One thread at a time uses it, except for the two questions any thread may ask. A thread of its own writes
// the fragments and waits for the disk, so that nobody else does.
class MovieFile {
public:
    // Makes the file, which must not exist.
    static Result<std::unique_ptr<MovieFile>> create(const std::filesystem::path& file,
                                                     MediaTime fragmentInterval);
    ~MovieFile();

    // Returns the track's index. Before `begin` only.
    std::size_t addTrack(TrackFormat format);

    // Writes the movie's beginning.
    Result<void> begin();

    // Copies the sample. A video sample that is a key sample begins a new fragment when the open one has
    // lasted for the interval.
    void append(std::size_t track, const MovieSample& sample);

    // Completes the movie with what was appended, or with as much of it as the disk took; `error` tells if
    // something is missing. Where the tables could not be written the movie stays in fragments. Fails if
    // there are no pictures. Nothing is appended after this.
    Result<void> finish();

    // Called when the disk takes nothing more, once, on the writing thread or on the caller's. To be set
    // before `begin`.
    void setOnFailure(std::function<void(const Error&)> onFailure) { onFailure_ = std::move(onFailure); }

    // False while the disk is too slow: several fragments wait for it in memory. Any thread.
    bool isKeepingUp() const;

    // Why the file takes nothing more, if so. Any thread.
    std::optional<Error> error() const { return error_.copy(); }

private:
    struct Track;
    struct Fragment;

    MovieFile(OutputFile file, MediaTime fragmentInterval);
    bool endsFragment(const Track& track, const MovieSample& sample) const;
    void closeFragment();
    void write(const Fragment& fragment);
    Result<void> complete();
    enum class Tracks { all, withSamples };
    std::vector<MovieTrack> movieTracks(Tracks which) const;
    void fail(const Error& error);

    OutputFile file_;  // the writing thread's after `begin`, until the queue is drained
    const MediaTime fragmentInterval_;
    std::deque<Track> tracks_;
    std::uint64_t placeholderOffset_ = 0;
    std::uint64_t nextOffset_ = 0;  // where the next fragment will begin
    std::uint32_t fragments_ = 0;
    std::atomic<int> waitingFragments_ = 0;
    std::function<void(const Error&)> onFailure_;
    Guarded<std::optional<Error>> error_;
    SerialQueue writing_;  // last: its jobs use the rest
};

}  // namespace kasto
