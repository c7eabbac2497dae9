#pragma once

#include "base/MediaClock.h"
#include "camera/WebcamTile.h"
#include "model/CaptureModel.h"
#include "options/Prefs.h"
#include "recording/Recorder.h"
#include "support/FakeDesktop.h"
#include "support/LogLines.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>

#include <set>

namespace kasto::test {

// A picture that shows nothing in particular.
inline PixelBufferRef picture(int width, int height) {
    return PixelBuffer::make(PixelFormat::bgrx, width, height);
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

    void feedPicture(std::uint64_t generation) {
        desktop.screenCapture.feed(ScreenFrame{picture(640, 360), generation, {}, mediaClockNow()});
    }

    WrittenMovie& written() { return desktop.movieWriters.newest(); }
    bool waitForMoreFrames(std::size_t count) {
        const auto before = written().frameCount();
        return waitUntil([&] { return written().frameCount() >= before + count; });
    }
    void startTake() {
        ASSERT_TRUE(recorder->start());
        feedPicture(1);
        ASSERT_TRUE(waitForMoreFrames(1));
    }

    // Ticks, told by the pulse that appears when the model is stepped.
    bool waitForTicks(int count) {
        for (int i = 0; i < count; ++i) {
            model.spawnRipple({1, 1}, mediaClockNow());
            const auto before = model.snapshot();
            if (!waitUntil([&] { return !(model.snapshot() == before); })) return false;
        }
        return true;
    }

    std::size_t differentBuffers() {
        std::set<const PixelBuffer*> buffers;
        for (const auto& [buffer, time] : written().frames.copy()) buffers.insert(buffer.get());
        return buffers.size();
    }

    static std::ptrdiff_t filesInSaveDir() {
        return std::distance(std::filesystem::directory_iterator(Prefs::saveDir()), {});
    }
    static void clearSaveDir() {
        for (const auto& entry : std::filesystem::directory_iterator(Prefs::saveDir()))
            std::filesystem::remove(entry);
    }

    LogLines log;
    FakeDesktop desktop;
    CaptureModel model;
    WebcamTile tile{model, desktop.cameraSession};
    CameraSource& camera = tile.source();
    std::unique_ptr<Recorder> recorder = std::make_unique<Recorder>(model, tile, desktop.record());
};

}  // namespace kasto::test
