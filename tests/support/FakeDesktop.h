#pragma once

#include "platform/Desktop.h"
#include "platform/OwnWindows.h"
#include "platform/RunningInstance.h"
#include "platform/ScreenAccess.h"
#include "support/FakeDisplays.h"
#include "support/FakeMovieWriter.h"
#include "support/FakeScreenCapture.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace kasto::test {

class FakeScreenAccess : public ScreenAccess {
public:
    bool granted = true;
    int requests = 0;

    bool preflight() const override { return granted; }
    void request() override { ++requests; }
    bool accessibilityTrusted() const override { return false; }
};

class FakeRunningInstance : public RunningInstance {
public:
    Result<bool> claimed = true;
    std::vector<std::string> forwarded;
    std::function<void(const std::vector<std::string>&)> onOpenUrls;

    Result<bool> claim() override { return claimed; }
    Result<void> forward(const std::vector<std::string>& urls) override {
        forwarded = urls;
        return {};
    }
    void setOnOpenUrls(std::function<void(const std::vector<std::string>&)> callback) override {
        onOpenUrls = std::move(callback);
    }
};

// A desktop with one display of 640 x 360 points at scale 1, where everything is granted.
struct FakeDesktop {
    FakeDisplays displays;
    FakePointer pointer;
    FakeScreenAccess screenAccess;
    FakeScreenCapture screenCapture;
    FakeMovieWriters movieWriters;
    OwnWindows ownWindows;
    FakeRunningInstance runningInstance;

    Desktop record() {
        return {displays, pointer, screenAccess, screenCapture, movieWriters, ownWindows, runningInstance};
    }
};

}  // namespace kasto::test
