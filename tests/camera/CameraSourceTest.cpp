#include "camera/CameraSource.h"
#include "support/FakeCameraSession.h"
#include "support/LogLines.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>

namespace kasto::test {
namespace {

using Lines = std::vector<std::string>;

class CameraSourceTest : public testing::Test {
protected:
    CameraSourceTest() { session.cameras = {{"front", "Front"}, {"back", "Back"}}; }

    // The lines logged once there are this many.
    Lines logged(std::size_t count) {
        EXPECT_TRUE(waitUntil([&] { return log.all().size() >= count; }));
        return log.all();
    }
    bool isNewest(const PixelBufferRef& picture) {
        session.feed(picture);
        return waitUntil([&] { return source.latest() == picture; });
    }

    LogLines log;
    FakeCameraSession session;
    CameraSource source{session};
    const std::string none = "kasto: no usable camera device", front = "kasto: camera running (Front)",
                      back = "kasto: camera running (Back)";
};

TEST_F(CameraSourceTest, showsTheChosenElseTheDefaultCameraUntilItIsStopped) {
    const auto one = PixelBuffer::make(PixelFormat::bgra, 4, 2);
    const std::pair<std::optional<std::string>, std::string> rows[] = {
        {"back", back}, {"gone", front}, {std::nullopt, front}};
    for (const auto& [wanted, line] : rows) {
        log.clear();
        source.start(wanted);
        source.start("back");  // ignored: a camera runs already
        logged(1);
        EXPECT_FALSE(source.latest());
        EXPECT_TRUE(isNewest(one) && isNewest({}) && isNewest(one));
        EXPECT_EQ(log.all(), Lines{line});
        source.stop();
        ASSERT_TRUE(waitUntil([&] { return session.running().empty() && !source.latest(); }));
    }
    session.unusable = {"front"};
    source.start(std::nullopt);
    source.start("back");
    EXPECT_EQ(logged(3), (Lines{front, none, back}));
}

TEST_F(CameraSourceTest, runsOnlyWithTheRightToTheCamera) {
    for (const auto refused : {CameraAccess::denied, CameraAccess::restricted}) {
        session.granted = refused;
        source.start(std::nullopt);
    }
    session.granted = CameraAccess::notDetermined;
    source.start("back");
    session.answer(false);
    const std::string blank = "kasto: camera access denied/restricted — pip will show a blank tile";
    EXPECT_EQ(logged(3), (Lines{blank, blank, "kasto: camera denied"}));
    session.answer(true);
    EXPECT_EQ(logged(4).back(), back);

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
    EXPECT_EQ(logged(5).size(), 5u);
}

}  // namespace
}  // namespace kasto::test
