#include "base/MediaClock.h"
#include "base/PreferenceStore.h"
#include "base/Prefs.h"
#include "shell/ControllerTest.h"
#include "support/SmallFileSystem.h"

#include <cstring>

namespace kasto::test {
namespace {

namespace fs = std::filesystem;

// Takes whose movie is a real file, finished into real folders.
class FinishTakeTest : public ControllerTest {
protected:
    FinishTakeTest() {
        for (const auto* key : {"cloudKastos", "convertMP4", "outputDir"}) Prefs::store().remove(key);
    }
    ~FinishTakeTest() override {
        Prefs::setOutputDir(std::nullopt);
        Prefs::store().remove("convertMP4");
        fs::remove_all(cloudDrive);
        fs::remove_all(Prefs::saveDir());
    }

    // Records a picture; where the movie is written.
    fs::path recordPicture() {
        record();
        auto pixels = PixelBuffer::make(PixelFormat::bgrx, 640, 360);
        std::memset(pixels->plane(0).data, 0, std::size_t{640} * 360 * 4);
        desktop.screenCapture.feed(ScreenFrame{FrameStatus::complete, pixels, 1, {}, mediaClockNow()});
        EXPECT_TRUE(loopUntil([&] { return desktop.movieWriters.newest().frameCount() > 0; }));
        return desktop.movieWriters.newest().file;
    }

    // Records and stops; where the movie was written, before it was finished.
    fs::path takeAndStop() {
        const auto movie = recordPicture();
        bool finished = false;
        delegate->finishStop(true, [&] { finished = true; });
        EXPECT_TRUE(loopUntil([&] { return finished; }));
        return movie;
    }

    fs::path revealed() const {
        return desktop.workspace.revealed.size() == 1 ? desktop.workspace.revealed[0] : fs::path();
    }

