#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace kasto::test {

struct ProbedPicture {
    std::int64_t timeUnits = 0;
    bool isKey = false;
    int luma = 0;  // of the picture's middle
    int cb = 0;
    int cr = 0;
};

struct ProbedMovie {
    std::string profile;
    int width = 0;
    int height = 0;
    bool isBt709Limited = false;
    bool isChromaCentred = false;
    int timescale = 0;
    std::int64_t durationUnits = 0;
    int decodeErrors = 0;
    std::vector<ProbedPicture> pictures;

    std::vector<std::int64_t> times() const;
};

// What an independent reader finds in a movie, with its video decoded from the beginning or from a jump to
// this time on. No profile if it cannot be read.
ProbedMovie probeMovie(const std::filesystem::path& file, std::int64_t fromUnits = 0);

// The types of the outermost boxes, in the file's order: "ftyp mdat moov". One that is cut off shows as "…".
std::string outermostBoxes(const std::filesystem::path& file);

// How many fragments are in the file completely; 0 if it is not there.
int wholeFragments(const std::filesystem::path& file);

}  // namespace kasto::test
