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

// Writes the contents of the moov box: the movie's header and, for each track, its format and sample table.
// Tracks are numbered from 0 here and from 1 in the file. Any thread.
void writeMovieContents(BoxWriter& out, std::span<const MovieTrack> tracks);

}  // namespace kasto
