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

// A frame of the movie as an encoder receives it.
struct PictureToEncode {
    PixelBufferRef pixels;       // i420, of the encoder's size
    std::int64_t timeUnits = 0;  // of 1/kMovieTimescale s since the movie's zero; rises with each picture
    bool isIdrWanted = false;    // false leaves the choice to the encoder
    BlockSet changed;            // blocks that may differ from the picture before; all for the first one
    double backlog = 0;          // how full the queue of pictures behind this one is, 0 to 1
};

struct EncodedPicture {
    std::span<const std::uint8_t> data;  // NAL units, each after its length in four bytes
    std::int64_t timeUnits = 0;
    bool isIdr = false;  // decoding can begin here
};

// Receives a picture when the encoder has finished it. The data is valid during the call only.
using PictureSink = std::function<void(const EncodedPicture&)>;

// Turns pictures into an H.264 High stream in the order they come: no picture is predicted from a later one.
// One thread at a time.
class VideoEncoder {
public:
    virtual ~VideoEncoder() = default;

    // The contents of the movie's avcC box: the parameter sets. Valid as long as the encoder.
    virtual std::span<const std::uint8_t> decoderConfiguration() const = 0;

    // Encodes a picture. Pictures that are finished by then, this one or earlier ones, go to the sink. The
    // encoder releases the pixels when it no longer reads them. After a failure the encoder is of no use.
    virtual Result<void> encode(const PictureToEncode& picture, const PictureSink& sink) = 0;

    // Hands the pictures that the encoder still holds to the sink. Nothing can be encoded after this.
    virtual Result<void> finish(const PictureSink& sink) = 0;
};

// Opens an encoder for a movie. Blocks while the encoder's library or device starts. Any thread.
using VideoEncoderMaker = std::function<Result<std::unique_ptr<VideoEncoder>>(const VideoInputSettings&)>;

}  // namespace kasto
