#include "desktop/MovieProbe.h"

#include "desktop/DesktopSession.h"

#include <algorithm>
#include <sstream>

namespace kasto::test {

namespace {

std::string quoted(const std::filesystem::path& path) {
    std::string text = path.string();
    text.insert(text.begin(), '\'');
    text.push_back('\'');
    return text;
}

}  // namespace

std::map<std::string, std::string> MovieProbe::videoStream() const {
    std::istringstream lines(
        outputOf("ffprobe -v error -select_streams v -show_streams -of default=nw=1 " + quoted(movie_)));
    std::map<std::string, std::string> values;
    for (std::string line; std::getline(lines, line);) {
        const auto equals = line.find('=');
        values[line.substr(0, equals)] = line.substr(equals + 1);
    }
    return values;
}

std::vector<std::int64_t> MovieProbe::times() const {
    std::istringstream lines(
        outputOf("ffprobe -v error -select_streams v -show_entries packet=pts -of default=nw=1:nk=1 " +
                 quoted(movie_)));
    std::vector<std::int64_t> times;
    for (std::int64_t time = 0; lines >> time;) times.push_back(time);
    std::ranges::sort(times);
    return times;
}

std::string MovieProbe::complaints() const {
    // In the movie's own time base: rounded to a guessed frame rate, pictures that came late would collide.
    return outputOf("ffmpeg -nostdin -v warning -xerror -i " + quoted(movie_) +
                    " -map 0 -fps_mode passthrough -enc_time_base -1 -f null - 2>&1 || echo failed");
}

std::vector<Colour> MovieProbe::pictureAt(double timeS) const {
    const auto bytes =
        outputOf("ffmpeg -nostdin -v error -ss " + std::to_string(timeS) + " -i " + quoted(movie_) +
                 " -frames:v 1 -vf scale=in_color_matrix=bt709:in_range=tv:out_range=pc:flags="
                 "accurate_rnd+full_chroma_int+full_chroma_inp -pix_fmt rgb24 -f rawvideo -");
    std::vector<Colour> picture(bytes.size() / 3);
    for (std::size_t i = 0; i < picture.size(); ++i)
        picture[i] = {static_cast<std::uint8_t>(bytes[3 * i]), static_cast<std::uint8_t>(bytes[3 * i + 1]),
                      static_cast<std::uint8_t>(bytes[3 * i + 2])};
    return picture;
}

}  // namespace kasto::test