    const fs::path cloudDrive = fs::path(getenv("HOME")) / "Library/Mobile Documents/com~apple~CloudDocs";
    const fs::path cloudFolder = cloudDrive / "tolvane/kastos";
    TestFolder folder;
};

TEST_F(FinishTakeTest, StaysWhereItWasRecordedWithoutAChosenFolder) {
    const auto movie = takeAndStop();
    EXPECT_EQ(revealed(), movie);
    EXPECT_EQ(readFile(movie), "movie");
    EXPECT_EQ(countOf("kasto: kasto → "), 0);
}

TEST_F(FinishTakeTest, TheCloudFolderWinsWhereThereIsOne) {
    Prefs::setOutputDir(folder / "clips");
    fs::create_directories(cloudDrive);
    const auto movie = takeAndStop();
    EXPECT_EQ(revealed(), cloudFolder / movie.filename());
    EXPECT_EQ(readFile(revealed()), "movie");
    EXPECT_EQ(log.count("kasto: kasto → tolvane cloud (" + movie.filename().string() + ")"), 1);

    // Switched off, the output folder counts; it is made when needed.
    Prefs::store().set("cloudKastos", false);
    desktop.workspace.revealed.clear();
    const auto second = takeAndStop();
    EXPECT_EQ(revealed(), folder / "clips" / second.filename());
    EXPECT_EQ(log.count("kasto: kasto → " + (folder / "clips").string()), 1);
    EXPECT_FALSE(fs::exists(second));
}

TEST_F(FinishTakeTest, AMoveThatFailsKeepsTheTake) {
    fs::create_directories(cloudFolder);
    Prefs::setOutputDir(folder / "clips");
    const auto movie = recordPicture();
    writeFile(cloudFolder / movie.filename(), "somebody else's");
    delegate->stopFromCommand();
    ASSERT_TRUE(loopUntil([&] { return !desktop.workspace.revealed.empty(); }));
    EXPECT_EQ(revealed(), movie);
    EXPECT_EQ(readFile(movie), "movie");
    EXPECT_EQ(readFile(cloudFolder / movie.filename()), "somebody else's");
    EXPECT_EQ(countOf("kasto: cloud move failed ("), 1);
    EXPECT_FALSE(fs::exists(folder / "clips")) << "the output folder is no second choice";

    fs::remove_all(cloudDrive);
    writeFile(folder / "file", "not a folder");
    Prefs::setOutputDir(folder / "file");
    desktop.workspace.revealed.clear();
    const auto second = takeAndStop();
    EXPECT_EQ(revealed(), second);
    EXPECT_EQ(log.count("kasto: output move failed (" + (folder / "file").string() +
                        ": Not a directory) — kept local"),
              1);
}

TEST_F(FinishTakeTest, AFullDestinationKeepsTheTake) {
    const SmallFileSystem full("4k");
    if (!full) GTEST_SKIP() << "no right to mount a file system";
    writeFile(full.path() / "filler", std::string(4096, 'x'));
    Prefs::setOutputDir(full.path());
    const auto movie = takeAndStop();
    EXPECT_EQ(revealed(), movie);
    EXPECT_EQ(readFile(movie), "movie");
    ASSERT_EQ(countOf("kasto: output move failed ("), 1);
    EXPECT_EQ(std::distance(fs::directory_iterator(full.path()), {}), 1);
}

TEST_F(FinishTakeTest, Mp4IsMovedInPlaceOfTheMovie) {
    Prefs::store().set("convertMP4", true);
    Prefs::setOutputDir(folder.path());
    const auto movie = takeAndStop();
    EXPECT_EQ(revealed(), folder / movie.stem().concat(".mp4").string());
    EXPECT_EQ(readFile(revealed()), "rewrapped");
    EXPECT_FALSE(fs::exists(movie));

    desktop.movieExports.result = failure("no");
    desktop.workspace.revealed.clear();
    const auto second = takeAndStop();
    EXPECT_EQ(revealed(), folder / second.filename().string());
    EXPECT_EQ(readFile(revealed()), "movie");
}

TEST_F(FinishTakeTest, QuittingFilesTheTakeWithoutShowingIt) {
    Prefs::setOutputDir(folder.path());
    const auto movie = recordPicture();
    delegate->terminate();
    ASSERT_TRUE(loopUntil([&] { return terminations == 1; }));
    EXPECT_EQ(readFile(folder / movie.filename().string()), "movie");
    EXPECT_TRUE(desktop.workspace.revealed.empty());
}

TEST_F(FinishTakeTest, ATakeWithoutAFileShowsNothing) {
    desktop.movieWriters.completes = false;
    recordPicture();
    delegate->stopFromCommand();
    ASSERT_TRUE(loopUntil([&] { return stopsLogged() == 1; }));
    ASSERT_TRUE(loopUntil([&] {
        delegate->startRecording();
        return delegate->isRecording();
    }));
    EXPECT_TRUE(desktop.workspace.revealed.empty());
}

TEST_F(FinishTakeTest, TheOutputFolderIsChosenShownAndReset) {
    delegate->chooseOutputFolder();
    ASSERT_TRUE(desktop.workspace.question);
    EXPECT_EQ(desktop.workspace.question->startFolder, Prefs::saveDir());
    EXPECT_EQ(desktop.workspace.question->prompt, "use folder");
    EXPECT_EQ(Prefs::outputDir(), std::nullopt) << "cancelled";

    desktop.workspace.answer = folder.path();
    delegate->chooseOutputFolder();
    EXPECT_EQ(Prefs::outputDir(), folder.path());
    EXPECT_EQ(log.count("kasto: output folder set → " + folder.path().string()), 1);
    delegate->chooseOutputFolder();
    EXPECT_EQ(desktop.workspace.question->startFolder, folder.path());

    delegate->openFolder();
    fs::create_directories(cloudDrive);
    delegate->openFolder();
    Prefs::store().set("cloudKastos", false);
    delegate->openFolder();
    delegate->clearOutputFolder();
    EXPECT_EQ(log.count("kasto: output folder reset to default"), 1);
    delegate->openFolder();
    EXPECT_EQ(desktop.workspace.openedFolders,
              (std::vector<fs::path>{folder.path(), cloudFolder, folder.path(), Prefs::saveDir()}));
}

}  // namespace
}  // namespace kasto::test
