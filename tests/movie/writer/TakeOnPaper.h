#pragma once

#include "movie/writer/MovieFileWriters.h"

#include <filesystem>
#include <memory>
#include <string>

namespace kasto::test {

// Writers with the software encoder.
MovieFileWriters softwareWriters();

inline constexpr VideoInputSettings kSmallVideo{320, 180, 2'000'000, 120, 60};

// An i420 picture of the settings' size in one colour, with a little texture in the lower third when
// `texture` is not zero.
PixelBufferRef paintedPicture(const VideoInputSettings& settings, int luma, int cb, int cr, int texture = 0);

// A movie writer, and a picture source that waits for the writer where a recorder would drop.
struct TakeOnPaper {
    explicit TakeOnPaper(const std::filesystem::path& file, VideoInputSettings settings = kSmallVideo,
                         MovieFileWriters writers = softwareWriters());

    // Starts the writer, and the session at this time.
    bool start(MediaTime sessionStart = {0, 600});

    // Waits until the writer is ready, then appends.
    bool append(const PixelBufferRef& picture, std::int64_t timeUnits);

    // Appends textured pictures, one every ten units from the last one on.
    void appendMoving(int count);

    const VideoInputSettings settings;
    const std::unique_ptr<MovieWriter> writer;
    WriterInput* const input;
    PixelBufferAdaptor* const adaptor;
    std::int64_t nextUnits = 0;
};

// The types of the outermost boxes that are whole, in the file's order: "ftyp mdat moov ". "cut" follows if
// the file does not end with the last of them.
std::string outermostBoxes(const std::filesystem::path& file);

}  // namespace kasto::test
