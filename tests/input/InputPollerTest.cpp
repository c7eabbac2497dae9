#include "base/MediaClock.h"
#include "base/PreferenceStore.h"
#include "base/Prefs.h"
#include "input/InputPoller.h"
#include "support/FakePointer.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>

#include <atomic>

namespace kasto::test {
namespace {

class InputPollerTest : public testing::Test {
protected:
    InputPollerTest() {
        model.configure({0, 0, 100, 100}, 100, 100);
        pointer.at = Point{40, 30};
        poller.onQuickMenu = [this] { ++menus; };
    }
    ~InputPollerTest() override {
        poller.stop();
        Prefs::store().remove("showClicks");
    }

    void hold(const PointerState& state) {
        pointer.held.set(state);
        const int seen = pointer.asked;
        ASSERT_TRUE(waitUntil([&] { return pointer.asked >= seen + 3; }));
    }
    RenderSnapshot shown() { return model.step(mediaClockNow()); }

    CaptureModel model;
    FakePointer pointer;
    std::atomic<int> menus = 0;
    InputPoller poller{model, pointer};
};

TEST_F(InputPollerTest, PressesBecomePulsesAndHeldButtonsADisc) {
    pointer.held.set({.left = true});
    poller.start();
    hold({.left = true});
    EXPECT_EQ(shown().ripples.size(), 0u) << "held since before the start";
    ASSERT_TRUE(shown().heldDisc);
    EXPECT_EQ(shown().heldDisc->center, (Point{40, 30}));
    hold({});
    EXPECT_FALSE(shown().heldDisc);
    hold({.left = true, .right = true});
    EXPECT_EQ(shown().ripples.size(), 2u);
}

TEST_F(InputPollerTest, OnlyFnWithARightPressAsksForTheMenu) {
    struct Row {
        PointerState state;
        int menus;
        std::size_t pulses;
    };
    const Row rows[] = {{{.right = true, .fn = true}, 1, 0},
                        {{.right = true, .command = true, .fn = true}, 1, 0},
                        {{.right = true, .option = true, .fn = true}, 0, 1},
                        {{.right = true, .control = true, .fn = true}, 0, 1},
                        {{.left = true, .fn = true}, 0, 1},
                        {{.right = true}, 0, 1}};
    for (const auto& row : rows) {
        model.configure({0, 0, 100, 100}, 100, 100);
        menus = 0;
        pointer.held.set({});
        poller.start();
        hold(row.state);
        poller.stop();
        EXPECT_EQ(menus, row.menus);
        EXPECT_EQ(shown().ripples.size(), row.pulses);
    }
}

TEST_F(InputPollerTest, WithoutClicksShownOnlyThePointerIsFollowed) {
    Prefs::store().set("showClicks", false);
    poller.start();
    hold({.left = true});
    EXPECT_EQ(shown().ripples.size(), 0u);
    EXPECT_FALSE(shown().heldDisc);
    hold({});
    hold({.right = true, .fn = true});
    EXPECT_EQ(menus, 1);
}

}  // namespace
}  // namespace kasto::test
