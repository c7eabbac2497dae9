#include "linux/ffmpeg/RepeatingEncoder.h"

#include "linux/ffmpeg/RepeatStream.h"

#include <algorithm>
#include <utility>

namespace kasto {

namespace {

// Pictures of the same that are still encoded: the first after a change is a coarse one under a steady bit
// rate. A key picture of what has been refined already needs fewer.
constexpr int kTurnsAfterChange = 24;
constexpr int kTurnsAfterKey = 6;

class RepeatingEncoder : public VideoEncoder {
public:
    RepeatingEncoder(std::unique_ptr<VideoEncoder> encoder, RepeatStream stream, int maxKeyFrameInterval)
        : encoder_(std::move(encoder)),
          stream_(std::move(stream)),
          maxKeyFrameInterval_(maxKeyFrameInterval) {}

    std::span<const std::uint8_t> decoderConfiguration() const override {
        return stream_.decoderConfiguration();
    }

    Result<void> encode(const PixelBufferRef& picture, std::int64_t timeUnits, bool asKey,
                        const PictureSink& sink) override {
        const bool isKeyDue = asKey || sinceKey_ >= maxKeyFrameInterval_;
        if (std::exchange(last_, picture) != picture) {
            turnsLeft_ = kTurnsAfterChange;
        } else if (isKeyDue) {
            turnsLeft_ = std::max(turnsLeft_, kTurnsAfterKey);
        } else if (turnsLeft_ == 0 && pending_ == 0) {
            ++sinceKey_;
            sink({stream_.repeated(), timeUnits, false});
            return {};
        }
        if (turnsLeft_ > 0) --turnsLeft_;
        ++pending_;
        return encoder_->encode(picture, timeUnits, isKeyDue, changed(sink));
    }

    Result<void> finish(const PictureSink& sink) override {
        last_ = {};
        return encoder_->finish(changed(sink));
    }

private:
    PictureSink changed(const PictureSink& sink) {
        return [this, &sink](const EncodedPicture& picture) {
            --pending_;
            sinceKey_ = picture.isKey ? 1 : sinceKey_ + 1;
            sink({stream_.encoded(picture.data), picture.timeUnits, picture.isKey});
        };
    }

    std::unique_ptr<VideoEncoder> encoder_;
    RepeatStream stream_;
    const int maxKeyFrameInterval_;
    PixelBufferRef last_;  // kept, so that its memory cannot come back as another picture
    int turnsLeft_ = 0;
    int sinceKey_ = 0;
    int pending_ = 0;  // pictures the encoder has not handed out
};

}  // namespace

std::unique_ptr<VideoEncoder> sparingRepeats(std::unique_ptr<VideoEncoder> encoder,
                                             const VideoInputSettings& settings) {
    auto stream = RepeatStream::open(encoder->decoderConfiguration());
    if (!stream) return encoder;
    return std::make_unique<RepeatingEncoder>(std::move(encoder), std::move(*stream),
                                              settings.maxKeyFrameInterval);
}

}  // namespace kasto
