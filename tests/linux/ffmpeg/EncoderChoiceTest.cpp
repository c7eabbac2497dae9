#include "linux/ffmpeg/EncoderChoice.h"
#include "linux/ffmpeg/EncoderPreset.h"
#include "linux/ffmpeg/TakeOnPaper.h"

#include <gtest/gtest.h>

namespace kasto {
namespace {

enum class Fault { none, fallback, doesNotOpen, failsToEncode, losesAPicture, reorders, noKeys, failsToEnd };

struct FakeEncoder : VideoEncoder {
    explicit FakeEncoder(Fault its) : fault(its) {}

    std::span<const std::uint8_t> decoderConfiguration() const override { return {}; }

    Result<void> encode(const PixelBufferRef&, std::int64_t timeUnits, bool asKey,
                        const PictureSink& sink) override {
        const int index = encoded++;
        if (fault == Fault::failsToEncode && index == 1) return failure("broken");
        if (fault == Fault::losesAPicture && index == 1) return {};
        if (fault == Fault::reorders) timeUnits = 100 - timeUnits;
        const std::uint8_t byte = 1;
        sink({{&byte, 1}, timeUnits, index == 0 || (asKey && fault != Fault::noKeys)});
        return {};
    }

    Result<void> finish(const PictureSink&) override {
        return fault == Fault::failsToEnd ? failure("broken") : Result<void>();
    }

    const Fault fault;
    int encoded = 0;
};

VideoEncoderMaker making(Fault fault) {
    return [=](const VideoInputSettings&) -> Result<std::unique_ptr<VideoEncoder>> {
        if (fault == Fault::doesNotOpen) return failure("not here");
        return std::make_unique<FakeEncoder>(fault);
    };
}

TEST(EncoderChoiceTest, takesTheFirstThatPassesItsTrialElseTheFallback) {
    for (const Fault fault : {Fault::none, Fault::doesNotOpen, Fault::failsToEncode, Fault::losesAPicture,
                              Fault::reorders, Fault::noKeys, Fault::failsToEnd}) {
        const VideoEncoderMaker hardware[] = {making(Fault::failsToEncode), making(fault)};
        const auto chosen = chooseVideoEncoder(hardware, making(Fault::fallback), test::kSmallVideo);
        const auto& encoder = static_cast<const FakeEncoder&>(*chosen.value());
        EXPECT_EQ(encoder.fault, fault == Fault::none ? fault : Fault::fallback) << static_cast<int>(fault);
        EXPECT_EQ(encoder.encoded, 0);
    }
}

TEST(EncoderChoiceTest, presetLeavesRoomOnTheMachine) {
    const VideoInputSettings slow{1920, 1080, 1'000, 60, 30}, usual{1920, 1080, 1'000, 60, 60},
        large{3840, 2160, 1'000, 60, 60};
    EXPECT_STREQ(x264Preset(slow, 4), "veryfast");
    EXPECT_STREQ(x264Preset(usual, 4), "superfast");
    EXPECT_STREQ(x264Preset(usual, 0), "ultrafast");
    EXPECT_STREQ(x264Preset(large, 4), "ultrafast");
    EXPECT_STREQ(x264Preset(large, 16), "superfast");
}

}  // namespace
}  // namespace kasto
