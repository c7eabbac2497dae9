#include "linux/x11/server/Connection.h"

namespace kasto::x11 {

namespace {

const xcb_screen_t* screenNumbered(const xcb_setup_t* setup, int number) {
    auto it = xcb_setup_roots_iterator(setup);
    for (; it.rem > 1 && number > 0; --number) xcb_screen_next(&it);
    return it.data;
}

const xcb_visualtype_t* rootVisual(const xcb_screen_t& screen) {
    for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem; xcb_depth_next(&depth))
        for (auto visual = xcb_depth_visuals_iterator(depth.data); visual.rem; xcb_visualtype_next(&visual))
            if (visual.data->visual_id == screen.root_visual) return visual.data;
    return nullptr;
}

}  // namespace

Result<Connection> Connection::open(const std::string& displayName) {
    Connection made;
    made.connection_.reset(
        xcb_connect(displayName.empty() ? nullptr : displayName.c_str(), &made.screenNumber_));
    if (made.isLost()) {
        const char* fromEnvironment = std::getenv("DISPLAY");
        const std::string name = !displayName.empty() ? displayName : fromEnvironment ? fromEnvironment : "";
        return failure(name.empty() ? "no X server: DISPLAY is not set" : "no X server at display " + name,
                       xcb_connection_has_error(made.raw()));
    }
    made.screen_ = screenNumbered(xcb_get_setup(made.raw()), made.screenNumber_);
    return made;
}

Result<std::uint8_t> Connection::firstEventOf(xcb_extension_t& extension, const char* name) const {
    const auto* data = xcb_get_extension_data(raw(), &extension);
    if (!data || !data->present) return failure(std::string("the X server lacks the extension ") + name);
    return data->first_event;
}

xcb_atom_t Connection::atom(const std::string& name) const {
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        raw(), xcb_intern_atom(raw(), 0, static_cast<std::uint16_t>(name.size()), name.c_str()), nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

bool Connection::hasBgrxPixels() const {
    const auto* setup = xcb_get_setup(raw());
    const auto* visual = rootVisual(screen());
    if (!visual || setup->image_byte_order != XCB_IMAGE_ORDER_LSB_FIRST) return false;
    for (auto format = xcb_setup_pixmap_formats_iterator(setup); format.rem; xcb_format_next(&format))
        if (format.data->depth == screen().root_depth && format.data->bits_per_pixel != 32) return false;
    return visual->red_mask == 0xff0000 && visual->green_mask == 0xff00 && visual->blue_mask == 0xff;
}

}  // namespace kasto::x11
