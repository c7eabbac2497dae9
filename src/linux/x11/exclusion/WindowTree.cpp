#include "linux/x11/exclusion/WindowTree.h"

#include "linux/x11/server/Rectangles.h"

#include <xcb/composite.h>
#include <xcb/shape.h>

#include <algorithm>

namespace kasto::x11 {

namespace {

Region toRegion(const xcb_shape_get_rectangles_reply_t* reply, int dx, int dy) {
    if (!reply) return {};
    Region shape(fromXcb({xcb_shape_get_rectangles_rectangles(reply),
                          static_cast<std::size_t>(xcb_shape_get_rectangles_rectangles_length(reply))}));
    return std::move(shape.translate(dx, dy));
}

PixelRect outerOf(const xcb_get_geometry_reply_t& geometry, const PixelRect& area) {
    return {geometry.x - area.x, geometry.y - area.y, geometry.width + 2 * geometry.border_width,
            geometry.height + 2 * geometry.border_width};
}

double opacityIn(const xcb_get_property_reply_t* reply) {
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply) < 4) return 1;
    return *static_cast<const std::uint32_t*>(xcb_get_property_value(reply)) / 4294967295.0;
}

}  // namespace

WindowTreeReader::WindowTreeReader(const Connection& connection, const PixelRect& area)
    : connection_(connection),
      area_(area),
      managerSelection_(connection.atom("_NET_WM_CM_S" + std::to_string(connection.screenNumber()))),
      opacity_(connection.atom("_NET_WM_WINDOW_OPACITY")),
      embedding_(connection.atom("_XEMBED_INFO")) {}

WindowTree WindowTreeReader::read(std::span<const std::uint32_t> own) const {
    auto* c = connection_.raw();
    const auto askedManager = xcb_get_selection_owner(c, managerSelection_);
    const auto askedTree = xcb_query_tree(c, connection_.root());
    WindowTree tree;
    tree.own = placeOwn(own);
    const Reply<xcb_get_selection_owner_reply_t> manager(
        xcb_get_selection_owner_reply(c, askedManager, nullptr));
    const Reply<xcb_query_tree_reply_t> root(xcb_query_tree_reply(c, askedTree, nullptr));
    if (!manager || !root) return tree;
    tree.hasCompositingManager = manager->owner != XCB_NONE;

    const auto* first = xcb_query_tree_children(root.get());
    std::vector<std::uint32_t> children(first, first + xcb_query_tree_children_length(root.get()));
    // A compositing manager paints on the overlay window, which therefore shows our own windows too.
    if (tree.hasCompositingManager) std::erase(children, overlayWindow());
    tree.others = describe(children);
    cutOut(tree.own, tree.others);
    return tree;
}

void WindowTreeReader::cutOut(const std::vector<OwnPlace>& places, std::vector<TopLevel>& others) {
    for (const auto& place : places) {
        const auto own = place.isFramed ? place.topLevel : place.id;
        std::erase_if(others, [&](const auto& top) { return top.id == own; });
        for (auto& top : others)
            if (place.isViewable && place.topLevel == top.id) top.area.subtract(place.shape);
    }
}

std::vector<OwnPlace> WindowTreeReader::placeOwn(std::span<const std::uint32_t> own) const {
    struct Asked {
        std::uint32_t id;
        xcb_get_geometry_cookie_t geometry;
        xcb_get_window_attributes_cookie_t attributes;
        xcb_translate_coordinates_cookie_t origin;
        xcb_query_tree_cookie_t tree;
        xcb_shape_get_rectangles_cookie_t shape;
    };
    auto* c = connection_.raw();
    std::vector<Asked> asked;
    // The geometry comes first: a window that moves while it is asked for is then not where its geometry
    // says, and the event of the move is not taken for old news.
    for (const auto id : own)
        asked.push_back({id, xcb_get_geometry(c, id), xcb_get_window_attributes(c, id),
                         xcb_translate_coordinates(c, id, connection_.root(), 0, 0), xcb_query_tree(c, id),
                         xcb_shape_get_rectangles(c, id, XCB_SHAPE_SK_BOUNDING)});
    std::vector<OwnPlace> places;
    for (const auto& ask : asked) {
        const Reply<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(c, ask.geometry, nullptr));
        const Reply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(c, ask.attributes, nullptr));
        const Reply<xcb_translate_coordinates_reply_t> origin(
            xcb_translate_coordinates_reply(c, ask.origin, nullptr));
        const Reply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(c, ask.tree, nullptr));
        const Reply<xcb_shape_get_rectangles_reply_t> shape(
            xcb_shape_get_rectangles_reply(c, ask.shape, nullptr));
        if (!geometry || !attributes || !origin || !tree) continue;
        const int x = origin->dst_x - area_.x;
        const int y = origin->dst_y - area_.y;
        places.push_back({.id = ask.id,
                          .isViewable = attributes->map_state == XCB_MAP_STATE_VIEWABLE,
                          .topLevel = topLevelOf(ask.id, tree->parent),
                          .x = x,
                          .y = y,
                          .topLevelOuter = outerOf(*geometry, area_),
                          .shape = toRegion(shape.get(), x, y)});
        if (places.back().topLevel != ask.id) placeTopLevel(places.back());
    }
    return places;
}

