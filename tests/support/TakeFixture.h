#pragma once

#include "base/MediaClock.h"
#include "base/Prefs.h"
#include "camera/CameraSource.h"
#include "model/CaptureModel.h"
#include "recording/Recorder.h"
#include "support/FakeDesktop.h"
#include "support/LogLines.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <memory>
#include <set>
#include <vector>

namespace kasto::test {

// A black picture.
inline PixelBufferRef picture(int width, int height) {
    auto buffer = PixelBuffer::make(PixelFormat::bgrx, width, height);
    const Plane& plane = buffer->plane(0);
    std::memset(plane.data, 0, static_cast<std::size_t>(plane.strideBytes * plane.height));
    return buffer;
}

// A hundredth of a second of silence.
inline AudioSamples sound(int channels, double presentationS) {
    return {std::vector<float>(static_cast<std::size_t>(480 * channels)), channels, presentationS, 0.01};
}

// A recorder on a desktop of fakes, with real queues, timers and pictures of 640 x 360.
class TakeFixture : public testing::Test {
protected:
    ~TakeFixture() override {
        recorder.reset();
        clearSaveDir();
    }

    void feedPicture(std::uint64_t generation, FrameStatus status = FrameStatus::complete) {
        desktop.screenCapture.feed(ScreenFrame{status, picture(640, 360), generation, {}, mediaClockNow()});
    }

    WrittenMovie& written() { return desktop.movieWriters.newest(); }
    bool waitForFrames(std::size_t count) {
        return waitUntil([&] { return written().frameCount() >= count; });
    }
    bool waitForMoreFrames(std::size_t count = 1) { return waitForFrames(written().frameCount() + count); }

    // Ticks that found a picture, told by their question to the writer.
    bool waitForTicks(int count) {
        const int before = desktop.movieWriters.askedForStatus;
        return waitUntil([&] { return desktop.movieWriters.askedForStatus >= before + count; });
    }

    // Ticks of any kind, told by the pulse that appears when the model is stepped.
    bool waitForSteps(int count) {
        for (int i = 0; i < count; ++i) {
            model.spawnRipple({1, 1}, mediaClockNow());
            const auto before = model.snapshot();
            if (!waitUntil([&] { return !(model.snapshot() == before); })) return false;
        }
        return true;
    }

    std::size_t differentBuffers() {
        return written().frames.with([](const auto& frames) {
            std::set<const PixelBuffer*> buffers;
            for (const auto& frame : frames) buffers.insert(frame.buffer.get());
            return buffers.size();
        });
    }

    void recordAndDelete() {
        ASSERT_TRUE(recorder->start());
        feedPicture(1);
        ASSERT_TRUE(waitForFrames(1));
        ASSERT_TRUE(recorder->stop());
        EXPECT_EQ(filesInSaveDir(), 1u);
        clearSaveDir();
    }

    static std::size_t filesInSaveDir() {
        return static_cast<std::size_t>(std::ranges::distance(
            std::filesystem::directory_iterator(Prefs::saveDir()), std::filesystem::directory_iterator()));
    }
    static void clearSaveDir() {
        for (const auto& entry : std::filesystem::directory_iterator(Prefs::saveDir()))
            std::filesystem::remove_all(entry.path());
    }

    LogLines log;
    FakeDesktop desktop;
    CaptureModel model;
    CameraSource camera;
    std::unique_ptr<Recorder> recorder = std::make_unique<Recorder>(model, camera, desktop.record());
};

}  // namespace kasto::test
