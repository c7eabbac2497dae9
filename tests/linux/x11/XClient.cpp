#include "XClient.h"

#include <xcb/shape.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace kasto::test {

namespace {

xcb_rectangle_t toX(const PixelRect& rect) {
    return {static_cast<std::int16_t>(rect.x), static_cast<std::int16_t>(rect.y),
            static_cast<std::uint16_t>(rect.width), static_cast<std::uint16_t>(rect.height)};
}

xcb_visualid_t argbVisual(const xcb_screen_t& screen) {
    for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem; xcb_depth_next(&depth))
        if (depth.data->depth == 32) return xcb_depth_visuals(depth.data)->visual_id;
    throw std::runtime_error("no visual with alpha");
}

}  // namespace

XClient::XClient(const std::string& display) : connection_(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(raw())) throw std::runtime_error("no X server at " + display);
    screen_ = xcb_setup_roots_iterator(xcb_get_setup(raw())).data;
}

void XClient::sync() const {
    std::free(xcb_get_input_focus_reply(raw(), xcb_get_input_focus(raw()), nullptr));
    while (void* event = xcb_poll_for_event(raw())) std::free(event);
}

xcb_window_t XClient::makeWindow(const PixelRect& boundsPx, WindowKind kind, std::uint32_t color) {
    const auto window = xcb_generate_id(raw());
    const bool argb = kind == WindowKind::argb;
    const auto visual = argb ? argbVisual(*screen_) : screen_->root_visual;
    auto colormap = screen_->default_colormap;
    if (argb) {
        colormap = xcb_generate_id(raw());
        xcb_create_colormap(raw(), XCB_COLORMAP_ALLOC_NONE, colormap, root(), visual);
    }
    const std::array<std::uint32_t, 4> values{color, 0, kind != WindowKind::managed, colormap};
    xcb_create_window(
        raw(), argb ? 32 : screen_->root_depth, window, root(), static_cast<std::int16_t>(boundsPx.x),
        static_cast<std::int16_t>(boundsPx.y), static_cast<std::uint16_t>(boundsPx.width),
        static_cast<std::uint16_t>(boundsPx.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
        XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_COLORMAP, values.data());
    sync();
    return window;
}

void XClient::show(xcb_window_t window) {
    xcb_map_window(raw(), window);
    sync();
}

void XClient::hide(xcb_window_t window) {
    xcb_unmap_window(raw(), window);
    sync();
}

void XClient::destroy(xcb_window_t window) {
    xcb_destroy_window(raw(), window);
    sync();
}

void XClient::move(xcb_window_t window, int x, int y) {
    const std::array<std::uint32_t, 2> values{static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y)};
    xcb_configure_window(raw(), window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, values.data());
    sync();
}

void XClient::raise(xcb_window_t window) { restack(window, XCB_STACK_MODE_ABOVE); }

void XClient::lower(xcb_window_t window) { restack(window, XCB_STACK_MODE_BELOW); }

void XClient::restack(xcb_window_t window, std::uint32_t mode) {
    xcb_configure_window(raw(), window, XCB_CONFIG_WINDOW_STACK_MODE, &mode);
    sync();
}

void XClient::fill(xcb_window_t window, const PixelRect& rect, std::uint32_t color) {
    const auto gc = xcb_generate_id(raw());
    xcb_create_gc(raw(), gc, window, XCB_GC_FOREGROUND, &color);
    const auto filled = toX(rect);
    xcb_poly_fill_rectangle(raw(), window, gc, 1, &filled);
    xcb_free_gc(raw(), gc);
    sync();
}

void XClient::shape(xcb_window_t window, const std::vector<PixelRect>& rects) {
    std::vector<xcb_rectangle_t> shape;
    for (const auto& rect : rects) shape.push_back(toX(rect));
    xcb_shape_rectangles(raw(), XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, XCB_CLIP_ORDERING_UNSORTED, window,
                         0, 0, static_cast<std::uint32_t>(shape.size()), shape.data());
    sync();
}

void XClient::movePointer(int x, int y) {
    xcb_warp_pointer(raw(), XCB_NONE, root(), 0, 0, 0, 0, static_cast<std::int16_t>(x),
                     static_cast<std::int16_t>(y));
    sync();
}

void XClient::setRootColor(std::uint32_t color) {
    xcb_change_window_attributes(raw(), root(), XCB_CW_BACK_PIXEL, &color);
    xcb_clear_area(raw(), 0, root(), 0, 0, 0, 0);
    sync();
}

Pixels XClient::screen(const PixelRect& rect) const {
    const auto asked =
        xcb_get_image(raw(), XCB_IMAGE_FORMAT_Z_PIXMAP, root(), static_cast<std::int16_t>(rect.x),
                      static_cast<std::int16_t>(rect.y), static_cast<std::uint16_t>(rect.width),
                      static_cast<std::uint16_t>(rect.height), ~0u);
    const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> reply(
        xcb_get_image_reply(raw(), asked, nullptr), std::free);
    if (!reply) throw std::runtime_error("the X server refused a picture");
    Pixels pixels{rect.width, rect.height, {}};
    pixels.rgb.resize(static_cast<std::size_t>(rect.width) * static_cast<std::size_t>(rect.height));
    std::memcpy(pixels.rgb.data(), xcb_get_image_data(reply.get()), pixels.rgb.size() * 4);
    for (auto& pixel : pixels.rgb) pixel &= 0xffffff;
    return pixels;
}

}  // namespace kasto::test
