#include "XClient.h"

#include "linux/x11/server/Rectangles.h"

#include <xcb/shape.h>

#include <array>
#include <cstring>
#include <stdexcept>

namespace kasto::test {

using namespace x11;

namespace {

xcb_visualid_t argbVisual(const xcb_screen_t& screen) {
    for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem; xcb_depth_next(&depth))
        if (depth.data->depth == 32) return xcb_depth_visuals(depth.data)->visual_id;
    throw std::runtime_error("no visual with alpha");
}

}  // namespace

Pixels::Pixels(int columns, int rows, const std::uint8_t* data, std::ptrdiff_t strideBytes)
    : width(columns), height(rows), rgb(static_cast<std::size_t>(columns * rows)) {
    for (int y = 0; y < height; ++y)
        std::memcpy(&at(0, y), data + y * strideBytes, static_cast<std::size_t>(4 * width));
    for (auto& pixel : rgb) pixel &= 0xffffff;
}

void XClient::sync(xcb_void_cookie_t) const {
    const Reply<void> answer(xcb_get_input_focus_reply(raw(), xcb_get_input_focus(raw()), nullptr));
    while (const Reply<void> event{xcb_poll_for_event(raw())}) continue;
}

void XClient::listenForPresses(xcb_window_t window) {
    constexpr std::uint32_t kPresses = XCB_EVENT_MASK_BUTTON_PRESS;
    sync(xcb_change_window_attributes(raw(), window, XCB_CW_EVENT_MASK, &kPresses));
}

std::vector<int> XClient::pressed() {
    // A reply comes after the events before it.
    const Reply<void> answer(xcb_get_input_focus_reply(raw(), xcb_get_input_focus(raw()), nullptr));
    std::vector<int> buttons;
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(raw())})
        if ((event->response_type & 0x7f) == XCB_BUTTON_PRESS)
            buttons.push_back(reinterpret_cast<const xcb_button_press_event_t*>(event.get())->detail);
    return buttons;
}

xcb_window_t XClient::makeWindow(const PixelRect& boundsPx, WindowKind kind, std::uint32_t color) {
    const auto window = xcb_generate_id(raw());
    const auto& screen = connection_.screen();
    const bool argb = kind == WindowKind::argb;
    const auto visual = argb ? argbVisual(screen) : screen.root_visual;
    const auto colormap = xcb_generate_id(raw());
    xcb_create_colormap(raw(), XCB_COLORMAP_ALLOC_NONE, colormap, root(), visual);
    const std::array<std::uint32_t, 4> values{color, 0, kind != WindowKind::managed, colormap};
    const auto [x, y, width, height] = toXcb(boundsPx);
    sync(xcb_create_window(
        raw(), argb ? 32 : screen.root_depth, window, root(), x, y, width, height, 0,
        XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
        XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_COLORMAP, values.data()));
    return window;
}

xcb_window_t XClient::showWindow(const PixelRect& boundsPx, std::uint32_t color) {
    const auto window = makeWindow(boundsPx, WindowKind::overrideRedirect, color);
    show(window);
    return window;
}

void XClient::move(xcb_window_t window, int x, int y) {
    const std::array values{x, y};
    sync(xcb_configure_window(raw(), window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, values.data()));
}

void XClient::restack(xcb_window_t window, std::uint32_t mode) {
    sync(xcb_configure_window(raw(), window, XCB_CONFIG_WINDOW_STACK_MODE, &mode));
}

void XClient::fill(xcb_window_t window, const PixelRect& rect, std::uint32_t color) {
    const auto gc = xcb_generate_id(raw());
    xcb_create_gc(raw(), gc, window, XCB_GC_FOREGROUND, &color);
    const auto filled = toXcb(rect);
    xcb_poly_fill_rectangle(raw(), window, gc, 1, &filled);
    sync(xcb_free_gc(raw(), gc));
}

void XClient::shape(xcb_window_t window, const std::vector<PixelRect>& rects) {
    const auto shape = toXcb(rects);
    sync(xcb_shape_rectangles(raw(), XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, XCB_CLIP_ORDERING_UNSORTED,
                              window, 0, 0, static_cast<std::uint32_t>(shape.size()), shape.data()));
}

void XClient::movePointer(int x, int y) {
    const auto at = toXcb({x, y, 0, 0});
    sync(xcb_warp_pointer(raw(), XCB_NONE, root(), 0, 0, 0, 0, at.x, at.y));
}

void XClient::setRootColor(std::uint32_t color) {
    xcb_change_window_attributes(raw(), root(), XCB_CW_BACK_PIXEL, &color);
    sync(xcb_clear_area(raw(), 0, root(), 0, 0, 0, 0));
}

void XClient::setResources(const std::string& text) {
    sync(xcb_change_property(raw(), XCB_PROP_MODE_REPLACE, root(), XCB_ATOM_RESOURCE_MANAGER, XCB_ATOM_STRING,
                             8, static_cast<std::uint32_t>(text.size()), text.data()));
}

Pixels XClient::screen(const PixelRect& rect) const {
    const auto [x, y, width, height] = toXcb(rect);
    const auto asked = xcb_get_image(raw(), XCB_IMAGE_FORMAT_Z_PIXMAP, root(), x, y, width, height, ~0u);
    const Reply<xcb_get_image_reply_t> reply(xcb_get_image_reply(raw(), asked, nullptr));
    if (!reply) throw std::runtime_error("the X server refused a picture");
    return {width, height, xcb_get_image_data(reply.get()), 4 * width};
}

}  // namespace kasto::test
