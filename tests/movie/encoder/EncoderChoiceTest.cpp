#include "movie/encoder/EncoderChoice.h"
#include "movie/h264/PresetByLoad.h"
#include "movie/writer/TakeOnPaper.h"

#include <gtest/gtest.h>

namespace kasto {
namespace {

enum class Fault { none, fallback, doesNotOpen, failsToEncode, losesAPicture, reorders, noKeys, failsToEnd };

struct FakeEncoder : VideoEncoder {
    explicit FakeEncoder(Fault its) : fault(its) {}

    std::span<const std::uint8_t> decoderConfiguration() const override { return {}; }

    Result<void> encode(const PictureToEncode& picture, const PictureSink& sink) override {
        const int index = encoded++;
        std::int64_t timeUnits = picture.timeUnits;
        if (fault == Fault::failsToEncode && index == 1) return failure("broken");
        if (fault == Fault::losesAPicture && index == 1) return {};
        if (fault == Fault::reorders) timeUnits = 100 - timeUnits;
        const std::uint8_t byte = 1;
        sink({{&byte, 1}, timeUnits, index == 0 || (picture.isIdrWanted && fault != Fault::noKeys)});
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
        const auto open = preferHardware({making(Fault::failsToEncode), making(fault)},
                                         making(Fault::fallback), making(Fault::doesNotOpen));
        const auto chosen = open(test::kSmallVideo);
        const auto& encoder = static_cast<const FakeEncoder&>(*chosen.value());
        EXPECT_EQ(encoder.fault, fault == Fault::none ? fault : Fault::fallback) << static_cast<int>(fault);
        EXPECT_EQ(encoder.encoded, 0);
    }
}

TEST(EncoderChoiceTest, presetYieldsToABacklogAndComesBack) {
    PresetByLoad presets(0, 60);
    const auto after = [&](int pictures, double backlog) {
        std::size_t preset = 0;
        while (pictures-- > 0) preset = presets.next(backlog);
        return preset;
    };
    EXPECT_EQ(after(600, 0.4), 0u) << "what the queue is for";
    EXPECT_EQ(after(1, 0.6), 1u);
    EXPECT_EQ(after(5, 0.6), 1u) << "it gets its time";
    EXPECT_EQ(after(600, 0.6), 2u);
    EXPECT_EQ(after(600, 0.4), 2u) << "just enough";
    EXPECT_EQ(after(119, 0), 2u);
    EXPECT_EQ(after(1, 0), 1u);
    EXPECT_EQ(after(20, 0.6), 2u) << "too early";
    EXPECT_EQ(after(239, 0), 2u) << "so the next trial comes later";
    EXPECT_EQ(after(1, 0), 1u);
    EXPECT_EQ(after(1000, 0), 0u);
    EXPECT_EQ(after(10'000, 0), 0u);
}

}  // namespace
}  // namespace kasto
