#include "base/PreferenceStore.h"
#include "base/Prefs.h"
#include "recording/KastoError.h"
#include "recording/TakePlan.h"
#include "support/FakeDesktop.h"
#include "support/LogLines.h"

#include <gtest/gtest.h>

#include <ostream>

namespace kasto {

void PrintTo(const Rect& r, std::ostream* out) {
    *out << '(' << r.x << ", " << r.y << ", " << r.width << ", " << r.height << ')';
}

namespace {

using test::FakeDesktop;
using test::LogLines;

void setRegion(std::optional<DisplayId> display, std::optional<Rect> rect) {
    Prefs::setRegionRect(rect);
    if (display)
        Prefs::store().set("regionDisplayID", std::int64_t{*display});
    else
        Prefs::store().remove("regionDisplayID");
}

constexpr Rect kFirst{0, 0, 1512, 982};         // display 1, scale 2
constexpr Rect kSecond{1512, -100, 1600, 900};  // display 2, scale 1

struct Case {
    const char* name;
    std::optional<Point> pointer;
    std::vector<DisplayId> shareable;
    std::optional<DisplayId> regionDisplay;
    std::optional<Rect> region;
    DisplayId display;
    Rect areaGlobalPts;
    int width, height;
    std::optional<Rect> sourcePts;
    std::vector<std::string> log;  // beside the line on the filter
};

const std::string kDegenerate = "kasto: region degenerate — recording full screen";

const Case kCases[] = {
    {"pointer", Point{1600, 0}, {1, 2}, {}, {}, 2, kSecond, 1600, 900, {}, {}},
    {"pointer unknown", {}, {1, 2}, {}, {}, 1, kFirst, 3024, 1964, {}, {}},
    {"pointer off all displays", Point{-9, 5000}, {1, 2}, {}, {}, 1, kFirst, 3024, 1964, {}, {}},
    {"display not shareable", Point{5, 5}, {2}, {}, {}, 2, kSecond, 1600, 900, {}, {}},
    {"only a region display", Point{5, 5}, {1, 2}, 2, {}, 1, kFirst, 3024, 1964, {}, {}},
    {"only a rectangle", Point{5, 5}, {1, 2}, {}, Rect{0, 0, 99, 99}, 1, kFirst, 3024, 1964, {}, {}},
    {"region elsewhere",
     Point{5, 5},
     {1, 2},
     2,
     Rect{100, 80, 801, 301},
     2,
     {1612, -20, 801, 301},
     800,
     300,
     Rect{100, 80, 801, 301},
     {"kasto: region 801×301 @ (100,80)"}},
    {"region display missing",
     Point{1600, 0},
     {1, 2},
     77,
     Rect{0, 0, 99, 99},
     2,
     kSecond,
     1600,
     900,
     {},
     {"kasto: region display 77 missing — recording full screen"}},
    {"rounded outward",
     {},
     {1, 2},
     1,
     Rect{10.6, 20.2, 100.1, 50.1},
     1,
     {10, 20, 101, 51},
     202,
     102,
     Rect{10, 20, 101, 51},
     {"kasto: region 101×51 @ (10,20)"}},
    {"partly outside",
     {},
     {1, 2},
     1,
     Rect{-50, 900, 200, 200},
     1,
     {0, 900, 150, 82},
     300,
     164,
     Rect{0, 900, 150, 82},
     {"kasto: region 150×82 @ (0,900)"}},
    {"smallest",
     {},
     {1, 2},
     1,
     Rect{9, 9, 40, 40},
     1,
     {9, 9, 40, 40},
     80,
     80,
     Rect{9, 9, 40, 40},
     {"kasto: region 40×40 @ (9,9)"}},
    {"too narrow after clipping",
     {},
     {1, 2},
     1,
     Rect{1482, 0, 500, 300},
     1,
     kFirst,
     3024,
     1964,
     {},
     {kDegenerate}},
    {"wholly outside", {}, {1, 2}, 2, Rect{5000, 0, 500, 300}, 2, kSecond, 1600, 900, {}, {kDegenerate}},
    {"the whole display", {}, {1, 2}, 2, Rect{-5, -5, 3000, 3000}, 2, kSecond, 1600, 900, {}, {}},
};

TEST(TakePlanTest, ChoosesDisplayAndArea) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.name);
        FakeDesktop desktop;
        desktop.displays.displays = {{1, "", kFirst, 2, true}, {2, "", kSecond, 1, false}};
        desktop.pointer.at = c.pointer;
        desktop.screenCapture.content.displays = c.shareable;
        setRegion(c.regionDisplay, c.region);
        LogLines log;
        const auto plan = planTake(desktop.record());
        ASSERT_TRUE(plan) << plan.error().description;
        EXPECT_EQ(plan->filter.display, c.display);
        EXPECT_EQ(plan->areaGlobalPts, c.areaGlobalPts);
        EXPECT_EQ(plan->stream.width, c.width);
        EXPECT_EQ(plan->stream.height, c.height);
        EXPECT_EQ(plan->stream.sourceRectPts, c.sourcePts);
        auto lines = log.all();
        EXPECT_EQ(std::erase(lines, "kasto: filter excludes 0 app(s)"), 1);
        EXPECT_EQ(lines, c.log);
    }
    setRegion({}, {});
}

