#include "linux/ffmpeg/EncoderChoice.h"
#include "linux/ffmpeg/EncoderPreset.h"
#include "linux/ffmpeg/LibavEncoder.h"
#include "linux/ffmpeg/TakeOnPaper.h"
#include "linux/ffmpeg/X264Encoder.h"

#include <gtest/gtest.h>

namespace kasto {
namespace {

using test::smallVideo;

enum class Fault { none, doesNotOpen, failsToEncode, losesAPicture, reorders, ignoresKeys, failsToEnd };

class FakeEncoder : public VideoEncoder {
public:
    explicit FakeEncoder(Fault fault) : fault_(fault) {}

    std::span<const std::uint8_t> decoderConfiguration() const override { return {}; }

    Result<void> encode(const PixelBufferRef&, std::int64_t timeUnits, bool asKey,
                        const PictureSink& sink) override {
        const int index = encoded++;
        if (fault_ == Fault::failsToEncode && index == 1) return failure("broken");
        if (fault_ == Fault::losesAPicture && index == 1) return {};
        if (fault_ == Fault::reorders) timeUnits = 100 - timeUnits;
        const std::uint8_t byte = 1;
        sink({{&byte, 1}, timeUnits, index == 0 || (asKey && fault_ != Fault::ignoresKeys)});
        return {};
    }

    Result<void> finish(const PictureSink&) override {
        if (fault_ == Fault::failsToEnd) return failure("broken");
        return {};
    }

    int encoded = 0;

private:
    Fault fault_;
};

VideoEncoderMaker making(Fault fault, VideoEncoder** last) {
    return [=](const VideoInputSettings&) -> Result<std::unique_ptr<VideoEncoder>> {
        if (fault == Fault::doesNotOpen) return failure("not here");
        auto encoder = std::make_unique<FakeEncoder>(fault);
        *last = encoder.get();
        return encoder;
    };
}

TEST(EncoderChoiceTest, takesTheFirstThatPassesItsTrialElseTheFallback) {
    for (const Fault fault : {Fault::none, Fault::doesNotOpen, Fault::failsToEncode, Fault::losesAPicture,
                              Fault::reorders, Fault::ignoresKeys, Fault::failsToEnd}) {
        VideoEncoder *broken = nullptr, *tried = nullptr, *fallback = nullptr;
        const VideoEncoderMaker hardware[] = {making(Fault::failsToEncode, &broken), making(fault, &tried)};
        const auto chosen = chooseVideoEncoder(hardware, making(Fault::none, &fallback), smallVideo());
        ASSERT_TRUE(chosen);
        EXPECT_EQ(chosen->get(), fault == Fault::none ? tried : fallback) << static_cast<int>(fault);
        EXPECT_EQ(static_cast<FakeEncoder&>(**chosen).encoded, 0);
    }
}

TEST(LibavEncoderTest, failuresSayWhatIsMissing) {
    const auto unknown = makeEncoderContext("h264_nowhere", smallVideo());
    ASSERT_FALSE(unknown);
    EXPECT_EQ(unknown.error().description, "The encoder h264_nowhere is not installed.");
    const auto unopened = openX264Encoder(smallVideo(), "no preset");
    ASSERT_FALSE(unopened);
    EXPECT_EQ(unopened.error().description, "The encoder libx264 does not start: Invalid argument");
}

TEST(EncoderPresetTest, presetLeavesRoomOnTheMachine) {
    struct Row {
        int width, height, framesPerSecond;
        unsigned cores;
        const char* preset;
    };
    for (const auto& row : {Row{1920, 1080, 30, 4, "veryfast"}, Row{1920, 1080, 60, 4, "superfast"},
                            Row{1920, 1080, 60, 2, "ultrafast"}, Row{3840, 2160, 60, 4, "ultrafast"},
                            Row{3840, 2160, 60, 16, "superfast"}, Row{1920, 1080, 60, 0, "ultrafast"}}) {
        auto settings = smallVideo(row.framesPerSecond);
        settings.width = row.width;
        settings.height = row.height;
        EXPECT_STREQ(x264Preset(settings, row.cores), row.preset)
            << row.width << "x" << row.height << "@" << row.framesPerSecond << " on " << row.cores;
    }
}

}  // namespace
}  // namespace kasto
