#pragma once

#include "imaging/BlockSet.h"
#include "movie/encoder/VideoEncoder.h"

#include <memory>
#include <vector>

struct x264_t;

namespace kasto {

// The range of QP that a movie uses.
inline constexpr int kMinQp = 6;
inline constexpr int kMaxQp = 46;

// libx264 as a take needs it: profile High, no picture predicted from a later one, and none held back. One
// thread at a time.
class X264Encoder {
public:
    // The preset is one of libx264's names. The SPS and the PPS get the given id.
    static Result<X264Encoder> open(const VideoInputSettings& settings, const char* preset,
                                    int parameterSetId = 0);

    // The contents of an avcC box.
    std::span<const std::uint8_t> decoderConfiguration() const { return configuration_; }

    // Goes on with another preset's motion search, references and partitions, as far as the parameter sets of
    // the stream allow. Takes no noticeable time.
    void usePreset(const char* preset);

    // Encodes an i420 picture of the encoder's size; times must rise. The whole picture gets the QP, from
    // kMinQp to kMaxQp. Outside the blocks of `changed` the picture must equal the one encoded before. The
    // data is valid until the next call.
    Result<EncodedPicture> encode(const PixelBuffer& picture, std::int64_t timeUnits, int qp, bool asIdr,
                                  const BlockSet& changed);

private:
    struct Close {
        void operator()(x264_t* encoder) const;
    };

    X264Encoder() = default;

    std::unique_ptr<x264_t, Close> encoder_;
    std::vector<std::uint8_t> configuration_;
    std::vector<std::uint8_t> mbInfo_;  // per macroblock, libx264's X264_MBINFO_ flags
};

}  // namespace kasto
