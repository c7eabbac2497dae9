#include "input/ScrollPanMonitor.h"
#include "options/Prefs.h"
#include "support/FakePointer.h"
#include "support/LogLines.h"

#include <gtest/gtest.h>

#include <cmath>

namespace kasto::test {
namespace {

constexpr double kNotch = ScrollEvent::kPtsPerNotch;

// The zoom and the centre of the view after a scroll has taken its full effect.
struct Effect {
    double zoom;
    Point center;
};
Effect effectOf(ScrollEvent scroll) {
    CaptureModel model;
    FakePointer pointer;
    ScrollPanMonitor monitor(model, pointer);
    model.configure({0, 0, 1000, 1000}, 1000, 1000);
    model.setMouse({500, 500}, false);
    model.zoom(std::log(2));
    double t = 0;
    for (; t < 20; t += 0.1) model.step(t);
    monitor.start();
    scroll.deltaPts = {scroll.deltaPts.dx / 2, scroll.deltaPts.dy / 2};
    for (int half = 0; half < 2; ++half) EXPECT_TRUE(pointer.scroll(scroll));
    for (; t < 23; t += 0.01) model.step(t);
    const auto crop = model.snapshot().cropPx;
    monitor.stop();
    EXPECT_FALSE(pointer.scroll({}));
    return {1000 / crop.width, {crop.midX(), crop.midY()}};
}

TEST(ScrollPanMonitorTest, OptionPansAndControlOptionZooms) {
    struct Row {
        const char* what;
        bool inverted;
        double notchesIn;  // of zoom
        int right, down;   // signs of the pan
        ScrollEvent scroll;
    };
    const Row rows[] = {
        {"down", false, 0, 0, 1, {.deltaPts = {0, -kNotch}, .option = true}},
        {"right, whatever fn", false, 0, 1, 0, {.deltaPts = {-9, 0}, .option = true, .fn = true}},
        {"inverted", true, 0, -1, -1, {.deltaPts = {-9, -9}, .option = true}},
        {"no modifier", false, 0, 0, 0, {.deltaPts = {9, 9}}},
        {"command", false, 0, 0, 0, {.deltaPts = {9, 9}, .command = true, .option = true}},
        {"in", false, 1, 0, 0, {.deltaPts = {0, kNotch}, .option = true, .control = true}},
        {"half out", true, -0.5, 0, 0, {.deltaPts = {9, -kNotch / 2}, .option = true, .control = true}},
        {"sideways", false, 0, 0, 0, {.deltaPts = {kNotch, 0}, .option = true, .control = true}},
        {"fn", false, 0, 0, 0, {.deltaPts = {0, 9}, .option = true, .control = true, .fn = true}},
        {"control alone", false, 0, 0, 0, {.deltaPts = {0, 9}, .control = true}},
    };
    const auto sign = [](double moved) { return moved > 1 ? 1 : moved < -1 ? -1 : 0; };
    const LogLines log;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        Prefs::setOn(OptionId::invertPan, row.inverted);
        const auto effect = effectOf(row.scroll);
        EXPECT_NEAR(effect.zoom, 2 * std::pow(1.25, row.notchesIn), 0.01);
        EXPECT_EQ(sign(effect.center.x - 500), row.right);
        EXPECT_EQ(sign(effect.center.y - 500), row.down);
    }
    Prefs::forget(OptionId::invertPan);
    EXPECT_EQ(log.count("kasto: opt-scroll pan applied"), 3) << "one of each start that pans";
    EXPECT_EQ(log.count("kasto: ctrl-opt scroll zoom applied"), 2);
}

}  // namespace
}  // namespace kasto::test
