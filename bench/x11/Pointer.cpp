// Watches the pointer for some seconds, or moves it.
//   x11_pointer poll SECONDS    watches it as a take does
//   x11_pointer ask SECONDS     watches it by asking the X server 120 times a second
//   x11_pointer move HZ         moves it as a mouse would, until it is ended

#include "input/InputPoller.h"
#include "linux/x11/input/X11Pointer.h"
#include "linux/x11/server/X11Displays.h"

#include <xcb/xtest.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <string>
#include <thread>

namespace {

using namespace kasto;
using namespace kasto::x11;

// Asks the X server each time, as has to be done where the server reports no motion.
struct AskingPointer : PointerInput {
    explicit AskingPointer(const PointerInput& asked) : pointer(asked) {}
    std::optional<PointerState> state() const override { return pointer.state(); }
    std::unique_ptr<ScrollMonitor> monitorScroll(std::function<void(const ScrollEvent&)>) const override {
        return nullptr;
    }
    const PointerInput& pointer;
};

[[noreturn]] void move(double hz) {
    auto* c = xcb_connect(nullptr, nullptr);
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    auto next = std::chrono::steady_clock::now();
    for (double angle = 0;; angle += 6.28 / hz) {
        xcb_test_fake_input(c, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, root,
                            static_cast<std::int16_t>(600 + 300 * std::cos(angle)),
                            static_cast<std::int16_t>(400 + 300 * std::sin(angle)), 0);
        xcb_flush(c);
        next += std::chrono::nanoseconds(std::llround(1e9 / hz));
        std::this_thread::sleep_until(next);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    const std::string what = argv[1];
    if (what == "move") move(std::atof(argv[2]));
    const auto displays = X11Displays::open("");
    if (!displays) return 1;
    const auto pointer = X11Pointer::open("", **displays);
    if (!pointer) return 1;
    const AskingPointer asking(**pointer);
    CaptureModel model;
    model.configure({0, 0, 1920, 1080}, 1920, 1080);
    InputPoller poller(model, what == "ask" ? static_cast<const PointerInput&>(asking) : **pointer);
    poller.start();
    std::this_thread::sleep_for(std::chrono::duration<double>(std::atof(argv[2])));
    poller.stop();
}
