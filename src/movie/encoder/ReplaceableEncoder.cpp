#include "movie/encoder/ReplaceableEncoder.h"

#include "base/log/DebugLog.h"
#include "movie/encoder/AvcConfiguration.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

namespace kasto {

namespace {

using ByteVector = std::vector<std::uint8_t>;

class ReplaceableEncoder final : public VideoEncoder {
public:
    ReplaceableEncoder(std::unique_ptr<VideoEncoder> encoder, VideoEncoderMaker openReplacement,
                       const VideoInputSettings& settings, ByteVector merged, ByteVector replacements)
        : encoder_(std::move(encoder)),
          openReplacement_(std::move(openReplacement)),
          settings_(settings),
          merged_(std::move(merged)),
          replacements_(std::move(replacements)) {}

    std::span<const std::uint8_t> decoderConfiguration() const override { return merged_; }

    Result<void> encode(const PictureToEncode& picture, const PictureSink& sink) override {
        std::int64_t lastUnits = std::numeric_limits<std::int64_t>::min();
        const auto encoded = encoder_->encode(picture, [&](const EncodedPicture& made) {
            lastUnits = made.timeUnits;
            sink(made);
        });
        if (encoded || !replace(encoded.error())) return encoded;
        if (lastUnits == picture.timeUnits) return {};
        return encoder_->encode(picture, sink);
    }

    Result<void> finish(const PictureSink& sink) override { return encoder_->finish(sink); }

private:
    bool replace(const Error& reason) {
        if (std::exchange(isReplaced_, true)) return false;
        auto replacement = openReplacement_(settings_);
        if (!replacement || !std::ranges::equal((*replacement)->decoderConfiguration(), replacements_))
            return false;
        DebugLog::log("the encoder is replaced: " + reason.description);
        encoder_ = std::move(*replacement);
        return true;
    }

    std::unique_ptr<VideoEncoder> encoder_;
    const VideoEncoderMaker openReplacement_;
    const VideoInputSettings settings_;
    const ByteVector merged_;        // decoder configuration of both encoders
    const ByteVector replacements_;  // and of the replacement
    bool isReplaced_ = false;
};

}  // namespace

std::unique_ptr<VideoEncoder> makeReplaceable(std::unique_ptr<VideoEncoder> encoder,
                                              const VideoEncoderMaker& openReplacement,
                                              const VideoInputSettings& settings) {
    const auto replacement = openReplacement(settings);
    if (!replacement) return encoder;
    const auto replacements = (*replacement)->decoderConfiguration();
    auto merged = mergedConfigurations(encoder->decoderConfiguration(), replacements);
    if (!merged) return encoder;
    return std::make_unique<ReplaceableEncoder>(std::move(encoder), openReplacement, settings,
                                                std::move(*merged),
                                                ByteVector(replacements.begin(), replacements.end()));
}

}  // namespace kasto
