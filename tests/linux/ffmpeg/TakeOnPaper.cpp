#include "linux/ffmpeg/TakeOnPaper.h"

#include "linux/ffmpeg/FfmpegMovieWriters.h"

#include <chrono>
#include <cstring>
#include <thread>

namespace kasto::test {

VideoInputSettings smallVideo(int framesPerSecond) {
    return {.width = 320,
            .height = 180,
            .averageBitRate = 2'000'000,
            .maxKeyFrameInterval = 2 * framesPerSecond,
            .expectedFrameRate = framesPerSecond,
            .allowFrameReordering = true};
}

PixelBufferRef paintedPicture(const VideoInputSettings& settings, int luma, int cb, int cr, int texture) {
    auto picture = PixelBuffer::make(PixelFormat::i420, settings.width, settings.height);
    const int values[] = {luma, cb, cr};
    for (int i = 0; i < 3; ++i) {
        const auto& plane = picture->plane(i);
        std::memset(plane.data, values[i], static_cast<std::size_t>(plane.strideBytes * plane.height));
    }
    const auto& plane = picture->plane(0);
    for (int y = plane.height * 2 / 3; texture != 0 && y < plane.height; ++y)
        for (int x = 0; x < plane.width; ++x)
            plane.data[y * plane.strideBytes + x] =
                static_cast<std::uint8_t>(40 + (x / 5 * 7 + texture * 13) * (y / 3 + texture) % 160);
    return picture;
}

TakeOnPaper::TakeOnPaper(const std::filesystem::path& file, VideoInputSettings settings,
                         MediaTime fragmentInterval)
    : settings_(settings) {
    FfmpegMovieWriters writers;
    writer_ = writers.makeWriter(file, fragmentInterval).value();
    input_ = writer_->addVideoInput(settings_);
    adaptor_ = writer_->adaptor(*input_);
}

bool TakeOnPaper::start(MediaTime sessionStart) {
    if (!writer_->startWriting()) return false;
    writer_->startSession(sessionStart);
    return true;
}

bool TakeOnPaper::append(const PixelBufferRef& picture, std::int64_t timeUnits) {
    eventually([&] { return input_->isReadyForMoreMediaData() || writer_->error(); });
    nextUnits_ = timeUnits + 10;
    return adaptor_->append(picture, {timeUnits, 600});
}

void TakeOnPaper::appendMoving(int count) {
    for (int i = 0; i < count; ++i) {
        const auto texture = static_cast<int>(nextUnits_ / 10 % 97) + 1;
        append(paintedPicture(settings_, 120, 128, 128, texture), nextUnits_);
    }
}

bool eventually(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(40);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace kasto::test