TEST(TakePlanTest, ScalesThatDoNotDivideLosePixelsToNobody) {
    struct Row {
        double scale;
        int displayPx, wantedPx;
    };
    for (const Row& row :
         {Row{1.4, 768, 768}, Row{1.15, 1440, 1440}, Row{1.5, 1366, 1366}, Row{2.5, 1368, 1368},
          Row{1.25, 1367, 1366}, Row{0, 1000, 2000}}) {  // scale 0: the desktop cannot tell
        FakeDesktop desktop;
        const double pts = row.displayPx / (row.scale > 0 ? row.scale : 1);
        desktop.displays.displays = {{1, "", {0, 0, pts, pts}, row.scale, true}};
        // A region beyond the display must come out as the display, not as the next whole point.
        for (const auto& region : {std::optional<Rect>{}, std::optional<Rect>{{0, 0, 9999, 9999}}}) {
            setRegion(1, region);
            const auto plan = planTake(desktop.record());
            ASSERT_TRUE(plan);
            EXPECT_EQ(plan->video.width, row.wantedPx) << row.scale;
            EXPECT_FALSE(plan->stream.sourceRectPts) << row.scale;
        }
    }
    setRegion({}, {});
}

TEST(TakePlanTest, SettingsFollowTheOptions) {
    FakeDesktop desktop;
    auto& store = Prefs::store();
    for (const auto& [stored, fps] : {std::pair{60, 60}, {30, 30}, {0, 1}, {-7, 1}}) {
        store.set("fps", std::int64_t{stored});
        const auto plan = planTake(desktop.record());
        ASSERT_TRUE(plan);
        EXPECT_EQ(plan->video.expectedFrameRate, fps);
        EXPECT_DOUBLE_EQ(plan->stream.minimumFrameIntervalS, 1.0 / fps);
    }
    store.remove("fps");
    for (const int bits : {0, 1, 2, 3, 4, 5, 6, 7}) {
        const bool sound = bits & 1, wantsMic = bits & 2, deliversMic = bits & 4;
        store.set("captureSystemSound", sound);
        store.set("captureMic", wantsMic);
        desktop.screenCapture.microphone = deliversMic;
        const auto plan = planTake(desktop.record());
        ASSERT_TRUE(plan);
        EXPECT_EQ(plan->stream.capturesAudio, sound);
        EXPECT_EQ(plan->stream.capturesMicrophone, wantsMic && deliversMic);
    }
    store.remove("captureSystemSound");
    store.remove("captureMic");
}

TEST(TakePlanTest, BitRateGrowsWithTheMovieUpToItsLimit) {
    EXPECT_EQ(videoInputSettings(3840, 2160, 60).averageBitRate, 39'813'120);
    EXPECT_EQ(videoInputSettings(5120, 2880, 60).averageBitRate, 60'000'000);
    EXPECT_EQ(videoInputSettings(1282, 722, 30).averageBitRate, 2'221'449);  // of 2,221,449.6
    EXPECT_EQ(videoInputSettings(3840, 2160, 60).maxKeyFrameInterval, 120);
    EXPECT_EQ(videoInputSettings(3840, 2160, 30).maxKeyFrameInterval, 60);
}

TEST(TakePlanTest, FailsWithoutADisplay) {
    FakeDesktop desktop;
    desktop.screenCapture.content.displays = {9};  // gone between the two lists
    EXPECT_EQ(planTake(desktop.record()).error().description, description(KastoError::noDisplay));
    desktop.screenCapture.content.displays = {};
    EXPECT_EQ(planTake(desktop.record()).error().description,
              "no shareable display found (screen recording permission?)");
    desktop.screenCapture.contentError = Error{"no connection", 5};
    EXPECT_EQ(planTake(desktop.record()).error(), (Error{"no connection", 5}));
}

}  // namespace
}  // namespace kasto
