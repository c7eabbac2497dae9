#include "input/ContactRecords.h"
#include "input/TouchPadZoomPan.h"
#include "options/Prefs.h"
#include "support/FakeDesktop.h"
#include "support/LogLines.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cmath>
#include <cstring>
#include <thread>

namespace kasto::test {
namespace {

struct Frame {
    int fingers;
    double x;
    double spread;
    double t;
};

TEST(ThreeFingerInterpreterTest, TellsGesturesFromRest) {
    std::vector<Frame> resting;
    for (int i = 0; i < 600; ++i) resting.push_back({3, 0.5 + 0.0001 * i, 0.1 + 0.00002 * i, i / 100.0});
    struct Row {
        const char* what;
        int active;  // outputs
        double zoom, pan;
        std::vector<Frame> frames;
    };
    // Engaged at t = 0.01, where no delta flows yet.
    const Frame arm{3, 0.5, 0.1, 0}, engage{3, 0.52, 0.1, 0.01};
    const Row rows[] = {
        {"fingers that rest and creep", 0, 0, 0, resting},
        {"the engaging frame has no deltas", 1, 0, 0, {arm, engage}},
        {"a move", 2, 0, 0.01, {arm, engage, {3, 0.53, 0.1, 0.02}}},
        {"a spread", 2, 1.4 * std::log(105 / 104.0), 0, {arm, {3, 0.5, 0.104, 0.01}, {3, 0.5, 0.105, 0.02}}},
        {"a jump is cut", 3, 0, 0, {arm, engage, {3, 0.52, 0.2, 0.02}, {3, 0.52, 0.01, 0.03}}},
        {"a flicker",
         3,
         0,
         0.01,
         {arm, engage, {2, 0.4, 0.1, 0.05}, {3, 0.7, 0.1, 0.11}, {3, 0.71, 0.1, 0.12}}},
        {"a lifted finger",
         1,
         0,
         0,
         {arm, engage, {2, 0.4, 0.1, 0.05}, {2, 0.4, 0.1, 0.17}, {3, 0.7, 0.1, 0.2}, {3, 0.701, 0.1, 0.21}}},
        {"a gap arms again", 1, 0, 0, {arm, engage, {3, 0.7, 0.1, 0.22}, {3, 0.701, 0.1, 0.23}}},
        {"one place for all fingers", 1, 0, 0, {arm, engage, {3, 0.6, 0.002, 0.02}}},
        {"too many fingers", 0, 0, 0, {{20, 0.5, 0.1, 0}, {20, 0.6, 0.2, 0.01}}},
        {"time that runs back", 2, 0, 0.01, {arm, engage, {3, 0.53, 0.1, -5}, {3, 0.54, 0.1, 0.03}}},
        {"no numbers", 0, 0, 0, {arm, {3, NAN, NAN, 0.01}, {3, 0.5, INFINITY, NAN}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        ThreeFingerInterpreter interpreter(3);
        int active = 0;
        double zoom = 0, pan = 0;
        for (const auto& frame : row.frames) {
            const auto output = interpreter.ingest(frame.fingers, {frame.x, 0.5}, frame.spread, frame.t);
            active += output.active ? 1 : 0;
            zoom += output.zoomDelta;
            pan += output.panDelta.dx;
            EXPECT_TRUE(output.active || (output.zoomDelta == 0 && output.panDelta == Vector{}));
        }
        EXPECT_EQ(active, row.active);
        EXPECT_NEAR(zoom, row.zoom, 1e-12);
        EXPECT_NEAR(pan, row.pan, 1e-12);
    }
}

class TouchPadZoomPanTest : public testing::Test {
protected:
    TouchPadZoomPanTest() {
        model.configure({0, 0, 1000, 500}, 1000, 500);
        model.setMouse({500, 250}, false);
        desktop.pointer.at = Point{};
    }
    ~TouchPadZoomPanTest() override { touchPad->stop(); }

    // A frame of fingers in a row around (x, y), each `reach` from the next, and of one that only hovers.
    void touch(int fingers, double x, double y, double reach) {
        std::vector<Contact> contacts(static_cast<std::size_t>(fingers) + 1);
        for (int i = 0; i < fingers; ++i) {
            auto& contact = contacts[static_cast<std::size_t>(i)];
            contact.state = i % 2 ? Contact::State::makingTouch : Contact::State::touching;
            contact.x = static_cast<float>(x + reach * (i - (fingers - 1) / 2.0));
            contact.y = static_cast<float>(y);
        }
        desktop.multitouch.onFrame(contacts, t += 0.01);
    }
    // The crop after the view has come to rest.
    Rect crop() {
        for (int i = 0; i < 200; ++i) model.step(now += 0.02);
        return model.snapshot().cropPx;
    }

    LogLines log;
    FakeDesktop desktop;
    CaptureModel model;
    std::shared_ptr<TouchPadZoomPan> touchPad =
        std::make_shared<TouchPadZoomPan>(model, desktop.multitouch, desktop.pointer, desktop.screenAccess);
    double t = 0, now = 0;
};

TEST_F(TouchPadZoomPanTest, FingersZoomAndPanTheModel) {
    touchPad->start();
    for (const double reach : {0.1, 0.11, 0.125}) touch(3, 0.5, 0.5, reach);
    const double zoom = std::pow(0.125 / 0.11, 1.4);
    EXPECT_NEAR(1000 / crop().width, zoom, 0.01);

    for (const double reach : {0.1, 0.12, 0.14}) touch(2, 0.5, 0.5, reach);
    EXPECT_NEAR(1000 / crop().width, zoom, 0.01) << "two fingers need option";
    desktop.pointer.held.set({.option = true});
    t += 1;
    for (const double reach : {0.1, 0.11, 0.125}) touch(2, 0.5, 0.5, reach);
    EXPECT_NEAR(1000 / crop().width, zoom * std::pow(zoom, 1.15), 0.01);

    for (const bool inverted : {false, true}) {
        Prefs::setOn(OptionId::invertPan, inverted);
        t += 1;
        const auto before = crop();
        touch(3, 0.5, 0.5, 0.1);
        touch(3, 0.52, 0.5, 0.1);
        touch(3, 0.54, 0.51, 0.1);
        const int sign = inverted ? 1 : -1;
        EXPECT_GT(sign * (crop().midX() - before.midX()), 3) << "fingers to the right pull the view";
        EXPECT_LT(sign * (crop().midY() - before.midY()), -3) << "and upwards";
    }
    Prefs::forget(OptionId::invertPan);

    const std::string frame = "kasto: mt frame n=4 states=[4, 3, 4, 2]";
    EXPECT_EQ(log.all(),
              (std::vector<std::string>{
                  "kasto: touchpad: devices=2 ax=false", frame, frame, "kasto: 3-finger gesture engaged",
                  frame, "kasto: 3f zoom flowing (d=0.179)", "kasto: model zoom visible (1.15x)",
                  "kasto: 2f opt zoom flowing", "kasto: 3f pan flowing"}));
}

TEST_F(TouchPadZoomPanTest, DoesWithoutTouchpadsAndWithoutContacts) {
    desktop.multitouch.unavailable = true;
    for (int start = 0; start < 2; ++start) touchPad->start();
    EXPECT_EQ(log.all(),
              std::vector<std::string>{"kasto: MultitouchSupport unavailable — 3-finger zoom/pan disabled"});

    desktop.multitouch.unavailable = false;
    touchPad->start();
    touch(3, 0.5, 0.5, 0.1);
    touch(3, 0.55, 0.5, 0.1);
    desktop.multitouch.onFrame({}, t += 0.2);
    touch(3, 0.7, 0.5, 0.3);  // arms afresh
    EXPECT_EQ(crop(), (Rect{0, 0, 1000, 500}));
}

// Three fingers in a row around x, as records of 96 bytes at an odd address.
std::vector<std::byte> records(float x) {
    std::vector<std::byte> bytes(1 + 3 * 96);
    for (std::size_t i = 0; i < 3; ++i) {
        const std::int32_t state = i == 1 ? 3 : 4;
        const std::array place{x + 0.1F * (static_cast<float>(i) - 1), 0.5F};
        std::memcpy(&bytes[1 + i * 96 + 20], &state, sizeof(state));
        std::memcpy(&bytes[1 + i * 96 + 32], place.data(), sizeof(place));
    }
    return bytes;
}

TEST_F(TouchPadZoomPanTest, TakesContactRecordsWhileItRuns) {
    const auto at = [&](float x, std::int32_t count) {
        EXPECT_EQ(kastoMTCallback(nullptr, records(x).data() + 1, count, t += 0.01, 0), 0);
    };
    for (const bool isRunning : {false, true}) {
        if (isRunning) touchPad->start();
        model.zoom(std::log(2));
        const auto before = crop();
        at(0.5F, 3);
        for (int i = 1; i < 4; ++i) at(0.5F + 0.02F * static_cast<float>(i), 3);
        EXPECT_EQ(crop().midX() < before.midX() - 3, isRunning);
    }
    EXPECT_EQ(kastoMTCallback(nullptr, nullptr, 3, t += 0.2, 0), 0);  // ends the gesture
    const auto before = crop();
    at(0.9F, -1);
    at(0.9F, 3);  // arms afresh
    EXPECT_EQ(crop(), before);
}

TEST_F(TouchPadZoomPanTest, RecordsMayArriveWhileItIsStopped) {
    std::atomic<bool> ends = false;
    std::thread frames([&] {
        const auto bytes = records(0.5F);
        for (int i = 0; !ends; ++i) kastoMTCallback(nullptr, bytes.data() + 1, i % 4, i * 0.01, i);
    });
    for (int i = 0; i < 200; ++i) {
        touchPad->start();
        touchPad->stop();
    }
    EXPECT_FALSE(desktop.multitouch.onFrame);
    ends = true;
    frames.join();
}

}  // namespace
}  // namespace kasto::test
