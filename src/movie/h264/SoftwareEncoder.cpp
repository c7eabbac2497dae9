#include "movie/h264/SoftwareEncoder.h"

#include "movie/h264/ChangedMacroblocks.h"
#include "movie/h264/EncoderPreset.h"
#include "movie/h264/PresetByLoad.h"
#include "movie/h264/RateControl.h"
#include "movie/h264/RepeatStream.h"
#include "movie/h264/X264Encoder.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace kasto {

namespace {

// A patch holds what it covers uncompressed and has to be given again for every tick, since nothing may be
// predicted from it: beyond so many macroblocks or ticks it is cheaper to encode.
constexpr std::size_t kMostPatched = 48;
constexpr int kMostTicksPatched = 12;

// A picture that stays so long is likely to stay on: videos of 12 pictures a second and more change before.
constexpr int kTicksUntilStill = 6;

class SoftwareEncoder final : public VideoEncoder {
public:
    SoftwareEncoder(X264Encoder encoder, RepeatStream stream, const VideoInputSettings& settings,
                    std::size_t preset)
        : encoder_(std::move(encoder)),
          stream_(std::move(stream)),
          maxKeyFrameInterval_(settings.maxKeyFrameInterval),
          rate_(settings),
          preset_(preset),
          presets_(preset, settings.expectedFrameRate),
          sinceEncoded_(BlockSet::all(settings.width, settings.height)) {}

    std::span<const std::uint8_t> decoderConfiguration() const override {
        return stream_.decoderConfiguration();
    }

    Result<void> encode(const PictureToEncode& picture, const PictureSink& sink) override {
        const bool isSame = std::exchange(last_, picture.pixels) == picture.pixels;
        ticksSame_ = isSame ? ticksSame_ + 1 : 0;
        const bool isKeyDue = picture.isKeyWanted || !encoded_ || sinceKey_ >= maxKeyFrameInterval_;
        if (!isSame) sinceEncoded_.add(picture.changed);
        const std::size_t preset = presets_.next(picture.backlog);
        if (std::exchange(preset_, preset) != preset) encoder_.usePreset(kX264Presets[preset]);
        if (!isKeyDue && isSame && picture.pixels == encoded_ && !isWorthRefining()) {
            hand(stream_.repeated(), picture.timeUnits, sink);
            return {};
        }
        if (!isKeyDue && picture.pixels != encoded_ && isWorthPatching(*picture.pixels, isSame)) {
            hand(stream_.patched(*picture.pixels, patches_.list()), picture.timeUnits, sink);
            return {};
        }
        return encodeWhole(picture, isKeyDue, sink);
    }

    Result<void> finish(const PictureSink&) override {
        last_ = encoded_ = {};
        return {};
    }

private:
    bool isStill() const { return ticksSame_ >= kTicksUntilStill; }

    bool isWorthRefining() const { return isStill() && rate_.isWorthRefining(quantiser_); }

    // A picture that differs little from the encoded one, as long as it has not stayed for some ticks.
    bool isWorthPatching(const PixelBuffer& picture, bool isSame) {
        if (!isSame) fits_ = patches_.find(picture, *encoded_, sinceEncoded_, kMostPatched);
        return fits_ && ticksSame_ < kMostTicksPatched &&
               rate_.allows(RepeatStream::patchBytes(patches_.list().size()));
    }

    Result<void> encodeWhole(const PictureToEncode& picture, bool asKey, const PictureSink& sink) {
        // What is new may change again at once; what stays is worth its bits.
        const int quantiser = isStill() ? rate_.quantiserOfStill() : rate_.quantiser(asKey);
        const auto made =
            encoder_.encode(*picture.pixels, picture.timeUnits, quantiser, asKey, sinceEncoded_);
        if (!made) return std::unexpected(made.error());
        encoded_ = picture.pixels;
        sinceEncoded_.clear();
        quantiser_ = quantiser;
        if (made->isKey) sinceKey_ = 0;
        hand(stream_.encoded(made->data), picture.timeUnits, sink, made->isKey);
        return {};
    }

    void hand(std::span<const std::uint8_t> data, std::int64_t timeUnits, const PictureSink& sink,
              bool isKey = false) {
        ++sinceKey_;
        rate_.spend(data.size());
        sink({data, timeUnits, isKey});
    }

    X264Encoder encoder_;
    RepeatStream stream_;
    const int maxKeyFrameInterval_;
    RateControl rate_;
    std::size_t preset_;
    PresetByLoad presets_;
    PixelBufferRef last_;  // kept, so that its memory cannot come back as another picture
    PixelBufferRef encoded_;
    BlockSet sinceEncoded_;       // where the newest picture may differ from the encoded one
    ChangedMacroblocks patches_;  // where it does
    bool fits_ = false;           // and they are few
    int quantiser_ = 0;           // of that one
    int ticksSame_ = 0;           // that the newest picture has stayed
    int sinceKey_ = 0;
};

}  // namespace

Result<std::unique_ptr<VideoEncoder>> openSoftwareEncoder(const VideoInputSettings& settings) {
    return openSoftwareEncoder(settings,
                               x264Preset(settings, std::max(1u, std::thread::hardware_concurrency())));
}

Result<std::unique_ptr<VideoEncoder>> openSoftwareEncoder(const VideoInputSettings& settings,
                                                          std::size_t preset) {
    auto encoder = X264Encoder::open(settings, kX264Presets[preset]);
    if (!encoder) return std::unexpected(encoder.error());
    auto stream = RepeatStream::open(encoder->decoderConfiguration());
    if (!stream) return std::unexpected(stream.error());
    return std::make_unique<SoftwareEncoder>(std::move(*encoder), std::move(*stream), settings, preset);
}

}  // namespace kasto
