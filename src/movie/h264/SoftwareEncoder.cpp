#include "movie/h264/SoftwareEncoder.h"

#include "movie/h264/ChangedMacroblocks.h"
#include "movie/h264/EncoderPreset.h"
#include "movie/h264/PictureInserter.h"
#include "movie/h264/PresetByLoad.h"
#include "movie/h264/RateControl.h"
#include "movie/h264/X264Encoder.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace kasto {

namespace {

// A patch picture holds its macroblocks uncompressed, and because nothing is predicted from it, the next tick
// needs another one. Beyond so many macroblocks or ticks it is cheaper to encode the change.
constexpr std::size_t kMaxPatchedMacroblocks = 48;
constexpr int kMaxTicksPatched = 12;

// A picture that stays for so many ticks is taken for a still one. Videos of 12 pictures a second or more
// change earlier, so their pictures are not encoded twice.
constexpr int kTicksUntilStill = 6;

class SoftwareEncoder final : public VideoEncoder {
public:
    SoftwareEncoder(X264Encoder encoder, PictureInserter inserter, const VideoInputSettings& settings,
                    std::size_t preset)
        : encoder_(std::move(encoder)),
          inserter_(std::move(inserter)),
          maxKeyFrameInterval_(settings.maxKeyFrameInterval),
          rate_(settings),
          preset_(preset),
          presets_(preset, settings.expectedFrameRate),
          sinceEncoded_(BlockSet::all(settings.width, settings.height)) {}

    std::span<const std::uint8_t> decoderConfiguration() const override {
        return inserter_.decoderConfiguration();
    }

    Result<void> encode(const PictureToEncode& picture, const PictureSink& sink) override {
        const bool isSame = std::exchange(last_, picture.pixels) == picture.pixels;
        ticksSame_ = isSame ? ticksSame_ + 1 : 0;
        const bool isIdrDue = picture.isIdrWanted || !encoded_ || sinceIdr_ >= maxKeyFrameInterval_;
        if (!isSame) sinceEncoded_.add(picture.changed);
        const std::size_t preset = presets_.next(picture.backlog);
        if (std::exchange(preset_, preset) != preset) encoder_.usePreset(kX264Presets[preset]);
        if (!isIdrDue && isSame && picture.pixels == encoded_ && !isWorthRefining()) {
            hand(inserter_.skipPicture(), picture.timeUnits, sink);
            return {};
        }
        if (!isIdrDue && picture.pixels != encoded_ && isWorthPatching(*picture.pixels, isSame)) {
            hand(inserter_.patchPicture(*picture.pixels, patches_.list()), picture.timeUnits, sink);
            return {};
        }
        return encodeWhole(picture, isIdrDue, sink);
    }

    Result<void> finish(const PictureSink&) override {
        last_ = encoded_ = {};
        return {};
    }

private:
    bool isStill() const { return ticksSame_ >= kTicksUntilStill; }

    bool isWorthRefining() const { return isStill() && rate_.isWorthRefining(qp_); }

    // Whether the picture differs in few macroblocks from the encoded one and has not stayed for long.
    bool isWorthPatching(const PixelBuffer& picture, bool isSame) {
        if (!isSame)
            arePatchesFew_ = patches_.find(picture, *encoded_, sinceEncoded_, kMaxPatchedMacroblocks);
        return arePatchesFew_ && ticksSame_ < kMaxTicksPatched &&
               rate_.allows(PictureInserter::patchBytes(patches_.list().size()));
    }

    Result<void> encodeWhole(const PictureToEncode& picture, bool asIdr, const PictureSink& sink) {
        // A new picture may be gone with the next tick; one that stays is worth more bits.
        const int qp = isStill() ? rate_.stillQp() : rate_.qp(asIdr);
        const auto made = encoder_.encode(*picture.pixels, picture.timeUnits, qp, asIdr, sinceEncoded_);
        if (!made) return std::unexpected(made.error());
        encoded_ = picture.pixels;
        sinceEncoded_.clear();
        qp_ = qp;
        if (made->isIdr) sinceIdr_ = 0;
        hand(inserter_.rewritten(made->data), picture.timeUnits, sink, made->isIdr);
        return {};
    }

    void hand(std::span<const std::uint8_t> data, std::int64_t timeUnits, const PictureSink& sink,
              bool isIdr = false) {
        ++sinceIdr_;
        rate_.spend(data.size());
        sink({data, timeUnits, isIdr});
    }

    X264Encoder encoder_;
    PictureInserter inserter_;
    const int maxKeyFrameInterval_;
    RateControl rate_;
    std::size_t preset_;
    PresetByLoad presets_;
    // The newest picture. The reference is held so that the buffer is not used again for another picture:
    // the same buffer then means the same picture.
    PixelBufferRef last_;
    PixelBufferRef encoded_;      // the last picture that libx264 encoded
    BlockSet sinceEncoded_;       // blocks in which the newest picture may differ from the encoded one
    ChangedMacroblocks patches_;  // macroblocks in which it does
    bool arePatchesFew_ = false;  // else the list of macroblocks is incomplete
    int qp_ = 0;                  // of the encoded picture
    int ticksSame_ = 0;           // how long the newest picture has stayed
    int sinceIdr_ = 0;            // pictures
};

Result<std::unique_ptr<VideoEncoder>> openEncoder(const VideoInputSettings& settings, std::size_t preset,
                                                  int parameterSetId) {
    auto encoder = X264Encoder::open(settings, kX264Presets[preset], parameterSetId);
    if (!encoder) return std::unexpected(encoder.error());
    auto inserter = PictureInserter::open(encoder->decoderConfiguration());
    if (!inserter) return std::unexpected(inserter.error());
    return std::make_unique<SoftwareEncoder>(std::move(*encoder), std::move(*inserter), settings, preset);
}

std::size_t presetOfThisMachine(const VideoInputSettings& settings) {
    return x264Preset(settings, std::max(1u, std::thread::hardware_concurrency()));
}

}  // namespace

Result<std::unique_ptr<VideoEncoder>> openSoftwareEncoder(const VideoInputSettings& settings) {
    return openEncoder(settings, presetOfThisMachine(settings), 0);
}

Result<std::unique_ptr<VideoEncoder>> openReplacementEncoder(const VideoInputSettings& settings) {
    return openEncoder(settings, presetOfThisMachine(settings), 2);
}

Result<std::unique_ptr<VideoEncoder>> openSoftwareEncoderWithPreset(const VideoInputSettings& settings,
                                                                    std::size_t preset) {
    return openEncoder(settings, preset, 0);
}

}  // namespace kasto
