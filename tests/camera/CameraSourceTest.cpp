#include "camera/CameraSource.h"
#include "support/FakeCameraSession.h"
#include "support/LogLines.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>

namespace kasto::test {
namespace {

constexpr auto kNone = "kasto: no usable camera device";
constexpr auto kFront = "kasto: camera running (Front)";
constexpr auto kBack = "kasto: camera running (Back)";

class CameraSourceTest : public testing::Test {
protected:
    CameraSourceTest() { session.cameras = {{"front", "Front"}, {"back", "Back"}}; }

    // The lines logged once there are so many.
    std::vector<std::string> logged(std::size_t count) {
        EXPECT_TRUE(waitUntil([&] { return log.all().size() >= count; }));
        return log.all();
    }
    bool waitForFrame(const PixelBufferRef& frame) {
        session.feed(frame);
        return waitUntil([&] { return source.latest() == frame; });
    }

    LogLines log;
    FakeCameraSession session;
    CameraSource source{session};
    const PixelBufferRef one = PixelBuffer::make(PixelFormat::bgra, 4, 2);
    const PixelBufferRef two = PixelBuffer::make(PixelFormat::bgra, 4, 2);
};

TEST_F(CameraSourceTest, takesTheChosenElseTheDefaultElseNoCamera) {
    const std::pair<std::optional<std::string>, std::string> rows[] = {
        {"back", kBack}, {"gone", kFront}, {std::nullopt, kFront}};
    for (const auto& [wanted, line] : rows) {
        log.clear();
        source.start(wanted);
        EXPECT_EQ(logged(1), std::vector{line});
        source.stop();
        ASSERT_TRUE(waitUntil([&] { return session.running().empty(); }));
    }
    session.unusable = {"front"};
    source.start(std::nullopt);
    source.start("back");
    EXPECT_EQ(logged(3), (std::vector<std::string>{kFront, kNone, kBack}));
    source.stop();
    session.cameras.clear();
    source.start("back");
    EXPECT_EQ(logged(4).back(), kNone);
}

TEST_F(CameraSourceTest, keepsTheNewestFrameOfTheCameraThatRuns) {
    source.start(std::nullopt);
    logged(1);
    EXPECT_FALSE(source.latest());
    EXPECT_TRUE(waitForFrame(one));
    EXPECT_TRUE(waitForFrame(two));
    EXPECT_TRUE(waitForFrame({}));  // unplugged
    EXPECT_TRUE(waitForFrame(one));

    source.start("back");  // one runs already
    source.stop();
    source.start("back");
    EXPECT_EQ(logged(2), (std::vector<std::string>{kFront, kBack}));
    EXPECT_FALSE(source.latest());
    EXPECT_TRUE(waitForFrame(two));
}

TEST_F(CameraSourceTest, runsOnlyWithTheRightToTheCamera) {
    for (const auto refused : {CameraAccess::denied, CameraAccess::restricted}) {
        session.granted = refused;
        source.start(std::nullopt);
    }
    const std::string blank = "kasto: camera access denied/restricted — pip will show a blank tile";
    EXPECT_EQ(logged(2), (std::vector{blank, blank}));

    log.clear();
    session.granted = CameraAccess::notDetermined;
    source.start("back");
    session.answer(false);
    EXPECT_EQ(logged(1), std::vector<std::string>{"kasto: camera denied"});
    session.answer(true);
    EXPECT_EQ(logged(2).back(), kBack);

    source.stop();
    source.start("back");
    source.stop();
    session.answer(true);  // too late
    {
        CameraSource gone(session);
        gone.start(std::nullopt);
    }
    session.answer(true);
    source.start("back");
    session.answer(true);
    EXPECT_EQ(logged(3).size(), 3u);
}

}  // namespace
}  // namespace kasto::test
