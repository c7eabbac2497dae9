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
    std::uint32_t durationUnits = 0;  // 0: until the next sample
    bool isSync = false;              // decoding can begin here
};

// A movie file while it is written. At any time it plays up to the last fragment that is complete on the
// disk, and `finish` turns it into an ordinary movie without moving a sample.
//
// A fragment is written only where the tables of the movie up to its end have room on the disk as well, which
// is reserved for them. On a full disk writing therefore ends one fragment earlier, and the movie can still
// be finished.
//
// One thread at a time, except for isKeepingUp() and error(). A thread of its own, the writing thread, writes
// the fragments and waits for the disk.
class MovieFile {
public:
    // Creates the file, which must not exist.
    static Result<std::unique_ptr<MovieFile>> create(const std::filesystem::path& file,
                                                     MediaTime fragmentInterval);
    ~MovieFile();

    // Returns the track's index. Before `begin` only.
    std::size_t addTrack(TrackFormat format);

    // Writes the movie's beginning.
    Result<void> begin();

    // Copies the sample. A video sync sample begins a new fragment when the open one has lasted for the
    // interval. If none comes for twice the interval, a sound sample does.
    void append(std::size_t track, const MovieSample& sample);

    // Completes the movie with what was appended, or with as much of it as the disk took; `error` tells if
    // something is missing. Where the tables could not be written the movie stays in fragments. Fails if
    // there are no pictures. Nothing is appended after this.
    Result<void> finish();

    // Called once when writing fails, on the writing thread or the thread that calls `finish`. To be set
    // before `begin`.
    void setOnFailure(std::function<void(const Error&)> onFailure) { onFailure_ = std::move(onFailure); }

    // False while several fragments wait in memory because the disk is too slow. Any thread.
    bool isKeepingUp() const;

    // Why nothing more is written, after a failure. Any thread.
    std::optional<Error> error() const { return error_.copy(); }

private:
    struct Track;
    struct Fragment;

    MovieFile(OutputFile file, MediaTime fragmentInterval);
    bool endsFragment(const Track& track, const MovieSample& sample) const;
    enum class Close { atSample, atEnd };
    void closeFragment(Close how);
    static std::size_t closableSamples(Track& track, Close how);
    static void moveToFragment(Track& track, std::size_t samples, Fragment& fragment);
    void write(const Fragment& fragment);
    Result<void> complete();
    enum class Tracks { all, withSamples };
    std::vector<MovieTrack> movieTracks(Tracks which) const;
    void fail(const Error& error);

    OutputFile file_;  // used by the writing thread from `begin` until the queue is drained
    const MediaTime fragmentInterval_;
    std::deque<Track> tracks_;
    std::uint64_t placeholderOffset_ = 0;
    std::uint64_t nextOffset_ = 0;  // where the next fragment will begin
    std::uint32_t fragments_ = 0;
    std::atomic<int> waitingFragments_ = 0;
    std::function<void(const Error&)> onFailure_;
    Guarded<std::optional<Error>> error_;
    SerialQueue writing_;  // last: its jobs use the other members
};

}  // namespace kasto