std::uint32_t WindowTreeReader::topLevelOf(std::uint32_t window, std::uint32_t parent) const {
    auto* c = connection_.raw();
    while (parent != connection_.root() && parent != XCB_NONE) {
        window = parent;
        const Reply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(c, xcb_query_tree(c, window), nullptr));
        parent = tree ? tree->parent : static_cast<xcb_window_t>(XCB_NONE);
    }
    return window;
}

void WindowTreeReader::placeTopLevel(OwnPlace& place) const {
    auto* c = connection_.raw();
    const auto askedGeometry = xcb_get_geometry(c, place.topLevel);
    const auto askedAttributes = xcb_get_window_attributes(c, place.topLevel);
    const Reply<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(c, askedGeometry, nullptr));
    const Reply<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(c, askedAttributes, nullptr));
    if (!geometry || !attributes) return;
    place.topLevelOuter = outerOf(*geometry, area_);
    place.isFramed = !isEmbedded(place.id);
    if (!place.isFramed) return;
    place.isViewable = attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    place.shape = shapeOf(place.topLevel, place.topLevelOuter.x + geometry->border_width,
                          place.topLevelOuter.y + geometry->border_width);
}

bool WindowTreeReader::isEmbedded(xcb_window_t window) const {
    auto* c = connection_.raw();
    const Reply<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(c, xcb_get_property(c, 0, window, embedding_, embedding_, 0, 1), nullptr));
    return reply && reply->type != XCB_ATOM_NONE;
}

std::vector<TopLevel> WindowTreeReader::describe(std::span<const std::uint32_t> children) const {
    struct Asked {
        xcb_get_window_attributes_cookie_t attributes;
        xcb_get_geometry_cookie_t geometry;
        xcb_shape_query_extents_cookie_t shape;
        xcb_get_property_cookie_t opacity;
    };
    auto* c = connection_.raw();
    std::vector<Asked> asked;
    for (const auto id : children)
        asked.push_back({xcb_get_window_attributes(c, id), xcb_get_geometry(c, id),
                         xcb_shape_query_extents(c, id),
                         xcb_get_property(c, 0, id, opacity_, XCB_ATOM_CARDINAL, 0, 1)});
    std::vector<TopLevel> described;
    std::vector<std::size_t> shaped;
    for (std::size_t i = 0; i < children.size(); ++i) {
        const Reply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(c, asked[i].attributes, nullptr));
        const Reply<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(c, asked[i].geometry, nullptr));
        const Reply<xcb_shape_query_extents_reply_t> shape(
            xcb_shape_query_extents_reply(c, asked[i].shape, nullptr));
        const Reply<xcb_get_property_reply_t> opacity(xcb_get_property_reply(c, asked[i].opacity, nullptr));
        if (!attributes || !geometry || attributes->_class == XCB_WINDOW_CLASS_INPUT_ONLY ||
            attributes->map_state != XCB_MAP_STATE_VIEWABLE)
            continue;
        const auto outer = outerOf(*geometry, area_);
        if (shape && shape->bounding_shaped) shaped.push_back(described.size());
        described.push_back({children[i], outer, geometry->border_width, attributes->visual,
                             opacityIn(opacity.get()), Region(outer)});
    }
    for (const auto i : shaped) {
        auto& top = described[i];
        top.area = shapeOf(top.id, top.outer.x + top.borderPx, top.outer.y + top.borderPx);
    }
    return described;
}

Region WindowTreeReader::shapeOf(xcb_window_t window, int x, int y) const {
    auto* c = connection_.raw();
    const Reply<xcb_shape_get_rectangles_reply_t> shape(xcb_shape_get_rectangles_reply(
        c, xcb_shape_get_rectangles(c, window, XCB_SHAPE_SK_BOUNDING), nullptr));
    return toRegion(shape.get(), x, y);
}

std::uint32_t WindowTreeReader::overlayWindow() const {
    auto* c = connection_.raw();
    const Reply<xcb_composite_get_overlay_window_reply_t> canvas(xcb_composite_get_overlay_window_reply(
        c, xcb_composite_get_overlay_window(c, connection_.root()), nullptr));
    if (!canvas) return XCB_NONE;
    xcb_composite_release_overlay_window(c, connection_.root());
    return canvas->overlay_win;
}

}  // namespace kasto::x11
