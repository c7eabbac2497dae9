#pragma once

#include "movie/encoder/VideoEncoder.h"

#include <memory>
#include <utility>

namespace kasto::test {

// An encoder that fails at one picture, and counts how often it is used after that.
class FailingEncoder : public VideoEncoder {
public:
    // A maker of these over the encoders of another one. The count outlives the encoders.
    static VideoEncoderMaker maker(VideoEncoderMaker open, int failsAt, int& usesAfterwards) {
        return [=, &usesAfterwards](
                   const VideoInputSettings& settings) -> Result<std::unique_ptr<VideoEncoder>> {
            return std::make_unique<FailingEncoder>(open(settings).value(), failsAt, usesAfterwards);
        };
    }

    FailingEncoder(std::unique_ptr<VideoEncoder> encoder, int failsAt, int& usesAfterwards)
        : encoder_(std::move(encoder)), left_(failsAt), usesAfterwards_(usesAfterwards) {}

    std::span<const std::uint8_t> decoderConfiguration() const override {
        return encoder_->decoderConfiguration();
    }

    Result<void> encode(const PictureToEncode& picture, const PictureSink& sink) override {
        if (left_-- > 0) return encoder_->encode(picture, sink);
        if (left_ < -1) ++usesAfterwards_;
        return failure("the device is gone");
    }

    Result<void> finish(const PictureSink& sink) override {
        if (left_ < 0) ++usesAfterwards_;
        return encoder_->finish(sink);
    }

private:
    const std::unique_ptr<VideoEncoder> encoder_;
    int left_;
    int& usesAfterwards_;
};

}  // namespace kasto::test
