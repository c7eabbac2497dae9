#include "options/PreferenceStore.h"
#include "recording/KastoError.h"
#include "recording/TakePlan.h"
#include "support/FakeDesktop.h"
#include "support/ForgetOptions.h"
#include "support/LogLines.h"

#include <gtest/gtest.h>

namespace kasto {
namespace {

class TakePlanTest : public testing::Test {
protected:
    ~TakePlanTest() override { test::forgetOptions(); }
    void setRegion(DisplayId display, Rect rect) {
        Prefs::setRegionDisplayID(display == 0 ? std::nullopt : std::optional(display));
        Prefs::setRegionRect(rect == Rect{} ? std::nullopt : std::optional(rect));
    }
    TakePlan plan() { return planTake(desktop.record()).value(); }

    test::FakeDesktop desktop;
};

constexpr Rect kWhole1{0, 0, 1512, 982}, kWhole2{0, 0, 1600, 900};
constexpr Point kOn2{1600, 0};

struct Row {
    const char* name;
    std::optional<Point> pointer;
    DisplayId regionDisplay;
    Rect region;
    DisplayId display;
    Rect partPts;  // of that display
    int width, height;
    std::string log;  // beside the line on the filter
};

const std::string kMissing = "kasto: region display 77 missing — recording full screen";
const std::string kDegenerate = "kasto: region degenerate — recording full screen";

const Row kRows[] = {
    {"pointer", kOn2, 0, {}, 2, kWhole2, 1600, 900, ""},
    {"only a region display", {}, 2, {}, 1, kWhole1, 3024, 1964, ""},
    {"display missing", kOn2, 77, {0, 0, 99, 99}, 2, kWhole2, 1600, 900, kMissing},
    {"region", {}, 2, {9, 80, 801, 301}, 2, {9, 80, 801, 301}, 800, 300, "kasto: region 801×301 @ (9,80)"},
    {"rounded", {}, 1, {9.6, 8.2, 99.1, 50.1}, 1, {9, 8, 100, 51}, 200, 102, "kasto: region 100×51 @ (9,8)"},
    {"smallest", {}, 1, {-9, 942, 49, 60}, 1, {0, 942, 40, 40}, 80, 80, "kasto: region 40×40 @ (0,942)"},
    {"too narrow", {}, 2, {1561, 0, 500, 300}, 2, kWhole2, 1600, 900, kDegenerate},
};

TEST_F(TakePlanTest, ChoosesDisplayAndArea) {
    desktop.displays.displays = {{1, "", kWhole1, 2, true}, {2, "", {1512, -100, 1600, 900}, 1, false}};
    desktop.screenCapture.content.displays = {1, 2};
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.name);
        desktop.pointer.at = row.pointer;
        setRegion(row.regionDisplay, row.region);
        const test::LogLines log;
        const auto take = plan();
        EXPECT_EQ(take.filter.display, row.display);
        const bool second = row.display == 2;
        EXPECT_EQ(take.areaGlobalPts, row.partPts.translated(second ? 1512 : 0, second ? -100 : 0));
        EXPECT_EQ(take.stream.width, row.width);
        EXPECT_EQ(take.stream.height, row.height);
        const bool whole = row.partPts == (second ? kWhole2 : kWhole1);
        EXPECT_EQ(take.stream.sourceRectPts, whole ? std::nullopt : std::optional(row.partPts));
        auto lines = log.all();
        EXPECT_EQ(std::erase(lines, "kasto: filter excludes 0 app(s)"), 1);
        EXPECT_EQ(lines, std::vector<std::string>(row.log.empty() ? 0 : 1, row.log));
    }
}

TEST_F(TakePlanTest, ScalesThatDoNotDivideLosePixelsToNobody) {
    for (const auto& [scale, displayPx] : {std::pair{1.4, 768}, {1.15, 1440}, {1.25, 1367}}) {
        const double pts = displayPx / scale;
        desktop.displays.displays = {{1, "", {0, 0, pts, pts}, scale, true}};
        // A region beyond the display must come out as the display, not as the next whole point.
        for (const Rect& region : {Rect{}, Rect{0, 0, 9999, 9999}}) {
            setRegion(1, region);
            EXPECT_EQ(plan().video.width, displayPx / 2 * 2) << scale;
            EXPECT_FALSE(plan().stream.sourceRectPts) << scale;
        }
    }
    desktop.displays.displays = {{1, "", {0, 0, 500, 500}, 0, true}};
    EXPECT_EQ(plan().video.width, 1000) << "of a desktop that cannot tell the scale";
}

TEST_F(TakePlanTest, SettingsFollowTheOptions) {
    for (const auto& [stored, fps] : {std::pair{60, 60}, {30, 30}, {0, 1}, {-7, 1}}) {
        Prefs::store().set("fps", stored);
        EXPECT_EQ(plan().video.expectedFrameRate, fps);
        EXPECT_DOUBLE_EQ(plan().stream.minimumFrameIntervalS, 1.0 / fps);
    }
    for (const int bits : {0, 1, 2, 3, 4, 5, 6, 7}) {
        Prefs::setOn(OptionId::captureSystemSound, (bits & 1) != 0);
        Prefs::setOn(OptionId::captureMic, (bits & 2) != 0);
        desktop.screenCapture.microphone = (bits & 4) != 0;
        EXPECT_EQ(plan().stream.capturesAudio, (bits & 1) != 0);
        EXPECT_EQ(plan().stream.capturesMicrophone, (bits & 6) == 6);
    }
    EXPECT_EQ(videoInputSettings(5120, 2880, 60).averageBitRate, 60'000'000) << "at most";
    EXPECT_EQ(videoInputSettings(1282, 722, 30).averageBitRate, 2'221'449) << "of 2,221,449.6";
    EXPECT_EQ(videoInputSettings(3840, 2160, 30).maxKeyFrameInterval, 60);
}

TEST_F(TakePlanTest, NeedsAShareableDisplay) {
    auto& content = desktop.screenCapture.content;
    desktop.displays.displays.push_back({2, "", kWhole2, 1, false});
    content.displays = {2};
    EXPECT_EQ(plan().filter.display, 2u) << "any, rather than the pointer's";
    content.displays = {9};  // gone between the two lists
    EXPECT_EQ(planTake(desktop.record()).error().description, description(KastoError::noDisplay));
    content.displays = {};
    EXPECT_EQ(planTake(desktop.record()).error().description,
              "no shareable display found (screen recording permission?)");
}

}  // namespace
}  // namespace kasto
