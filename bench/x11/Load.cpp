// Covers the screen with a window and repaints a part of it 60 times a second, until it is ended.
//   x11_load WIDTH HEIGHT     the size of the part; with 0 0 nothing is repainted

#include <xcb/xcb.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <thread>

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    auto* c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c)) return 1;
    const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    const auto window = xcb_generate_id(c);
    const std::array<std::uint32_t, 2> values{0x336699, 1};
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, screen->width_in_pixels,
                      screen->height_in_pixels, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values.data());
    xcb_map_window(c, window);
    const auto gc = xcb_generate_id(c);
    xcb_create_gc(c, gc, window, 0, nullptr);
    xcb_flush(c);
    const xcb_rectangle_t part{100, 60, static_cast<std::uint16_t>(std::atoi(argv[1])),
                               static_cast<std::uint16_t>(std::atoi(argv[2]))};
    auto due = std::chrono::steady_clock::now();
    for (std::uint32_t color = 0; xcb_connection_has_error(c) == 0; color += 0x030507) {
        if (part.width > 0) {
            xcb_change_gc(c, gc, XCB_GC_FOREGROUND, &color);
            xcb_poly_fill_rectangle(c, window, gc, 1, &part);
            xcb_flush(c);
        }
        std::this_thread::sleep_until(due += std::chrono::microseconds(16667));
    }
    xcb_disconnect(c);
}
