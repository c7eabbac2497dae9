#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace kasto::test {

// A movie file as an independent program reads it.
class MovieProbe {
public:
    explicit MovieProbe(const std::filesystem::path& movie) : movie_(" '" + movie.string() + "' ") {}

    // What ffprobe tells of the video track: "codec_name", "profile", "color_space" …
    std::map<std::string, std::string> videoStream() const;

    // How long each sound track is, in the order of the tracks.
    std::vector<double> soundDurationsS() const;

    // The times at which decoded pictures are shown, in units of the track's timescale. `options` of ffprobe
    // choose among them.
    std::vector<std::int64_t> times(const std::string& options = "") const;

    // When the last picture is shown, in seconds.
    double lastPictureS() const { return static_cast<double>(times().back()) / 600; }

    // What is wrong with the file from beginning to end; empty when nothing is.
    std::string complaints() const;

    // The picture shown at a time, row by row: red, green and blue of each pixel.
    std::vector<std::uint8_t> pictureAt(double timeS) const;

private:
    std::string movie_;  // as a word of a command
};

}  // namespace kasto::test
