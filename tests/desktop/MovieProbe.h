#pragma once

#include "desktop/ColourChart.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace kasto::test {

// A movie file as an independent program reads it.
class MovieProbe {
public:
    explicit MovieProbe(std::filesystem::path movie) : movie_(std::move(movie)) {}

    // What ffprobe tells of the video track: "codec_name", "profile", "color_space" …
    std::map<std::string, std::string> videoStream() const;

    // The presentation times of all pictures, in order, in units of the track's timescale.
    std::vector<std::int64_t> times() const;

    // What is wrong with the file from beginning to end; empty when nothing is.
    std::string complaints() const;

    // The picture shown at a time, row by row.
    std::vector<Colour> pictureAt(double timeS) const;

private:
    std::filesystem::path movie_;
};

}  // namespace kasto::test
