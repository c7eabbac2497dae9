#include "support/MovieProbe.h"

#include "support/TestFolder.h"

#include <sstream>

namespace kasto::test {

std::map<std::string, std::string> MovieProbe::videoStream() const {
    std::istringstream lines(
        outputOf("ffprobe -v quiet -select_streams v -show_streams -of default=nw=1" + movie_));
    std::map<std::string, std::string> values;
    for (std::string name, value; std::getline(lines, name, '=') && std::getline(lines, value);)
        values[name] = value;
    return values;
}

std::vector<double> MovieProbe::soundDurationsS() const {
    std::istringstream lines(outputOf(
        "ffprobe -v quiet -select_streams a -show_entries stream=duration -of default=nw=1:nk=1" + movie_));
    std::vector<double> durations;
    for (double duration = 0; lines >> duration;) durations.push_back(duration);
    return durations;
}

std::vector<std::int64_t> MovieProbe::times(const std::string& options) const {
    std::istringstream lines(
        outputOf("ffprobe -v quiet -select_streams v -show_entries frame=pts -of default=nw=1:nk=1 " +
                 options + movie_));
    std::vector<std::int64_t> times;
    for (std::int64_t time = 0; lines >> time;) times.push_back(time);
    return times;
}

std::string MovieProbe::complaints() const {
    // In the timescale of all our movies: rounded to a guessed frame rate, late pictures would collide.
    return outputOf("ffmpeg -nostdin -v warning -xerror -i" + movie_ +
                    "-map 0 -fps_mode passthrough -enc_time_base:v 1:600 -f null - 2>&1 || echo failed");
}

std::vector<std::uint8_t> MovieProbe::pictureAt(double timeS) const {
    const auto bytes = outputOf("ffmpeg -nostdin -v quiet -ss " + std::to_string(timeS) + " -i" + movie_ +
                                "-frames:v 1 -vf scale=in_color_matrix=bt709:in_range=tv:out_range=pc:flags="
                                "accurate_rnd+full_chroma_int+full_chroma_inp -pix_fmt rgb24 -f rawvideo -");
    return {bytes.begin(), bytes.end()};
}

}  // namespace kasto::test
