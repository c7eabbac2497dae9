#include "linux/ffmpeg/EncoderChoice.h"

#include "linux/ffmpeg/NvencEncoder.h"
#include "linux/ffmpeg/VaapiEncoder.h"
#include "movie/h264/SoftwareEncoder.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

namespace kasto::ffmpeg {

namespace {

PixelBufferRef greyPicture(const VideoInputSettings& settings) {
    auto picture = PixelBuffer::make(PixelFormat::i420, settings.width, settings.height);
    for (int i = 0; i < picture->planeCount(); ++i) {
        const auto& plane = picture->plane(i);
        std::memset(plane.data, 128, static_cast<std::size_t>(plane.strideBytes * plane.height));
    }
    return picture;
}

// Drivers promise more than they do: what counts is that pictures come out, at the times given, in order and
// with key pictures where they were asked for.
bool encodesAsItShould(VideoEncoder& encoder, const VideoInputSettings& settings) {
    constexpr int kPictures = 4;
    constexpr int kForcedKey = 2;
    const auto picture = greyPicture(settings);
    const std::int64_t step = kMovieTimescale / std::max(1, settings.expectedFrameRate);
    std::vector<std::int64_t> times;
    bool keysRight = true;
    const PictureSink sink = [&](const EncodedPicture& made) {
        const bool keyWanted = times.empty() || times.size() == kForcedKey;
        keysRight &= (made.isKey || !keyWanted) && !made.data.empty();
        times.push_back(made.timeUnits);
    };
    std::vector<std::int64_t> expected;
    for (int i = 0; i < kPictures; ++i) {
        expected.push_back(i * step);
        const PictureToEncode taken{.pixels = picture,
                                    .timeUnits = expected.back(),
                                    .isKeyWanted = i == kForcedKey,
                                    .changed = BlockSet::all(settings.width, settings.height)};
        if (!encoder.encode(taken, sink)) return false;
    }
    return encoder.finish(sink) && keysRight && times == expected;
}

}  // namespace

Result<std::unique_ptr<VideoEncoder>> chooseVideoEncoder(std::span<const VideoEncoderMaker> hardware,
                                                         const VideoEncoderMaker& fallback,
                                                         const VideoInputSettings& settings) {
    for (const auto& make : hardware) {
        // The trial ends the encoder's stream, so the take gets one of its own.
        auto trial = make(settings);
        if (!trial || !encodesAsItShould(**trial, settings)) continue;
        trial->reset();
        if (auto encoder = make(settings)) return encoder;
    }
    return fallback(settings);
}

Result<std::unique_ptr<VideoEncoder>> openVideoEncoder(const VideoInputSettings& settings) {
    static const std::array<VideoEncoderMaker, 2> kHardware{openVaapiEncoder, openNvencEncoder};
    return chooseVideoEncoder(
        kHardware, [](const VideoInputSettings& taken) { return openSoftwareEncoder(taken); }, settings);
}

}  // namespace kasto::ffmpeg
