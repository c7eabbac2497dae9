#include "linux/x11/exclusion/HiddenWindows.h"

#include "base/MediaClock.h"

#include <xcb/composite.h>
#include <xcb/shape.h>

#include <algorithm>

namespace kasto::x11 {

namespace {

// Longer than a manager's fade; without one just what a client's unsent requests may take.
constexpr double kGhostWithManagerS = 1;
constexpr double kGhostS = 0.3;

// How long after a window has drawn it may show: with a manager, and without one as soon as the server gets
// round to it.
constexpr double kShownWithManagerS = 0.5;
constexpr double kShownS = 0.05;

// What clients take to draw what was covered.
constexpr double kSettlingS = 0.15;

}  // namespace

Result<std::unique_ptr<HiddenWindows>> HiddenWindows::open(const Connection& connection,
                                                           const OwnWindows& registry,
                                                           const PixelRect& area) {
    auto* c = connection.raw();
    const auto compositeEvent = connection.firstEventOf(xcb_composite_id, "Composite");
    const auto renderEvent = connection.firstEventOf(xcb_render_id, "RENDER");
    const auto shapeEvent = connection.firstEventOf(xcb_shape_id, "SHAPE");
    const auto xfixesEvent = connection.firstEventOf(xcb_xfixes_id, "XFIXES");
    const auto damageEvent = connection.firstEventOf(xcb_damage_id, "DAMAGE");
    for (const auto* event : {&compositeEvent, &renderEvent, &shapeEvent, &xfixesEvent, &damageEvent})
        if (!*event) return std::unexpected(event->error());
    const Reply<xcb_composite_query_version_reply_t> composite(
        xcb_composite_query_version_reply(c, xcb_composite_query_version(c, 0, 4), nullptr));
    const Reply<xcb_render_query_version_reply_t> render(
        xcb_render_query_version_reply(c, xcb_render_query_version(c, 0, 11), nullptr));
    return std::unique_ptr<HiddenWindows>(
        new HiddenWindows(connection, registry, area, *shapeEvent, *xfixesEvent, *damageEvent));
}

HiddenWindows::HiddenWindows(const Connection& connection, const OwnWindows& registry, const PixelRect& area,
                             std::uint8_t shapeEvent, std::uint8_t xfixesEvent, std::uint8_t damageEvent)
    : connection_(connection),
      registry_(registry),
      area_(area),
      shapeEvent_(shapeEvent),
      xfixesEvent_(xfixesEvent),
      damageEvent_(damageEvent),
      reader_(connection, area),
      contents_(connection) {
    xcb_xfixes_select_selection_input(connection.raw(), connection.root(), reader_.managerSelection(),
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
}

HiddenWindows::~HiddenWindows() = default;

std::uint32_t HiddenWindows::rootEvents() {
    return XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
}

void HiddenWindows::touch(const PixelRect& rootRect) {
    touched_.unite(PixelRect{rootRect.x - area_.x, rootRect.y - area_.y, rootRect.width, rootRect.height});
}

void HiddenWindows::noteConfigure(const xcb_configure_notify_event_t& event) {
    touchedIds_.insert(event.window);
    touch({event.x, event.y, event.width + 2 * event.border_width, event.height + 2 * event.border_width});
    // A window may have been in several places since the last look, and a manager may have shown it in each.
    for (const auto& place : tree_.own)
        if (place.topLevel == event.window)
            passed_.push_back(paintedAt(place).translate(event.x - area_.x - place.frameX,
                                                         event.y - area_.y - place.frameY));
}

Region HiddenWindows::paintedAt(const OwnPlace& place) const {
    const auto entry = registered_.find(place.id);
    if (entry == registered_.end()) return {};
    if (!entry->second) return place.shape;
    auto painted = Region(*entry->second).translate(place.x, place.y);
    // Without a manager nothing of a window is transparent.
    return tree_.hasCompositingManager ? painted : std::move(painted.unite(place.shape));
}

// What a window paints says more than its shape, which may change with every step of a moving line.
bool HiddenWindows::isShapeOfUse(std::uint32_t window) const {
    const auto entry = registered_.find(window);
    if (entry == registered_.end() || !entry->second) return true;
    return !tree_.hasCompositingManager && std::ranges::any_of(tree_.own, [&](const auto& place) {
        const auto painted = Region(*entry->second).translate(place.x, place.y);
        return place.id == window && !subtracted(place.shape, painted).isEmpty();
    });
}

void HiddenWindows::noteEvent(const xcb_generic_event_t& event) {
    if (!isRedirected_) return;  // the tree is read as a whole when a window is registered
    const int type = event.response_type & 0x7f;
    if (type == damageEvent_ + XCB_DAMAGE_NOTIFY) {
        contents_.noteEvent(reinterpret_cast<const xcb_damage_notify_event_t&>(event));
    } else if (type == shapeEvent_ + XCB_SHAPE_NOTIFY) {
        const auto& shape = reinterpret_cast<const xcb_shape_notify_event_t&>(event);
        treeChanged_ |= isShapeOfUse(shape.affected_window);
    } else if (type == xfixesEvent_ + XCB_XFIXES_SELECTION_NOTIFY) {
        treeChanged_ = true;
    } else if (type == XCB_PROPERTY_NOTIFY) {
        if (underlay_ &&
            underlay_->background().noteProperty(reinterpret_cast<const xcb_property_notify_event_t&>(event)))
            beneath_ = hidden_;
    } else if (type >= XCB_DESTROY_NOTIFY && type <= XCB_CIRCULATE_NOTIFY) {
        // All of them name the window in the same place.
        const auto window = reinterpret_cast<const xcb_unmap_notify_event_t&>(event).window;
        if (underlay_ && underlay_->background().isProbe(window)) return;
        if (type == XCB_CONFIGURE_NOTIFY) {
            noteConfigure(reinterpret_cast<const xcb_configure_notify_event_t&>(event));
        } else if (type == XCB_DESTROY_NOTIFY) {
            contents_.noteDestroyed(window);
            unredirected_.erase(window);
        } else if (type == XCB_MAP_NOTIFY) {
            for (const auto& place : tree_.own)
                if (place.topLevel == window || place.id == window) passed_.push_back(paintedAt(place));
        }
        touchedIds_.insert(window);
        treeChanged_ = true;
    }
}

bool HiddenWindows::refresh(double nowS) {
    if (registry_.generation() != generation_) readRegistry();
    if (!isRedirected_) {
        treeChanged_ = placesChanged_ = false;
        return false;
    }
    const bool moved = treeChanged_ || placesChanged_;
    if (std::exchange(treeChanged_, false)) {
        readTree(nowS);
        recent_.noteEverywhere(nowS, tree_.hasCompositingManager ? kGhostWithManagerS : kGhostS);
    }
    if (dropOldGhosts(nowS) || moved) placeHidden(nowS);
    return moved;
}

void HiddenWindows::readRegistry() {
    // What was painted for less than a tick may be on the screen later.
    const auto seen = std::exchange(generation_, registry_.generation());
    if (seen)
        for (const auto& window : registry_.replacedSince(*seen))
            for (const auto& place : tree_.own)
                if (place.id == window.nativeId && window.sharing == SharingType::none && window.paintedPx)
                    passed_.push_back(Region(*window.paintedPx).translate(place.x, place.y));
    std::map<std::uint32_t, std::optional<Region>> now;
    for (const auto& window : registry_.windows()) {
        if (window.sharing != SharingType::none) continue;
        auto& painted = now[static_cast<std::uint32_t>(window.nativeId)];
        if (window.paintedPx) painted = Region(*window.paintedPx);
    }
    const auto hasSameIds = std::ranges::equal(
        now, registered_, {}, [](const auto& entry) { return entry.first; },
        [](const auto& entry) { return entry.first; });
    registered_ = std::move(now);
    placesChanged_ = true;
    if (hasSameIds) return;
    treeChanged_ = true;
    for (const auto& [id, painted] : registered_) {
        const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(connection_.raw(), id, XCB_CW_EVENT_MASK, &events);
        xcb_shape_select_input(connection_.raw(), id, 1);
    }
    // While places may still show a former window they are composed, even if none is registered any more.
    redirect(!registered_.empty() || !hidden_.isEmpty());
}

void HiddenWindows::redirect(bool wanted) {
    if (wanted == isRedirected_) return;
    isRedirected_ = wanted;
    auto* c = connection_.raw();
    if (wanted) {
        xcb_composite_redirect_subwindows(c, connection_.root(), XCB_COMPOSITE_REDIRECT_AUTOMATIC);
        underlay_.emplace(connection_, area_);
        tree_ = {};
        settledS_ = 0;
    } else {
        contents_.watch({});
        underlay_.reset();
        unredirected_.clear();
        xcb_composite_unredirect_subwindows(c, connection_.root(), XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    }
}

void HiddenWindows::readTree(double nowS) {
    std::vector<std::uint32_t> own;
    for (const auto& [id, painted] : registered_) own.push_back(id);
    const bool isFirst = settledS_ == 0;
    auto now = reader_.read(own);
    const bool isVisible = std::ranges::any_of(now.own, &OwnPlace::isViewable);
    if (isFirst) settledS_ = nowS + (isVisible && !now.hasCompositingManager ? kSettlingS : 0);
    // Without a manager a redirected window's drawing is reported by its bounding box: an outline would
    // report all it surrounds.
    for (const auto& place : now.own)
        if (!now.hasCompositingManager && place.isViewable && place.topLevel == place.id &&
            unredirected_.insert(place.id).second)
            xcb_composite_unredirect_window(connection_.raw(), place.id, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    if (!now.hasCompositingManager) touchMoved(tree_, now);
    if (now.hasCompositingManager) touched_ = {};
    touchedIds_.clear();
    tree_ = std::move(now);
    beneath_ = Region({0, 0, area_.width, area_.height});  // of which the hidden part is taken
}

// A software cursor makes the server lose damage of windows that move beneath it.
void HiddenWindows::touchMoved(const WindowTree& before, const WindowTree& after) {
    for (const auto* tree : {&before, &after})
        for (const auto& top : tree->topLevels)
            if (touchedIds_.contains(top.id)) touched_.unite(top.outer);
}

bool HiddenWindows::dropOldGhosts(double nowS) {
    return std::erase_if(ghosts_, [&](const Ghost& ghost) { return ghost.untilS <= nowS; }) > 0;
}

void HiddenWindows::placeHidden(double nowS) {
    placesChanged_ = false;
    const double untilS = nowS + (tree_.hasCompositingManager ? kGhostWithManagerS : kGhostS);
    Region live;
    for (const auto& place : tree_.own)
        if (place.isViewable) live.unite(paintedAt(place));
    const PixelRect whole{0, 0, area_.width, area_.height};
    live.intersect(whole);
    passed_.push_back(subtracted(live_, live));
    for (auto& passed : std::exchange(passed_, {}))
        if (!passed.intersect(whole).isEmpty()) ghosts_.push_back({std::move(passed), untilS});
    live_ = std::move(live);

    auto hidden = live_;
    for (const auto& ghost : ghosts_) hidden.unite(ghost.area);
    exposed_.unite(subtracted(hidden_, hidden));
    beneath_.unite(subtracted(hidden, hidden_));
    hidden_ = std::move(hidden);
    if (hidden_.isEmpty() && registered_.empty()) {
        redirect(false);
        return;
    }
    watchContents();
}

void HiddenWindows::watchContents() {
    shown_ = tree_.topLevels;
    for (auto& top : shown_)
        for (const auto& place : tree_.own)
            if (place.isViewable && place.topLevel == top.id) top.area.subtract(place.shape);
    std::vector<const TopLevel*> others;
    for (const auto& top : shown_) {
        if (!hidden_.isEmpty()) others.push_back(&top);
        if (!intersected(hidden_, top.area).isEmpty()) xcb_shape_select_input(connection_.raw(), top.id, 1);
    }
    contents_.watch(others);
}

bool HiddenWindows::hasWork() const {
    return contents_.isAny() || !exposed_.isEmpty() || !touched_.isEmpty() ||
           !intersected(beneath_, hidden_).isEmpty();
}

Region HiddenWindows::takeExposed() {
    return std::move(std::exchange(exposed_, {}).unite(std::exchange(touched_, {})));
}

void HiddenWindows::takeDrawn(double nowS) {
    auto drawn = contents_.take(tree_.topLevels);
    recent_.note(drawn, nowS, tree_.hasCompositingManager ? kShownWithManagerS : kShownS);
    beneath_.unite(drawn.intersect(hidden_));
}

Region HiddenWindows::takeBeneath(double nowS) {
    takeDrawn(nowS);
    return std::move(std::exchange(beneath_, {}).intersect(hidden_));
}

Region HiddenWindows::causedByOthers(const Region& damaged, double nowS) {
    if (hidden_.isEmpty()) return damaged;
    takeDrawn(nowS);
    return recent_.explains(damaged, nowS);
}

bool HiddenWindows::mayOthersShow(double nowS) const {
    return hidden_.isEmpty() || contents_.isAny() || recent_.isAny(nowS);
}

void HiddenWindows::noteUnexplained(const Region& changed, double nowS) {
    recent_.noteEverywhere(nowS, kGhostWithManagerS);
    noteScreenDamage(changed);
}

void HiddenWindows::noteScreenDamage(const Region& damaged) {
    if (!underlay_ || tree_.hasCompositingManager || hidden_.isEmpty()) return;
    Region bare = damaged;
    bare.subtract(touched_).subtract(hidden_);
    for (const auto& top : tree_.topLevels) bare.subtract(top.area);
    if (bare.isEmpty()) return;
    underlay_->background().invalidate();
    beneath_ = hidden_;
}

std::uint32_t HiddenWindows::compose(const Region& part) {
    underlay_->compose(part, shown_, tree_.hasCompositingManager);
    return underlay_->pixmap();
}

}  // namespace kasto::x11
