#include "camera/CameraSource.h"
#include "linux/pipewire/PipeWireConnection.h"
#include "linux/pipewire/camera/PipeWireCameras.h"
#include "support/LogLines.h"
#include "support/PrivatePipeWire.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <cstdlib>

namespace kasto::test {

using namespace pipewire;
namespace {

ChildProcess plugIn(const std::string& id, const std::string& formats, const std::string& sizes,
                    const std::string& jpeg = {}) {
    std::vector<std::string> command{TEST_WEBCAM, id, "Webcam", formats, sizes, "30"};
    if (!jpeg.empty()) command.push_back(jpeg);
    return ChildProcess(command);
}

class PipeWireCamerasTest : public testing::Test {
protected:
    bool waitForCameras(const std::vector<std::string>& ids) {
        std::vector<CameraDevice> wanted;
        for (const auto& id : ids) wanted.push_back({id, "Webcam"});
        return waitUntil([&] { return cameras.devices() == wanted; });
    }
    bool waitForFrame() {
        return waitUntil([&] { return static_cast<bool>(source.latest()); });
    }
    bool waitForNoFrame() {
        return waitUntil([&] { return !source.latest(); });
    }
    bool waitForAnotherFrame() {
        const auto before = source.latest();
        return waitUntil([&] { return source.latest() && source.latest() != before; });
    }

    PrivatePipeWire server;
    LogLines log;
    PipeWireConnection connection;
    PipeWireCameras cameras{connection};
    CameraSource source{cameras};
};

// How far a pixel is off, in the channel that is off most.
int errorAt(const PixelBuffer& picture, int x, int y, std::array<int, 3> bgr) {
    const auto& plane = picture.plane(0);
    int worst = 0;
    for (std::size_t i = 0; i < bgr.size(); ++i)
        worst = std::max(worst,
                         std::abs(plane.data[y * plane.strideBytes + 4 * x + static_cast<int>(i)] - bgr[i]));
    return worst;
}

TEST_F(PipeWireCamerasTest, showsEveryFormatInItsColoursAndTakesTheBestOne) {
    const TestFolder folder;
    const auto jpeg = (folder / "frame.jpg").string();
    ASSERT_EQ(std::system(("ffmpeg -v error -f lavfi -i color=0xc81e14:s=640x480 -vf "
                           "drawbox=x=320:y=240:w=320:h=240:c=0x141ec8:t=fill,format=yuvj422p "
                           "-frames:v 1 -q:v 2 " +
                           jpeg)
                              .c_str()),
              0);
    constexpr auto kRunning = "kasto: camera running (Webcam)";
    constexpr auto kUnusable = "kasto: no usable camera device";
    struct Case {
        std::string formats, sizes, logged;
        int width, height;  // 0 = shows nothing
    };
    int plugged = 0;
    for (const auto& [formats, sizes, logged, width, height] : std::vector<Case>{
             {"BGRx", "320x240,1280x720,1920x1080", kRunning, 1280, 720},
             {"NV12", "642x482", kRunning, 642, 482},
             {"I420", "1920x1080,2560x1440", kRunning, 1920, 1080},
             {"YUY2,MJPG", "640x480,640x360", kRunning, 640, 480},
             {"MJPG", "640x480", kRunning, 640, 480},
             {"GRAY8", "640x480", kUnusable, 0, 0},
             {"BGRx", "0x480,20000x20000", kUnusable, 0, 0},
             {"MJPG", "800x600", "kasto: camera delivers no pictures", 0, 0},  // they have another size
         }) {
        SCOPED_TRACE(formats + " " + sizes);
        const auto id = "cam" + std::to_string(++plugged);
        const auto camera = plugIn(id, formats, sizes, jpeg);
        ASSERT_TRUE(waitForCameras({id}));
        log.clear();
        source.start(id);
        EXPECT_TRUE(waitUntil([&] { return log.count(logged) == 1; })) << testing::PrintToString(log.all());
        ASSERT_TRUE(width == 0 || waitForFrame());
        const auto frame = source.latest();
        ASSERT_EQ(static_cast<bool>(frame), width > 0);
        source.stop();
        if (!frame) continue;
        EXPECT_EQ(frame->width(), width);
        EXPECT_EQ(frame->height(), height);
        EXPECT_LE(errorAt(*frame, 10, 10, {20, 30, 200}), 8);
        EXPECT_LE(errorAt(*frame, width - 10, height - 10, {200, 30, 20}), 8);
    }
}

TEST_F(PipeWireCamerasTest, goesOnAfterUnpluggingSilenceAndACrashOfTheServer) {
    EXPECT_TRUE(cameras.devices().empty());
    auto first = plugIn("first", "YUY2", "640x480");
    ASSERT_TRUE(waitForCameras({"first"}));
    auto second = plugIn("second", "NV12", "320x240");
    ASSERT_TRUE(waitForCameras({"first", "second"}));
    EXPECT_EQ(cameras.defaultDevice(), (CameraDevice{"first", "Webcam"}));

    source.start("second");
    ASSERT_TRUE(waitForFrame());
    EXPECT_EQ(source.latest()->width(), 320);
    second.kill();
    EXPECT_TRUE(waitForNoFrame());
    ASSERT_TRUE(waitForCameras({"first"}));
    second = plugIn("second", "NV12", "320x240");
    EXPECT_TRUE(waitForFrame());

    ::kill(second.pid(), SIGSTOP);
    EXPECT_TRUE(waitForNoFrame());
    ::kill(second.pid(), SIGCONT);
    EXPECT_TRUE(waitForAnotherFrame());

    // The stream stays without an error, but nothing comes from the camera any more.
    const auto links = PrivatePipeWire::tool("pw-cli ls Link");
    const auto id = links.find("id ");
    ASSERT_NE(id, std::string::npos);
    PrivatePipeWire::tool("pw-cli destroy " + std::to_string(std::stoi(links.substr(id + 3))));
    EXPECT_TRUE(waitForNoFrame());
    EXPECT_TRUE(waitForFrame());

    server.kill();
    EXPECT_TRUE(waitForNoFrame());
    EXPECT_TRUE(cameras.devices().empty());
    server.start();
    second = plugIn("second", "NV12", "320x240");
    EXPECT_TRUE(waitForFrame());
    source.stop();
    EXPECT_TRUE(waitForNoFrame());
}

}  // namespace
}  // namespace kasto::test
