#include "movie/encoder/EncoderChoice.h"

#include "movie/encoder/ReplaceableEncoder.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace kasto {

namespace {

PixelBufferRef greyPicture(const VideoInputSettings& settings) {
    auto picture = PixelBuffer::make(PixelFormat::i420, settings.width, settings.height);
    for (int i = 0; i < picture->planeCount(); ++i) {
        const auto& plane = picture->plane(i);
        std::memset(plane.data, 128, static_cast<std::size_t>(plane.strideBytes * plane.height));
    }
    return picture;
}

// Every picture must come out, in order, with its own time, and as an IDR picture where one was asked for.
bool passesTrial(VideoEncoder& encoder, const VideoInputSettings& settings) {
    constexpr int kPictures = 4;
    constexpr int kForcedIdr = 2;
    const auto picture = greyPicture(settings);
    const std::int64_t step = kMovieTimescale / std::max(1, settings.expectedFrameRate);
    std::vector<std::int64_t> times;
    bool isIdrWhereAsked = true;
    const PictureSink sink = [&](const EncodedPicture& made) {
        const bool isAsked = times.empty() || times.size() == kForcedIdr;
        isIdrWhereAsked &= (made.isIdr || !isAsked) && !made.data.empty();
        times.push_back(made.timeUnits);
    };
    std::vector<std::int64_t> expected;
    for (int i = 0; i < kPictures; ++i) {
        expected.push_back(i * step);
        const PictureToEncode taken{.pixels = picture,
                                    .timeUnits = expected.back(),
                                    .isIdrWanted = i == kForcedIdr,
                                    .changed = BlockSet::all(settings.width, settings.height)};
        if (!encoder.encode(taken, sink)) return false;
    }
    return encoder.finish(sink) && isIdrWhereAsked && times == expected;
}

}  // namespace

VideoEncoderMaker preferHardware(std::vector<VideoEncoderMaker> hardware, VideoEncoderMaker software,
                                 VideoEncoderMaker replacement) {
    return [hardware = std::move(hardware), software = std::move(software),
            replacement = std::move(replacement)](
               const VideoInputSettings& settings) -> Result<std::unique_ptr<VideoEncoder>> {
        for (const auto& make : hardware) {
            // The trial ends the encoder's stream, so the movie gets another encoder of the same kind.
            auto trial = make(settings);
            if (!trial || !passesTrial(**trial, settings)) continue;
            trial->reset();
            if (auto encoder = make(settings))
                return makeReplaceable(std::move(*encoder), replacement, settings);
        }
        return software(settings);
    };
}

}  // namespace kasto
