#pragma once

#include "base/MediaRates.h"
#include "base/Result.h"
#include "imaging/BlockSet.h"
#include "imaging/PixelBuffer.h"
#include "platform/MovieWriter.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

namespace kasto {

// A picture of the movie as an encoder takes it.
struct PictureToEncode {
    PixelBufferRef pixels;       // i420, of the encoder's size
    std::int64_t timeUnits = 0;  // of 1/kMovieTimescale s since the movie's zero; must rise
    bool isKeyWanted = false;    // others become key pictures as the key-frame interval asks
    BlockSet changed;            // where it may differ from the picture before; for the first one, everywhere
    double backlog = 0;          // how full the queue behind it is, 0 to 1
};

struct EncodedPicture {
    std::span<const std::uint8_t> data;  // NAL units, each after its length in four bytes
    std::int64_t timeUnits = 0;
    bool isKey = false;  // a decoder can begin here
};

// Takes a picture as it leaves the encoder; the data is valid during the call only.
using PictureSink = std::function<void(const EncodedPicture&)>;

// Turns pictures into an H.264 High stream, in their order: no picture is predicted from a later one. One
// thread at a time.
class VideoEncoder {
public:
    virtual ~VideoEncoder() = default;

    // The contents of the movie's avcC box. Valid as long as the encoder.
    virtual std::span<const std::uint8_t> decoderConfiguration() const = 0;

    // Encodes a picture. What is ready afterwards, of this picture or former ones, goes to the sink. The
    // buffer is let go of when the encoder is done with it.
    virtual Result<void> encode(const PictureToEncode& picture, const PictureSink& sink) = 0;

    // Hands out what the encoder still holds. Nothing can be encoded after this.
    virtual Result<void> finish(const PictureSink& sink) = 0;
};

using VideoEncoderMaker = std::function<Result<std::unique_ptr<VideoEncoder>>(const VideoInputSettings&)>;

}  // namespace kasto
