#pragma once

#include "platform/MovieWriter.h"

#include <filesystem>
#include <functional>
#include <memory>

namespace kasto::test {

inline constexpr MediaTime kFourSeconds{2400, 600};

VideoInputSettings smallVideo(int framesPerSecond = 60);

// An i420 picture of the settings' size in one colour, with a little texture in the lower third when
// `texture` is not zero.
PixelBufferRef paintedPicture(const VideoInputSettings& settings, int luma, int cb, int cr, int texture = 0);

// A movie writer, and a picture source that waits for the writer where a recorder would drop.
class TakeOnPaper {
public:
    explicit TakeOnPaper(const std::filesystem::path& file, VideoInputSettings settings = smallVideo(),
                         MediaTime fragmentInterval = kFourSeconds);

    // Starts the writer, and the session at this time.
    bool start(MediaTime sessionStart = {0, 600});

    // Waits until the writer is ready, then appends.
    bool append(const PixelBufferRef& picture, std::int64_t timeUnits);

    // Appends textured pictures, one every ten units from the last one on.
    void appendMoving(int count);

    MovieWriter& writer() { return *writer_; }
    WriterInput& input() { return *input_; }
    PixelBufferAdaptor& adaptor() { return *adaptor_; }
    const VideoInputSettings& settings() const { return settings_; }

private:
    VideoInputSettings settings_;
    std::unique_ptr<MovieWriter> writer_;
    WriterInput* input_ = nullptr;
    PixelBufferAdaptor* adaptor_ = nullptr;
    std::int64_t nextUnits_ = 0;
};

// Tries again every millisecond until the condition holds; false after a long while.
bool eventually(const std::function<bool()>& condition);

}  // namespace kasto::test
