#include "recording/AudioTracks.h"
#include "support/TakeFixture.h"

#include <limits>

namespace kasto {
namespace {

using test::sound;
using test::TakeFixture;

constexpr auto kSystem = StreamOutputType::audio;
constexpr auto kMicrophone = StreamOutputType::microphone;

// A writer that writes, with the tracks on it.
class AudioTracksTest : public testing::Test {
protected:
    void open(bool systemSound, bool microphone) {
        writer = *writers.makeWriter(folder / "movie.mov", {2400, 600});
        writer->addVideoInput({});
        tracks.open(*writer, systemSound, microphone);
        writers.newest().status = WriterStatus::writing;
    }

    std::size_t count(std::size_t track) { return writers.newest().sounds[track].copy().size(); }
    MediaTime firstTime(std::size_t track) { return writers.newest().sounds[track].copy().front().time; }

    test::LogLines log;
    test::TestFolder folder;
    test::FakeMovieWriters writers;
    std::unique_ptr<MovieWriter> writer;
    AudioTracks tracks;
};

TEST_F(AudioTracksTest, EachSoundGoesToItsTrackOnTheMoviesTimeline) {
    open(true, true);
    ASSERT_EQ(writers.newest().audio.size(), 2u);
    EXPECT_EQ(writers.newest().audio[0].channels, 2);
    EXPECT_EQ(writers.newest().audio[0].bitRate, 192'000);
    EXPECT_EQ(writers.newest().audio[1].channels, 1);
    EXPECT_EQ(writers.newest().audio[1].bitRate, 96'000);
    for (int i = 0; i < 1000; ++i) {
        tracks.append(sound(2, 5000.2 + i * 0.01), kSystem, 5000);
        tracks.append(sound(1, 5000.3 + i * 0.01), kMicrophone, 5000);
    }
    EXPECT_EQ(count(0), 1000u);
    EXPECT_EQ(count(1), 1000u);
    EXPECT_EQ(firstTime(0), (MediaTime{200'000'000, 1'000'000'000}));
    EXPECT_EQ(firstTime(1), (MediaTime{300'000'000, 1'000'000'000}));
    EXPECT_EQ(log.all(),
              (std::vector<std::string>{"kasto: audio(sys) flowing", "kasto: audio(mic) flowing"}));
}

TEST_F(AudioTracksTest, DropsWhatCannotBeAppended) {
    open(true, false);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    tracks.append(sound(1, 10), kMicrophone, 9);       // no such track
    tracks.append(sound(2, 8.999999), kSystem, 9);     // before the movie's zero
    tracks.append(sound(2, nan), kSystem, 9);          // at no time
    tracks.append({{}, 2, 10, 0}, kSystem, 9);         // no samples
    tracks.append({{1, 2, 3}, 2, 10, 0}, kSystem, 9);  // half a frame
    tracks.append({{1, 2}, 0, 10, 0}, kSystem, 9);
    writers.audioReady = false;
    tracks.append(sound(2, 10), kSystem, 9);
    writers.audioReady = true;
    writers.newest().status = WriterStatus::failed;
    tracks.append(sound(2, 10), kSystem, 9);
    EXPECT_EQ(count(0), 0u);
    EXPECT_TRUE(log.all().empty());

    writers.newest().status = WriterStatus::writing;
    tracks.append(sound(2, 9), kSystem, 9);
    EXPECT_EQ(firstTime(0).value, 0);
}

TEST_F(AudioTracksTest, TellsEveryRefusedAppendAndNoFlowBeforeIt) {
    open(true, true);
    writers.takesSamples = false;
    tracks.append(sound(1, 10), kMicrophone, 9);
    writers.error.set(Error{"disk full"});
    tracks.append(sound(2, 10), kSystem, 9);
    tracks.append(sound(2, 10), kSystem, 9);
    writers.takesSamples = true;
    tracks.append(sound(2, 10), kSystem, 9);
    EXPECT_EQ(log.all(),
              (std::vector<std::string>{
                  "kasto: audio(mic) append failed: unknown", "kasto: audio(sys) append failed: disk full",
                  "kasto: audio(sys) append failed: disk full", "kasto: audio(sys) flowing"}));
}

TEST_F(AudioTracksTest, ATrackTheWriterRefusesIsAbsent) {
    writers.takesAudio = false;
    open(true, true);
    tracks.append(sound(2, 10), kSystem, 9);
    tracks.markAsFinished();
    EXPECT_EQ(writers.newest().tracksFinished, 0);
}

class TakeSoundTest : public TakeFixture {};

TEST_F(TakeSoundTest, SoundNeverLeadsThePicture) {
    for (int take = 0; take < 2; ++take) {
        log.clear();
        ASSERT_TRUE(recorder->start());
        desktop.screenCapture.feed(sound(2, mediaClockNow() + 1), kSystem);
        ASSERT_TRUE(waitForSteps(2));
        EXPECT_TRUE(written().sounds[0].copy().empty());
        feedPicture(1);
        ASSERT_TRUE(waitForFrames(1));
        desktop.movieWriters.msPerSound = 20;
        for (int i = 0; i < 3; ++i) desktop.screenCapture.feed(sound(2, mediaClockNow()), kSystem);
        EXPECT_TRUE(recorder->stop());
        EXPECT_EQ(written().sounds[0].copy().size(), 3u) << "what was on the queue at the stop is kept";
        EXPECT_EQ(log.count("kasto: audio(sys) flowing"), 1);
    }
}

}  // namespace
}  // namespace kasto
