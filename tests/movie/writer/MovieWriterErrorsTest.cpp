#include "linux/ffmpeg/AacEncoder.h"
#include "movie/container/MovieFile.h"
#include "movie/h264/SoftwareEncoder.h"
#include "movie/writer/FailingEncoder.h"
#include "movie/writer/TakeOnPaper.h"
#include "support/MovieProbe.h"
#include "support/TestFolder.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

namespace kasto {
namespace {

using namespace test;

constexpr std::size_t kPicturesPerFragment = 30;

class MovieWriterErrorsTest : public testing::Test {
protected:
    const TestFolder folder;
    const std::filesystem::path movie = folder / "a.mov";
};

// Waits for the beginning of a movie with so many fragments; there may be more.
bool waitForFragments(const std::filesystem::path& file, int count) {
    std::string boxes = "ftyp free moov ";
    for (int i = 0; i < count; ++i) boxes += "moof mdat ";
    return waitUntil([&] { return outermostBoxes(file).starts_with(boxes); });
}

TEST_F(MovieWriterErrorsTest, filesThatCannotBeMadeAreRefused) {
    auto writers = softwareWriters();
    TakeOnPaper late(movie);
    writeFile(movie, "mine");
    const auto there = writers.makeWriter(movie, {300, 600});
    ASSERT_FALSE(there);
    EXPECT_EQ(there.error().description, "write the movie " + movie.string() + ": File exists");
    EXPECT_FALSE(late.start());
    EXPECT_EQ(late.writer->status(), WriterStatus::failed);
    EXPECT_EQ(late.writer->error().value_or(Error{}).code, EEXIST);
    EXPECT_FALSE(late.append(paintedPicture(late.settings, 0, 128, 128), 0));
    EXPECT_EQ(readFile(movie), "mine");
}

TEST_F(MovieWriterErrorsTest, whatDoesNotFitIsRefused) {
    auto writer = softwareWriters().makeWriter(folder / "b.mov", {300, 600}).value();
    const VideoInputSettings wrong[] = {
        {321, 180, 9, 60, 30}, {16'386, 180, 9, 60, 30}, {320, 180, 0, 60, 30}, {320, 180, 9, 60, 0}};
    for (const auto& settings : wrong) EXPECT_EQ(writer->addVideoInput(settings), nullptr);

    TakeOnPaper take(movie);
    EXPECT_EQ(take.writer->addVideoInput(kSmallVideo), nullptr) << "there is one already";
    ASSERT_TRUE(take.writer->startWriting());
    const auto picture = paintedPicture(take.settings, 80, 128, 128);
    EXPECT_FALSE(take.append(picture, 0)) << "no session yet";
    take.writer->startSession({0, 600});
    EXPECT_FALSE(take.append({}, 10));
    EXPECT_FALSE(take.append(PixelBuffer::make(PixelFormat::bgra, 320, 180), 20));
    EXPECT_FALSE(take.append(PixelBuffer::make(PixelFormat::i420, 318, 180), 30));
    EXPECT_TRUE(take.append(picture, 40));
    take.input->markAsFinished();
    EXPECT_FALSE(take.adaptor->append(picture, {50, 600}, {}));
}

TEST_F(MovieWriterErrorsTest, everyEndLeavesItsStatusAndWhatWasWritten) {
    struct Row {
        bool starts, hasPictures;
        WriterStatus status;
        std::string error;
    };
    for (const auto& row :
         {Row{false, false, WriterStatus::failed, "the movie was never started"},
          Row{true, false, WriterStatus::failed, "the movie has no pictures"},
          Row{true, true, WriterStatus::cancelled, ""}, Row{true, true, WriterStatus::completed, ""}}) {
        const auto file = folder / std::to_string(static_cast<int>(row.status)).append(row.error);
        SCOPED_TRACE(file);
        TakeOnPaper take(file);
        if (row.starts) take.start();
        if (row.hasPictures) take.appendMoving(80);
        ASSERT_TRUE(!row.hasPictures || waitForFragments(file, 1));
        if (row.status == WriterStatus::cancelled) take.writer->cancelWriting();
        take.writer->finishWriting();
        // What ended stays as it is.
        take.writer->finishWriting();
        take.writer->cancelWriting();
        EXPECT_EQ(take.writer->status(), row.status);
        EXPECT_EQ(take.writer->error().value_or(Error{}).description, row.error);
        EXPECT_GE(MovieProbe(file).times().size(), row.hasPictures ? kPicturesPerFragment : 0);
        EXPECT_EQ(std::filesystem::exists(file), row.starts);
    }
}

TEST_F(MovieWriterErrorsTest, killedTakePlaysUpToItsLastFragment) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        TakeOnPaper take(movie);
        if (!take.start()) _exit(1);
        while (true) take.appendMoving(1);
    }
    const bool began = waitForFragments(movie, 4);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    ASSERT_TRUE(began);

    const auto times = MovieProbe(movie).times();
    const auto keys = MovieProbe(movie).times("-skip_frame nokey");
    ASSERT_GE(times.size(), 4 * kPicturesPerFragment);
    for (std::size_t i = 0; i < 4 * kPicturesPerFragment; ++i) {
        EXPECT_EQ(times[i], static_cast<std::int64_t>(i) * 10);
        // Players can begin at any fragment.
        EXPECT_TRUE(i % kPicturesPerFragment != 0 || std::ranges::binary_search(keys, times[i])) << i;
    }
}

TEST_F(MovieWriterErrorsTest, failedEncoderEndsTheTakeAndLeavesTheMovie) {
    int usesAfterwards = 0;
    TakeOnPaper take(
        movie, kSmallVideo,
        {FailingEncoder::maker(openSoftwareEncoder, 40, usesAfterwards), ffmpeg::openAacEncoder});
    std::atomic<int> reports = 0;
    take.writer->setOnFailure([&](const Error& error) { reports += error == Error{"the device is gone"}; });
    ASSERT_TRUE(take.start());
    take.appendMoving(100);
    EXPECT_EQ(reports, 1);
    take.writer->finishWriting();
    EXPECT_EQ(reports, 1);
    EXPECT_EQ(take.writer->status(), WriterStatus::completed);
    EXPECT_EQ(take.writer->error(), Error{"the device is gone"});
    EXPECT_EQ(usesAfterwards, 0) << "a broken encoder may crash";
    EXPECT_EQ(MovieProbe(movie).times().size(), 40u);
    EXPECT_EQ(MovieProbe(movie).complaints(), "");
}

// The files this process writes cannot grow beyond this.
void limitFiles(rlim_t bytes) {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes, RLIM_INFINITY};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

TEST_F(MovieWriterErrorsTest, takeOnAFullDiskEndsPlayable) {
    for (const bool tablesFit : {true, false}) {
        SCOPED_TRACE(tablesFit);
        const auto file = folder / std::to_string(tablesFit);
        TakeOnPaper take(file);
        std::atomic<int> reports = 0;
        take.writer->setOnFailure([&](const Error&) { ++reports; });
        ASSERT_TRUE(take.start());
        // Enough for three fragments, too few to begin a fourth.
        take.appendMoving(110);
        ASSERT_TRUE(waitForFragments(file, 3));
        limitFiles(std::filesystem::file_size(file) + (tablesFit ? 5'000 : 100));
        for (int i = 0; i < 10'000 && reports == 0; ++i) take.appendMoving(1);
        // There is a movie to finish, so the writer is still writing, though it takes nothing more.
        EXPECT_EQ(take.writer->status(), WriterStatus::writing);
        EXPECT_FALSE(take.append(paintedPicture(take.settings, 0, 128, 128), 100'000));
        take.writer->finishWriting();
        limitFiles(RLIM_INFINITY);
        EXPECT_EQ(take.writer->status(), WriterStatus::completed);
        EXPECT_EQ(reports, 1);
        EXPECT_EQ(take.writer->error().value_or(Error{}).description,
                  "write the movie " + file.string() + ": File too large");
        EXPECT_EQ(outermostBoxes(file) == "ftyp mdat moov ", tablesFit) << outermostBoxes(file);
        EXPECT_EQ(MovieProbe(file).times().size(), 3 * kPicturesPerFragment);
        EXPECT_EQ(MovieProbe(file).complaints(), "");
    }
}

// Whatever the disk has left when it fills up, the tables fit.
TEST_F(MovieWriterErrorsTest, fragmentsLeaveRoomForTheTables) {
    for (const rlim_t room : {30'000, 30'600, 31'000, 32'500}) {
        const auto path = folder / std::to_string(room);
        auto file = MovieFile::create(path, {600, 600}).value();
        file->addTrack(avcTrackFormat(kSmallVideo, {}));
        ASSERT_TRUE(file->begin());
        limitFiles(room);
        const std::vector<std::uint8_t> data(100);
        for (int i = 0; i < 900; ++i)
            file->append(0, {.data = data, .timeUnits = 10 * i, .isSync = i % 60 == 0});
        const auto finished = file->finish();
        limitFiles(RLIM_INFINITY);
        EXPECT_TRUE(finished && file->error());
        EXPECT_EQ(outermostBoxes(path), "ftyp mdat moov ") << room;
        struct stat status = {};
        EXPECT_EQ(stat(path.c_str(), &status), 0);
        EXPECT_LE(status.st_blocks * 512, status.st_size + 8192) << "what was reserved is given back";
    }
}

// Sound does not pile up in memory until the next picture comes.
TEST_F(MovieWriterErrorsTest, fragmentsCloseWithoutPictures) {
    auto file = MovieFile::create(movie, {600, 600}).value();
    const auto encoder = openSoftwareEncoder(kSmallVideo).value();
    file->addTrack(avcTrackFormat(kSmallVideo, encoder->decoderConfiguration()));
    file->addTrack(aacTrackFormat({1, 96'000}, std::array<std::uint8_t, 2>{0x11, 0x88}, 1024));
    ASSERT_TRUE(file->begin());
    const std::vector<std::uint8_t> data(100);
    file->append(0, {.data = data, .timeUnits = 0, .isSync = true});
    file->append(0, {.data = data, .timeUnits = 10, .isSync = false});
    for (std::int64_t i = 0; i < 470; ++i)
        file->append(1, {.data = data, .timeUnits = 1024 * i, .durationUnits = 1024, .isSync = true});
    EXPECT_TRUE(waitForFragments(movie, 4));
    file->append(0, {.data = data, .timeUnits = 6000, .isSync = false});
    ASSERT_TRUE(file->finish());
    EXPECT_EQ(outputOf("ffprobe -v error -select_streams v -show_entries packet=pts,duration -of csv=p=0 '" +
                       movie.string() + "'"),
              "0,10\n10,5990\n6000,10\n");
}

}  // namespace
}  // namespace kasto
