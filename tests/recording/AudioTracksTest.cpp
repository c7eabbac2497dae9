#include "recording/AudioTracks.h"
#include "support/TakeFixture.h"

#include <cmath>

namespace kasto {
namespace {

using test::sound;

constexpr auto kSystem = StreamOutputType::audio;
constexpr auto kMicrophone = StreamOutputType::microphone;

// Sound either goes into tracks of a writer that writes, or through a whole recorder.
class AudioTracksTest : public test::TakeFixture {
protected:
    void open(bool microphone) {
        writer = *desktop.movieWriters.makeWriter(Prefs::saveDir() / "movie.mov", {2400, 600});
        tracks.open(*writer, true, microphone);
        ASSERT_TRUE(writer->startWriting());
    }
    std::vector<MediaTime> times(std::size_t track) { return written().sounds[track].copy(); }

    std::unique_ptr<MovieWriter> writer;
    AudioTracks tracks;
};

TEST_F(AudioTracksTest, EachSoundGoesToItsTrackOnTheMoviesTimeline) {
    open(true);
    EXPECT_EQ(written().audio.at(0).channels, 2);
    EXPECT_EQ(written().audio.at(1).channels, 1);
    desktop.movieWriters.error = Error{"disk full"};
    tracks.append(sound(2, 10), kSystem, 9);
    desktop.movieWriters.error.reset();
    for (const double at : {5000.2, 5000.3}) tracks.append(sound(2, at), kSystem, 5000);
    tracks.append(sound(1, 5000), kMicrophone, 5000);
    constexpr std::int32_t kNs = 1'000'000'000;
    EXPECT_EQ(times(0), (std::vector<MediaTime>{{200'000'000, kNs}, {300'000'000, kNs}}));
    EXPECT_EQ(times(1), (std::vector<MediaTime>{{0, kNs}}));
    EXPECT_EQ(log.all(),
              (std::vector<std::string>{"kasto: audio(sys) append failed: disk full",
                                        "kasto: audio(sys) flowing", "kasto: audio(mic) flowing"}));
}

TEST_F(AudioTracksTest, DropsWhatCannotBeAppended) {
    open(false);
    tracks.append(sound(1, 10), kMicrophone, 9);         // no such track
    const AudioSamples refused[] = {sound(2, 8.999999),  // before the movie's zero
                                    sound(2, std::nan("")),
                                    {{}, 2, 10, 0},
                                    {{1, 2, 3}, 2, 10, 0},
                                    {{1, 2}, 0, 10, 0}};
    for (const auto& samples : refused) tracks.append(samples, kSystem, 9);
    desktop.movieWriters.ready = false;
    tracks.append(sound(2, 10), kSystem, 9);
    EXPECT_TRUE(times(0).empty() && log.all().empty());
    tracks.markAsFinished();
    EXPECT_EQ(written().tracksFinished, 1);
}

TEST_F(AudioTracksTest, SoundNeverLeadsThePicture) {
    for (int take = 0; take < 2; ++take) {
        log.clear();
        ASSERT_TRUE(recorder->start());
        desktop.screenCapture.feed(sound(2, mediaClockNow() + 1), kSystem);
        ASSERT_TRUE(waitForTicks(2));
        EXPECT_TRUE(times(0).empty());
        feedPicture(1);
        ASSERT_TRUE(waitForMoreFrames(1));
        for (int i = 0; i < 20; ++i) desktop.screenCapture.feed(sound(2, mediaClockNow()), kSystem);
        EXPECT_TRUE(recorder->stop());
        EXPECT_EQ(times(0).size(), 20u) << "what was on the queue at the stop is kept";
        EXPECT_EQ(log.count("kasto: audio(sys) flowing"), 1);
    }
}

}  // namespace
}  // namespace kasto
