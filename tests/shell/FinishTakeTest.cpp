#include "base/MediaClock.h"
#include "shell/ControllerTest.h"

namespace kasto::test {
namespace {

namespace fs = std::filesystem;

// Takes whose movie is a real file, finished into real folders.
class FinishTakeTest : public ControllerTest {
protected:
    ~FinishTakeTest() override {
        fs::remove_all(cloudDrive);
        fs::remove_all(Prefs::saveDir());
    }

    // Where the movie is written.
    fs::path recordPicture() {
        record();
        const auto picture = PixelBuffer::make(PixelFormat::bgrx, 640, 360);
        desktop.screenCapture.feed(ScreenFrame{picture, 1, {}, mediaClockNow()});
        EXPECT_TRUE(loopUntil([&] { return desktop.movieWriters.newest().frameCount() > 0; }));
        return desktop.movieWriters.newest().file;
    }

    void stop() {
        desktop.workspace.revealed.clear();
        delegate->finishStop(true);
        EXPECT_TRUE(loopUntil([&] { return isIdle(); }));
    }

    fs::path takeAndStop() {
        const auto movie = recordPicture();
        stop();
        return movie;
    }

    // The take was moved there, or not at all, and is shown.
    void expectAt(const fs::path& place, const fs::path& movie, const std::string& text = "movie") {
        EXPECT_EQ(desktop.workspace.revealed, std::vector{place});
        EXPECT_EQ(readFile(place), text);
        EXPECT_EQ(fs::exists(movie), place == movie);
    }

    const fs::path cloudDrive = fs::path(getenv("HOME")) / "Library/Mobile Documents/com~apple~CloudDocs";
    const fs::path cloudFolder = cloudDrive / "tolvane/kastos";
    TestFolder folder;
    const fs::path clips = folder / "clips";
};

TEST_F(FinishTakeTest, TheCloudFolderWinsBeforeTheChosenOneAndTheDefault) {
    auto movie = takeAndStop();
    expectAt(movie, movie);

    Prefs::setOutputDir(clips);
    fs::create_directories(cloudDrive);
    movie = takeAndStop();
    expectAt(cloudFolder / movie.filename(), movie);
    EXPECT_EQ(log.count("kasto: kasto → tolvane cloud (" + movie.filename().string() + ")"), 1);

    Prefs::setOn(OptionId::cloudKastos, false);
    movie = takeAndStop();
    expectAt(clips / movie.filename(), movie);
    EXPECT_EQ(log.count("kasto: kasto → " + clips.string()), 1);

    movie = recordPicture();
    delegate->terminate();
    ASSERT_TRUE(loopUntil([&] { return terminations == 1; }));
    EXPECT_EQ(readFile(clips / movie.filename()), "movie");
    EXPECT_EQ(desktop.workspace.revealed.size(), 1u) << "shown while quitting";
}

TEST_F(FinishTakeTest, AMoveThatFailsKeepsTheTake) {
    fs::create_directories(cloudFolder);
    Prefs::setOutputDir(clips);
    auto movie = recordPicture();
    writeFile(cloudFolder / movie.filename(), "somebody else's");
    stop();
    expectAt(movie, movie);
    EXPECT_EQ(readFile(cloudFolder / movie.filename()), "somebody else's");
    EXPECT_EQ(countOf("kasto: cloud move failed ("), 1);
    EXPECT_FALSE(fs::exists(clips)) << "the output folder is no second choice";

    fs::remove_all(cloudDrive);
    writeFile(clips, "not a folder");
    movie = takeAndStop();
    expectAt(movie, movie);
    EXPECT_EQ(log.count("kasto: output move failed (" + clips.string() + ": Not a directory) — kept local"),
              1);

    desktop.movieWriters.completes = false;
    takeAndStop();
    EXPECT_TRUE(desktop.workspace.revealed.empty()) << "there is no take";
}

TEST_F(FinishTakeTest, ATakeThatBreaksOffIsFiledAndExplained) {
    Prefs::setOutputDir(clips);
    const auto movie = recordPicture();
    desktop.screenCapture.die({"disk full"});
    ASSERT_TRUE(loopUntil([] { return alert() != nullptr; }));
    expectAt(clips / movie.filename(), movie);
    EXPECT_EQ(alert()->text(), "recording stopped");
    EXPECT_EQ(alert()->informativeText().toStdString(), "disk full · " + movie.filename().string());
}

TEST_F(FinishTakeTest, OneFileIsLeftAndMovedWhateverTheConversionDoes) {
    Prefs::setOn(OptionId::convertMP4, true);
    Prefs::setOutputDir(clips);
    struct Row {
        bool refused;
        Result<void> result;
        std::string log;
    };
    const Row rows[] = {{false, {}, "converted → "},
                        {false, failure("disk is full"), "mp4 convert failed: disk is full — kept mov"},
                        {false, failure(""), "mp4 convert failed: unknown — kept mov"},
                        {true, {}, "mp4 convert: no export session — kept mov"}};
    for (const Row& row : rows) {
        fs::remove_all(clips);
        desktop.movieExports.refused = row.refused;
        desktop.movieExports.result = row.result;
        const auto movie = recordPicture();
        auto mp4 = fs::path(movie).replace_extension("mp4");
        writeFile(mp4, "another take");
        stop();
        const bool isConverted = &row == rows;
        expectAt(clips / (isConverted ? mp4 : movie).filename(), movie, isConverted ? "rewrapped" : "movie");
        EXPECT_EQ(fs::exists(mp4), row.refused);
        EXPECT_EQ(countOf("kasto: " + row.log), 1);
    }
}

TEST_F(FinishTakeTest, TheOutputFolderIsChosenShownAndReset) {
    delegate->chooseOutputFolder();
    ASSERT_TRUE(desktop.workspace.question);
    EXPECT_EQ(desktop.workspace.question->startFolder, Prefs::saveDir());
    EXPECT_EQ(Prefs::outputDir(), std::nullopt) << "cancelled";

    desktop.workspace.answer = clips;
    delegate->chooseOutputFolder();
    EXPECT_EQ(log.count("kasto: output folder set → " + clips.string()), 1);
    delegate->chooseOutputFolder();
    EXPECT_EQ(desktop.workspace.question->startFolder, folder.path()) << "the nearest that exists";

    delegate->openFolder();
    fs::create_directories(cloudDrive);
    delegate->openFolder();
    Prefs::setOn(OptionId::cloudKastos, false);
    delegate->clearOutputFolder();
    EXPECT_EQ(log.count("kasto: output folder reset to default"), 1);
    delegate->openFolder();
    EXPECT_EQ(desktop.workspace.openedFolders, (std::vector<fs::path>{clips, cloudFolder, Prefs::saveDir()}));
}

}  // namespace
}  // namespace kasto::test
