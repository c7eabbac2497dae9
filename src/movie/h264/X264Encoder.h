#pragma once

#include "imaging/BlockSet.h"
#include "movie/h264/VideoEncoder.h"

#include <memory>
#include <vector>

struct x264_t;

namespace kasto {

// The quantisers of H.264 that a movie may use.
inline constexpr int kFinestQuantiser = 6;
inline constexpr int kCoarsestQuantiser = 46;

// libx264 as a take needs it: High, no picture predicted from a later one, and none held back. One thread at
// a time.
class X264Encoder {
public:
    // The preset is one of libx264's names.
    static Result<X264Encoder> open(const VideoInputSettings& settings, const char* preset);

    // The contents of an avcC box.
    std::span<const std::uint8_t> decoderConfiguration() const { return configuration_; }

    // Goes on with the means of another preset, as far as the one it was opened with allows: the stream stays
    // of one kind. Cheap.
    void usePreset(const char* preset);

    // Encodes an i420 picture of the encoder's size; times must rise. All of the picture gets the quantiser,
    // which is between the finest and the coarsest. Outside the blocks of `changed` the picture is the one
    // before. The data is valid until the next call.
    Result<EncodedPicture> encode(const PixelBuffer& picture, std::int64_t timeUnits, int quantiser,
                                  bool asKey, const BlockSet& changed);

private:
    struct Close {
        void operator()(x264_t* encoder) const;
    };

    X264Encoder() = default;

    std::unique_ptr<x264_t, Close> encoder_;
    std::vector<std::uint8_t> configuration_;
    std::vector<std::uint8_t> flags_;  // of the macroblocks
    std::vector<std::uint8_t> sample_;
};

}  // namespace kasto
