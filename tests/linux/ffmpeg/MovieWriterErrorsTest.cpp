#include "linux/ffmpeg/FfmpegMovieWriters.h"
#include "linux/ffmpeg/MovieProbe.h"
#include "linux/ffmpeg/TakeOnPaper.h"
#include "support/TestFolder.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>
#include <csignal>

namespace kasto {
namespace {

using namespace test;

TEST(MovieWriterErrorsTest, filesThatCannotBeMadeAreRefused) {
    const TestFolder folder;
    FfmpegMovieWriters writers;
    TakeOnPaper late(folder / "there.mov");
    writeFile(folder / "there.mov", "mine");
    const auto there = writers.makeWriter(folder / "there.mov", kFourSeconds);
    ASSERT_FALSE(there);
    EXPECT_EQ(there.error().description,
              "The movie " + (folder / "there.mov").string() + " cannot be written: File exists");
    const auto nowhere = writers.makeWriter(folder / "no folder" / "a.mov", kFourSeconds);
    ASSERT_FALSE(nowhere);
    EXPECT_EQ(nowhere.error().code, ENOENT);
    EXPECT_FALSE(writers.makeWriter(folder / "a.mov", {0, 600}));

    EXPECT_FALSE(late.start());
    EXPECT_EQ(late.writer().status(), WriterStatus::failed);
    ASSERT_TRUE(late.writer().error());
    EXPECT_EQ(late.writer().error()->code, EEXIST);
    EXPECT_FALSE(late.append(paintedPicture(late.settings(), 0, 128, 128), 0));
    EXPECT_EQ(readFile(folder / "there.mov"), "mine");
}

TEST(MovieWriterErrorsTest, inputsThatCannotBeAreNotAdded) {
    const TestFolder folder;
    FfmpegMovieWriters writers;
    auto writer = writers.makeWriter(folder / "a.mov", kFourSeconds).value();
    for (const auto change :
         {+[](VideoInputSettings& s) { s.width = 321; }, +[](VideoInputSettings& s) { s.height = 0; },
          +[](VideoInputSettings& s) { s.width = 16'386; },
          +[](VideoInputSettings& s) { s.averageBitRate = 0; },
          +[](VideoInputSettings& s) { s.expectedFrameRate = 0; }}) {
        auto settings = smallVideo();
        change(settings);
        EXPECT_EQ(writer->addVideoInput(settings), nullptr);
    }
    auto* input = writer->addVideoInput(smallVideo());
    ASSERT_NE(input, nullptr);
    EXPECT_EQ(writer->addVideoInput(smallVideo()), nullptr);
    EXPECT_FALSE(input->isReadyForMoreMediaData());
    EXPECT_EQ(writers.makeWriter(folder / "b.mov", kFourSeconds).value()->adaptor(*input), nullptr);
}

TEST(MovieWriterErrorsTest, picturesThatDoNotFitAreRefused) {
    const TestFolder folder;
    TakeOnPaper take(folder / "a.mov");
    ASSERT_TRUE(take.writer().startWriting());
    const auto picture = paintedPicture(take.settings(), 80, 128, 128);
    EXPECT_FALSE(take.append(picture, 0)) << "no session yet";
    take.writer().startSession({0, 600});
    EXPECT_FALSE(take.append({}, 10));
    EXPECT_FALSE(take.append(PixelBuffer::make(PixelFormat::bgra, 320, 180), 20));
    EXPECT_FALSE(take.append(PixelBuffer::make(PixelFormat::i420, 318, 180), 30));
    EXPECT_TRUE(take.append(picture, 40));
    take.input().markAsFinished();
    EXPECT_FALSE(take.input().isReadyForMoreMediaData());
    EXPECT_FALSE(take.adaptor().append(picture, {50, 600}));
}

TEST(MovieWriterErrorsTest, everyEndLeavesItsStatus) {
    const TestFolder folder;
    struct Row {
        const char* name;
        bool starts;
        int pictures;
        bool cancels;
        WriterStatus status;
        const char* error;
    };
    for (const auto& row :
         {Row{"never started", false, 0, false, WriterStatus::failed, "The movie was never started."},
          Row{"no pictures", true, 0, false, WriterStatus::failed, "The movie has no pictures."},
          Row{"cancelled", true, 30, true, WriterStatus::cancelled, ""},
          Row{"completed", true, 30, false, WriterStatus::completed, ""}}) {
        SCOPED_TRACE(row.name);
        const auto file = folder / row.name;
        TakeOnPaper take(file);
        if (row.starts) take.start();
        if (row.pictures) take.appendMoving(row.pictures);
        if (row.cancels) take.writer().cancelWriting();
        take.writer().finishWriting();
        const std::string written = readFile(file);
        // What ended stays as it is.
        take.writer().finishWriting();
        take.writer().cancelWriting();
        EXPECT_EQ(take.writer().status(), row.status);
        EXPECT_EQ(take.writer().error().value_or(Error{}).description, row.error);
        EXPECT_EQ(readFile(file), written);
        EXPECT_EQ(std::filesystem::exists(file), row.starts);
    }
}

TEST(MovieWriterErrorsTest, destructionInMidTakeLeavesAPlayableFile) {
    const TestFolder folder;
    {
        TakeOnPaper take(folder / "a.mov", smallVideo(), {60, 600});
        ASSERT_TRUE(take.start());
        take.appendMoving(100);
        ASSERT_TRUE(eventually([&] { return wholeFragments(folder / "a.mov") > 0; }));
    }
    EXPECT_GE(probeMovie(folder / "a.mov").pictures.size(), 6u);
}

// The files this process writes cannot grow beyond a limit during its life.
class FileSizeLimit {
public:
    explicit FileSizeLimit(std::uint64_t bytes) : formerHandler_(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &former_);
        const rlimit limit{bytes, former_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &former_);
        std::signal(SIGXFSZ, formerHandler_);
    }

private:
    rlimit former_{};
    void (*formerHandler_)(int);
};

TEST(MovieWriterErrorsTest, takeOnAFullDiskEndsPlayable) {
    for (const bool tablesFit : {true, false}) {
        SCOPED_TRACE(tablesFit);
        const TestFolder folder;
        const auto file = folder / "a.mov";
        TakeOnPaper take(file, smallVideo(), {300, 600});
        ASSERT_TRUE(take.start());
        // Enough for three fragments, too few to begin a fourth.
        take.appendMoving(110);
        ASSERT_TRUE(eventually([&] { return wholeFragments(file) == 3; }));
        {
            const FileSizeLimit limit(std::filesystem::file_size(file) + (tablesFit ? 5'000 : 100));
            while (!take.writer().error()) take.appendMoving(1);
            // There is a movie to finish, so the writer is still writing, though it takes nothing more.
            EXPECT_EQ(take.writer().status(), WriterStatus::writing);
            EXPECT_FALSE(take.input().isReadyForMoreMediaData());
            EXPECT_FALSE(take.append(paintedPicture(take.settings(), 0, 128, 128), 100'000));
            take.writer().finishWriting();
        }
        EXPECT_EQ(take.writer().status(), WriterStatus::failed);
        EXPECT_EQ(take.writer().error().value_or(Error{}).description,
                  "The movie " + file.string() + " cannot be written: File too large");
        EXPECT_EQ(outermostBoxes(file) == "ftyp mdat moov", tablesFit) << outermostBoxes(file);
        const auto movie = probeMovie(file);
        EXPECT_EQ(movie.pictures.size(), 90u);
        EXPECT_EQ(movie.decodeErrors, 0);
    }
}

}  // namespace
}  // namespace kasto
