// Covers the screen with a dark window and shows a bright patch in its middle for the first tenth of a second
// of every beat of the monotonic clock. When it is ended it prints how late the X server painted the patches.
//   sync_flash BEAT_MS

#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono;

volatile std::sig_atomic_t isToEnd = 0;

struct Screen {
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    xcb_window_t window = 0;
    xcb_gcontext_t context = 0;
    xcb_rectangle_t patch{};

    bool open() {
        if (xcb_connection_has_error(connection)) return false;
        const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
        const int width = screen->width_in_pixels;
        const int height = screen->height_in_pixels;
        window = xcb_generate_id(connection);
        const std::array<std::uint32_t, 2> values{0x202020, 1};
        xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0,
                          screen->width_in_pixels, screen->height_in_pixels, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values.data());
        xcb_map_window(connection, window);
        context = xcb_generate_id(connection);
        xcb_create_gc(connection, context, window, 0, nullptr);
        patch = {static_cast<std::int16_t>(width / 4), static_cast<std::int16_t>(height / 4),
                 static_cast<std::uint16_t>(width / 2), static_cast<std::uint16_t>(height / 2)};
        return true;
    }

    // Returns when the X server has painted it.
    void paint(std::uint32_t colour) const {
        xcb_change_gc(connection, context, XCB_GC_FOREGROUND, &colour);
        xcb_poly_fill_rectangle(connection, window, context, 1, &patch);
        std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    }
};

}  // namespace

int main(int argc, char** argv) {
    const auto beat = milliseconds(argc == 2 ? std::atoi(argv[1]) : 0);
    if (beat < milliseconds(200)) return 2;
    for (const int signal : {SIGINT, SIGTERM}) std::signal(signal, [](int) { isToEnd = 1; });
    Screen screen;
    if (!screen.open()) return 1;
    std::vector<double> lateMs;
    auto due = steady_clock::time_point(steady_clock::now().time_since_epoch() / beat * beat);
    while (!isToEnd && xcb_connection_has_error(screen.connection) == 0) {
        std::this_thread::sleep_until(due += beat);
        screen.paint(0xffffff);
        lateMs.push_back(duration<double, std::milli>(steady_clock::now() - due).count());
        std::this_thread::sleep_until(due + milliseconds(100));
        screen.paint(0x202020);
    }
    std::ranges::sort(lateMs);
    if (!lateMs.empty()) std::printf("%.2f %.2f\n", lateMs[lateMs.size() / 2], lateMs.back());
    xcb_disconnect(screen.connection);
}
