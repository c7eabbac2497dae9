#pragma once

#include "movie/container/BoxWriter.h"
#include "movie/container/SampleTable.h"
#include "movie/container/TrackFormat.h"

#include <span>

namespace kasto {

struct MovieTrack {
    const TrackFormat& format;
    const SampleTable& samples;
};

// Writes what belongs into a movie's one description of itself: its header and, for each track, the format
// and where every sample lies. Tracks are numbered from 0 here, from 1 in the file. Any thread.
void writeMovieContents(BoxWriter& out, std::span<const MovieTrack> tracks);

}  // namespace kasto
