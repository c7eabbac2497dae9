#include "base/MediaClock.h"
#include "input/InputPoller.h"
#include "options/Prefs.h"
#include "support/FakePointer.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>

#include <atomic>

namespace kasto::test {
namespace {

class InputPollerTest : public testing::Test {
protected:
    InputPollerTest() {
        pointer.at = Point{40, 30};
        poller.onQuickMenu = [this] { ++menus; };
    }
    ~InputPollerTest() override {
        poller.stop();
        Prefs::forget(OptionId::showClicks);
    }

    void hold(const PointerState& state) {
        pointer.held.set(state);
        const int seen = pointer.asked;
        ASSERT_TRUE(waitUntil([&] { return pointer.asked >= seen + 3; }));
    }

    CaptureModel model;
    FakePointer pointer;
    std::atomic<int> menus = 0;
    InputPoller poller{model, pointer};
};

TEST_F(InputPollerTest, PressesBecomePulsesADiscOrTheMenu) {
    struct Row {
        PointerState pressed;
        int menus;
        std::size_t pulses;
        bool disc = true, showsClicks = true;
    };
    const Row rows[] = {{{.left = true}, 0, 1},
                        {{.left = true, .right = true}, 0, 2},
                        {{.right = true, .fn = true}, 1, 0},
                        {{.right = true, .command = true, .fn = true}, 1, 0},
                        {{.right = true, .option = true, .fn = true}, 0, 1},
                        {{.right = true, .control = true, .fn = true}, 0, 1},
                        {{.left = true, .fn = true}, 0, 1},
                        {{.left = true}, 0, 0, false, false},
                        {{.right = true, .fn = true}, 1, 0, false, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        Prefs::setOn(OptionId::showClicks, row.showsClicks);
        for (const bool heldBefore : {true, false}) {
            model.configure({0, 0, 100, 100}, 100, 100);
            menus = 0;
            pointer.held.set(heldBefore ? row.pressed : PointerState{});
            poller.start();
            hold(row.pressed);
            poller.stop();
            EXPECT_EQ(menus, heldBefore ? 0 : row.menus);
            const auto shown = model.step(mediaClockNow());
            EXPECT_EQ(shown.ripples.size(), heldBefore ? 0 : row.pulses);
            const auto disc = shown.heldDisc.value_or(RippleDisc{});
            EXPECT_EQ(disc.center, (row.disc ? Point{40, 30} : Point{}));
        }
    }
}

}  // namespace
}  // namespace kasto::test
