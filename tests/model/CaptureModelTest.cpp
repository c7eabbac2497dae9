#include "model/CaptureModel.h"
#include "support/LogLines.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace kasto {
namespace {

using std::numbers::ln2;

void expectNear(const Rect& shown, const Rect& expected) {
    EXPECT_NEAR(std::hypot(shown.x - expected.x, shown.y - expected.y), 0, 1e-6);
    EXPECT_NEAR(std::hypot(shown.width - expected.width, shown.height - expected.height), 0, 1e-6);
}

// A take of a 1920 x 1080 point area at two pixels per point, with the pointer in its middle.
class CaptureModelTest : public testing::Test {
protected:
    static constexpr Point kMiddle{1060, 590};

    CaptureModelTest() { startTake(); }

    void startTake() {
        model.configure({100, 50, 1920, 1080}, 3840, 2160);
        model.setMouse(kMiddle, false);
    }

    // Lets zoom and centre come to rest.
    RenderSnapshot settle() {
        for (int i = 0; i < 100; ++i) model.step(now += 0.1);
        return model.snapshot();
    }

    CaptureModel model;
    double now = 1000;
};

TEST_F(CaptureModelTest, ATakeStartsWithTheWholePictureAndNoWebcamTile) {
    RenderSnapshot whole;
    whole.area = CaptureArea({100, 50, 1920, 1080}, {3840, 2160});
    whole.cropPx = {0, 0, 3840, 2160};
    EXPECT_EQ(model.snapshot(), whole);
    model.zoom(ln2);
    model.pan({100, 100});
    model.setPip(true, false);
    model.setCamAspect(0.5);
    expectNear(settle().camRect.value_or(Rect{}), {2870.4, 268.8, 921.6, 1843.2});
    model.setPip(true, true);
    expectNear(model.step(now).camRect.value_or(Rect{}), {3024, 1344, 768, 768});
    model.setMouse(kMiddle, true);
    model.spawnRipple(kMiddle, now);
    model.configure({100, 50, 1920, 1080}, 3840, 2160);
    EXPECT_EQ(model.snapshot(), whole);
    whole.camRound = true;  // outlives the take
    EXPECT_EQ(settle(), whole);
    startTake();
    model.zoom(ln2);
    EXPECT_EQ(model.step(now + 1).zoom, 1) << "time starts anew too";
}

TEST_F(CaptureModelTest, ZoomEasesExponentiallyAndSnaps) {
    const auto zoomAfter = [](double seconds) { return std::exp(ln2 * (1 - std::exp(-seconds / 0.28))); };
    model.zoom(ln2);
    model.step(now);
    EXPECT_NEAR(model.step(now += 2).zoom, zoomAfter(0.1), 1e-9) << "a stall counts as a tenth of a second";
    EXPECT_NEAR(model.step(now -= 1).zoom, zoomAfter(0.1), 1e-9) << "time does not run back";
    for (int frame = 1; frame < 120; ++frame)
        ASSERT_NEAR(model.step(now += 1.0 / 60).zoom, zoomAfter(0.1 + frame / 60.0), 1e-9);
    EXPECT_EQ(model.step(now += 1.0 / 60).zoom, std::exp(ln2));
}

TEST_F(CaptureModelTest, ZoomStaysWithinItsRangeFindsHomeAndIsReportedOncePerTake) {
    const test::LogLines log;
    const double ln8 = 2.0794415416798357;
    const std::pair<std::vector<double>, double> rows[] = {
        {{0.03, 0.005}, 0.035}, {{-1}, 0}, {{0.1, -0.07}, 0}, {{0.13}, 0.13}, {{0.2, -0.05}, 0.15},
        {{5, 5, -1}, ln8 - 1},  {{5}, ln8}};
    for (const auto& [deltas, expectedLog] : rows) {
        startTake();
        for (const double delta : deltas) model.zoom(delta);
        EXPECT_NEAR(std::log(settle().zoom), expectedLog, 1e-12);
    }
    ASSERT_EQ(log.all().size(), 3u) << "one for each take that reached 1.15x";
    EXPECT_EQ(log.all()[0], "kasto: model zoom visible (1.15x)");
}

TEST_F(CaptureModelTest, TheViewFollowsThePointerAndPansThatFadeWithTheZoom) {
    model.zoom(std::log(3));
    model.setMouse({-5000, 9000}, false);
    expectNear(settle().cropPx, {0, 1440, 1280, 720});
    model.setMouse({600, 690}, false);
    expectNear(settle().cropPx, {1000 - 640, 1280 - 360, 1280, 720});
    model.setMouse(kMiddle, false);
    EXPECT_NEAR(model.step(now + 0.05).cropPx.midX(), 1920 - 920 * std::exp(-0.05 / 0.2), 1e-6);
    model.pan({90, -30});  // 180 pixels, of which a third counts at 3x
    expectNear(settle().cropPx, {1920 + 60 - 640, 1080 - 20 - 360, 1280, 720});
    EXPECT_TRUE(model.snapshot().panned);
    model.zoom(std::log(2.0 / 3));
    EXPECT_NEAR(settle().cropPx.midX(), 1920 + 30, 1e-6);
    model.zoom(-1);
    EXPECT_FALSE(settle().panned);
    model.zoom(std::log(3));
    EXPECT_NEAR(settle().cropPx.midX(), 1920, 1e-6) << "home clears the pan";

    startTake();
    model.pan({30, 0});  // counts in full from 1.25x
    model.zoom(std::log(1.125));
    EXPECT_NEAR(settle().cropPx.midX(), 1920 + 30, 1e-6);
    model.pan({1e6, -1e6});
    model.pan({-1920 * 1.125, 1080 * 1.125});  // one whole picture back from where it was stopped
    expectNear(settle().cropPx, {3840 / 18.0, 2160 / 18.0, 3840 / 1.125, 2160 / 1.125});
}

TEST_F(CaptureModelTest, GoesOnWithTheAreaOfADisplayThatChanged) {
    model.zoom(ln2);
    settle();
    // 750 x 540 pixels at another place of the desktop: enlarged four times in the middle of the frame.
    model.moveTo(CaptureArea::fitting({2000, 10, 750, 540}, {750, 540}, {3840, 2160}));
    model.setMouse({2000, 10}, true);
    const auto shown = settle();
    EXPECT_EQ(shown.heldDisc->center, (Point{420, 0}));
    expectNear(shown.cropPx, {0, 0, 1920, 1080});
    expectNear(shown.area.boundsPts(), {1895, 10, 960, 540});
    model.setMouse({1999, 10}, true);
    EXPECT_EQ(settle().heldDisc, std::nullopt) << "beside the display, though inside the frame";
}

TEST_F(CaptureModelTest, ClicksInsideTheAreaGrowAndFade) {
    const double rows[][3] = {{-1, 28, 0.5}, {0.225, 94, 0.25}, {0.5, 116, 0}};
    model.spawnRipple({200, 150}, now);
    for (const auto& [age, radius, alpha] : rows) {
        const auto discs = model.step(now + age).ripples;
        ASSERT_EQ(discs.size(), 1u) << age;
        EXPECT_NEAR(discs[0].radius, radius, 1e-6) << age;
        EXPECT_NEAR(discs[0].alpha, alpha, 1e-9) << age;
    }
    EXPECT_TRUE(model.step(now + 0.51).ripples.empty());

    for (const Point outside : {Point{2020, 500}, {500, 1130}, {99.9, 500}}) {
        model.spawnRipple(outside, now);
        model.setMouse({110, 60}, true);
        EXPECT_EQ(model.step(now).heldDisc, (RippleDisc{{20, 20}, 32, 0.3}));
        model.setMouse(outside, true);
        EXPECT_EQ(model.step(now).heldDisc, std::nullopt);
    }
    EXPECT_TRUE(model.step(now).ripples.empty());
    for (int i = 0; i < 30; ++i) model.spawnRipple({100.0 + i, 50}, now);
    EXPECT_EQ(model.step(now).ripples.size(), 24u);
    EXPECT_EQ(model.step(now).ripples[0].center.x, 2 * 6) << "the latest ones";
}

}  // namespace
}  // namespace kasto
