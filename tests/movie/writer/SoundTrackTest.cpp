#include "base/MediaRates.h"
#include "movie/sound/SoundTimeline.h"
#include "movie/writer/TakeOnPaper.h"
#include "support/MovieProbe.h"
#include "support/TestFolder.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace kasto {
namespace {

using namespace test;

TEST(SoundTimelineTest, placesEachBufferByItsTime) {
    struct Step {
        double timeS;
        std::int64_t frames;
        std::int64_t silence, skipped;
    };
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<Step> steps{
        {-0.015, 480, 0, 480},  // all of it was before the movie
        {-0.005, 480, 0, 240},  // half of it was
        {0.005, 480, 0, 0},     // follows
        {0.045, 480, 0, 0},     // a little late: made up for smoothly
        {0.2, 480, 8400, 0},    // a gap
        {0.15, 480, 0, 480},    // heard before
        {0.21, 480, 0, 0},      // goes on
        {nan, 480, 0, 0},       // no time: follows
        {4000, 480, 0, 0},      // not a time either
        {-4000, 480, 0, 480},   // long gone
    };
    SoundTimeline timeline;
    for (const auto& [timeS, frames, silence, skipped] : steps) {
        const auto placement = timeline.place(timeS, frames);
        EXPECT_EQ(placement.silence, silence) << timeS;
        EXPECT_EQ(placement.skipped, skipped) << timeS;
        timeline.advance(placement.silence + frames - placement.skipped);
    }
    EXPECT_EQ(timeline.missing(0.3), 0);
    EXPECT_EQ(timeline.missing(2), static_cast<std::int64_t>(1.5 * kSoundRate) - timeline.frames());
}

TEST(SoundTimelineTest, followsAClockThatIsOff) {
    for (const double off : {200e-6, -200e-6}) {
        SoundTimeline timeline;
        double line = 0;
        for (int i = 0; i < 60'000; ++i) {  // ten minutes of 10 ms, each told with some jitter
            const double heardS = i * 0.01 * (1 + off) + 0.002 * std::sin(i * 1.7);
            const auto placement = timeline.place(heardS, 480);
            ASSERT_EQ(placement.silence + placement.skipped, 0);
            line += 480 * (1 + placement.stretch);
            timeline.advance(std::llround(line) - timeline.frames());
            if (i < 3000) continue;
            ASSERT_NEAR(timeline.frames() / static_cast<double>(kSoundRate), (i + 1) * 0.01 * (1 + off),
                        0.006)
                << i;
        }
    }
}

// The first channel of one of a movie's sound tracks, as an independent program plays it.
std::vector<float> soundOf(const std::filesystem::path& movie, int track) {
    const auto command = "ffmpeg -v error -i '" + movie.string() + "' -map 0:a:" + std::to_string(track) +
                         " -af aresample=async=1:first_pts=0,pan='mono|c0=c0' -f f32le -";
    const std::string bytes = outputOf(command);
    std::vector<float> samples(bytes.size() / sizeof(float));
    std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
    return samples;
}

// Where beeps begin, in seconds.
std::vector<double> beepsIn(const std::vector<float>& samples) {
    std::vector<double> beeps;
    std::size_t quietFor = kSoundRate;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (std::abs(samples[i]) < 0.1F) {
            ++quietFor;
            continue;
        }
        if (quietFor > kSoundRate / 10) beeps.push_back(static_cast<double>(i) / kSoundRate);
        quietFor = 0;
    }
    return beeps;
}

// A device that beeps for 50 ms at some times of the movie, and whose clock is off.
class Beeper {
public:
    Beeper(AudioWriterInput& input, int channels, double off)
        : input_(input), channels_(channels), off_(off) {}

    // 20 ms more, from this time on, unless it sleeps.
    void hear(double untilS, const std::vector<double>& beepsS, bool sleeps) {
        constexpr int kFrames = 960;
        for (; heardS_ < untilS; heardS_ += kFrames / static_cast<double>(kSoundRate) * (1 + off_)) {
            if (sleeps) continue;
            AudioSamples buffer{.samples = {}, .channels = channels_, .presentationS = 0, .durationS = 0.02};
            for (int i = 0; i < kFrames; ++i) {
                const double timeS = heardS_ + i * (1 + off_) / kSoundRate;
                bool beeps = false;
                for (const double beepS : beepsS) beeps |= timeS >= beepS && timeS < beepS + 0.05;
                for (int c = 0; c < channels_; ++c)
                    buffer.samples.push_back(beeps ? 0.5F * std::sin(static_cast<float>(i) * 0.13F + 1.5F)
                                                   : 0);
            }
            waitUntil([&] { return input_.isReadyForMoreMediaData(); });
            EXPECT_TRUE(input_.append(buffer, MediaTime::fromSeconds(heardS_, 1'000'000'000)));
        }
    }

private:
    AudioWriterInput& input_;
    const int channels_;
    const double off_;
    double heardS_ = 0.1;
};

TEST(SoundTrackTest, beepsAreHeardWhenTheyHappened) {
    const TestFolder folder;
    const auto file = folder / "beeps.mov";
    TakeOnPaper take(file);
    auto* system = take.writer->addAudioInput({.channels = 2, .bitRate = 192'000});
    auto* microphone = take.writer->addAudioInput({.channels = 1, .bitRate = 96'000});
    auto* unheard = take.writer->addAudioInput({.channels = 2, .bitRate = 192'000});
    EXPECT_EQ(take.writer->addAudioInput({.channels = 6, .bitRate = 192'000}), nullptr);
    ASSERT_TRUE(system && microphone && unheard);
    ASSERT_TRUE(take.start());

    const std::vector<double> beeps{0.5, 4.25, 9.5, 19.75};
    Beeper fast(*system, 2, -400e-6);
    Beeper slow(*microphone, 1, 400e-6);
    for (int tenth = 0; tenth < 210; ++tenth) {
        take.appendMoving(6);
        fast.hear((tenth + 1) * 0.1, beeps, tenth >= 50 && tenth < 80);
        slow.hear((tenth + 1) * 0.1, beeps, false);
    }
    // As a crash leaves it: in fragments.
    std::filesystem::copy_file(file, folder / "cut.mov");
    for (WriterInput* input :
         {take.input, static_cast<WriterInput*>(system), static_cast<WriterInput*>(microphone)})
        input->markAsFinished();
    take.writer->finishWriting();
    ASSERT_EQ(take.writer->status(), WriterStatus::completed);

    EXPECT_EQ(MovieProbe(file).complaints(), "");
    for (int track = 0; track < 2; ++track) {
        const auto samples = soundOf(file, track);
        EXPECT_NEAR(static_cast<double>(samples.size()) / kSoundRate, 21, 0.07);
        const auto heard = beepsIn(samples);
        ASSERT_EQ(heard.size(), beeps.size()) << "track " << track;
        for (std::size_t i = 0; i < beeps.size(); ++i)
            EXPECT_NEAR(heard[i], beeps[i], 0.012) << "track " << track;
        const auto kept = beepsIn(soundOf(folder / "cut.mov", track));
        ASSERT_GE(kept.size(), 3u);
        // Players may not leave out the encoder's priming, 21 ms, before the movie is complete.
        EXPECT_NEAR(kept[2], beeps[2], 0.035);
    }
    const auto silence = soundOf(file, 2);
    EXPECT_NEAR(static_cast<double>(silence.size()) / kSoundRate, 21, 0.07);
    EXPECT_TRUE(beepsIn(silence).empty());
}

}  // namespace
}  // namespace kasto
