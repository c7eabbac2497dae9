#include "linux/x11/exclusion/WindowExclusion.h"

#include <xcb/composite.h>
#include <xcb/shape.h>

#include <algorithm>
#include <utility>

namespace kasto::x11 {

namespace {

// How long other clients may take to draw what was covered before the redirection kept it.
constexpr double kRedrawS = 0.15;

}  // namespace

Result<std::unique_ptr<WindowExclusion>> WindowExclusion::open(const Connection& connection,
                                                               const OwnWindows* registry,
                                                               const PixelRect& area, Region excludedBefore) {
    const auto events = registry ? askForExtensions(connection) : ExtensionEvents{};
    if (!events) return std::unexpected(events.error());
    std::unique_ptr<WindowExclusion> made(new WindowExclusion(connection, registry, area, *events));
    if (registry && !excludedBefore.isEmpty()) {
        made->redirect(true);
        made->treeChanged_ = true;
        made->excluded_.noteLeft(std::move(excludedBefore));
    }
    return made;
}

Result<WindowExclusion::ExtensionEvents> WindowExclusion::askForExtensions(const Connection& connection) {
    auto* c = connection.raw();
    const auto compositeEvent = connection.firstEventOf(xcb_composite_id, "Composite");
    const auto renderEvent = connection.firstEventOf(xcb_render_id, "RENDER");
    const auto shapeEvent = connection.firstEventOf(xcb_shape_id, "SHAPE");
    const auto xfixesEvent = connection.firstEventOf(xcb_xfixes_id, "XFIXES");
    const auto damageEvent = connection.firstEventOf(xcb_damage_id, "DAMAGE");
    for (const auto* event : {&compositeEvent, &renderEvent, &shapeEvent, &xfixesEvent, &damageEvent})
        if (!*event) return std::unexpected(event->error());
    // Servers refuse requests of these extensions to clients that did not tell their version.
    const Reply<xcb_composite_query_version_reply_t> composite(
        xcb_composite_query_version_reply(c, xcb_composite_query_version(c, 0, 4), nullptr));
    const Reply<xcb_render_query_version_reply_t> render(
        xcb_render_query_version_reply(c, xcb_render_query_version(c, 0, 11), nullptr));
    return ExtensionEvents{.shape = *shapeEvent, .xfixes = *xfixesEvent, .damage = *damageEvent};
}

WindowExclusion::WindowExclusion(const Connection& connection, const OwnWindows* registry,
                                 const PixelRect& area, ExtensionEvents firstEvents)
    : connection_(connection),
      registry_(registry),
      area_(area),
      firstEvents_(firstEvents),
      treeReader_(connection, area),
      excluded_(area),
      damageOrigin_(connection),
      exposed_(bounds()) {
    if (!registry) return;
    xcb_xfixes_select_selection_input(connection.raw(), connection.root(), treeReader_.managerSelection(),
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
}

std::uint32_t WindowExclusion::rootEvents() {
    return XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
}

void WindowExclusion::noteEvent(const xcb_generic_event_t& event) {
    // Before the redirection nothing is known that could change: the whole tree is read when it begins.
    if (!underlay_) return;
    const int type = event.response_type & 0x7f;
    if (type == firstEvents_.damage + XCB_DAMAGE_NOTIFY) {
        damageOrigin_.drawing().noteEvent(reinterpret_cast<const xcb_damage_notify_event_t&>(event));
    } else if (type == firstEvents_.shape + XCB_SHAPE_NOTIFY) {
        const auto& shape = reinterpret_cast<const xcb_shape_notify_event_t&>(event);
        treeChanged_ |= excluded_.dependsOnShapeOf(shape.affected_window);
    } else if (type == firstEvents_.xfixes + XCB_XFIXES_SELECTION_NOTIFY) {
        treeChanged_ = true;
    } else if (type == XCB_PROPERTY_NOTIFY) {
        const auto& property = reinterpret_cast<const xcb_property_notify_event_t&>(event);
        if (underlay_->background().noteProperty(property)) staleUnderlay_ = Region(bounds());
    } else if (type >= XCB_DESTROY_NOTIFY && type <= XCB_CIRCULATE_NOTIFY) {
        noteStructure(type, event);
    }
}

void WindowExclusion::noteStructure(int type, const xcb_generic_event_t& event) {
    // All events of this range name the window in the same place.
    const auto window = reinterpret_cast<const xcb_unmap_notify_event_t&>(event).window;
    if (underlay_->background().isProbe(window)) return;
    if (type == XCB_CONFIGURE_NOTIFY) {
        const auto& now = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
        const PixelRect outer{now.x - area_.x, now.y - area_.y, now.width + 2 * now.border_width,
                              now.height + 2 * now.border_width};
        if (excluded_.isPlacedAt(window, outer)) return;
        movedWindows_.notePlace(outer);
        excluded_.noteConfigured(window, outer);
    } else if (type == XCB_DESTROY_NOTIFY) {
        damageOrigin_.drawing().noteDestroyed(window);
        underlay_->noteDestroyed(window);
    } else if (type == XCB_MAP_NOTIFY) {
        excluded_.noteMapped(window);
    }
    movedWindows_.note(window);
    treeChanged_ = true;
}

TickState WindowExclusion::beginTick(double nowS, bool isRootDamaged) {
    refresh(nowS);
    if (readyS_ && nowS < *readyS_) return TickState::blocked;
    const bool isAnyExcluded = !excluded().isEmpty();
    const bool isDue = (isRootDamaged && damageOrigin_.isWorthFetching(isAnyExcluded, nowS)) ||
                       damageOrigin_.isCheckDue(nowS) || damageOrigin_.drawing().isAny() ||
                       !exposed_.isEmpty() || !movedWindows_.places().isEmpty() ||
                       !intersected(staleUnderlay_, excluded()).isEmpty();
    return isDue ? TickState::due : TickState::idle;
}

// True if a window has moved or paints elsewhere since the last call.
bool WindowExclusion::refresh(double nowS) {
    readRegistry(nowS);
    if (!underlay_) return false;
    treeChanged_ |= excluded_.forgetFormer(nowS);
    const bool hasMoved = treeChanged_ || registryChanged_;
    registryChanged_ = false;
    if (std::exchange(treeChanged_, false)) {
        readTree(nowS);
        damageOrigin_.noteStructureChange(nowS, hasCompositingManager_);
    }
    updateExcluded(nowS, hasMoved);
    return hasMoved;
}

void WindowExclusion::readRegistry(double nowS) {
    if (!registry_ || registry_->generation() == generation_) return;
    const auto seen = std::exchange(generation_, registry_->generation());
    const auto replaced = seen ? registry_->replacedSince(*seen) : std::vector<OwnWindow>();
    registryChanged_ = true;
    if (!excluded_.setWindows(registry_->windows(), replaced, nowS)) return;
    treeChanged_ = true;
    for (const auto id : excluded_.windows()) {
        const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(connection_.raw(), id, XCB_CW_EVENT_MASK, &events);
        xcb_shape_select_input(connection_.raw(), id, 1);
    }
    // Tails need the underlay even if no window is registered any more.
    redirect(excluded_.hasWindows() || !excluded().isEmpty());
}

void WindowExclusion::redirect(bool wanted) {
    if (wanted == underlay_.has_value()) return;
    if (wanted) {
        underlay_.emplace(connection_, area_);
        others_.clear();
        excluded_.setPlaces({}, false);
        readyS_.reset();
    } else {
        damageOrigin_.drawing().watch({});
        underlay_.reset();
    }
}

void WindowExclusion::readTree(double nowS) {
    auto tree = treeReader_.read(excluded_.windows());
    hasCompositingManager_ = tree.hasCompositingManager;
    const bool isVisible = std::ranges::any_of(tree.own, &OwnPlace::isViewable);
    if (!readyS_) readyS_ = nowS + (isVisible && !hasCompositingManager_ ? kRedrawS : 0);
    // Without a compositing manager the drawing of a redirected window is reported by its bounding box: an
    // outline would report all it surrounds.
    for (const auto& place : tree.own)
        if (!hasCompositingManager_ && place.isViewable && place.topLevel == place.id)
            underlay_->leaveUnredirected(place.id);
    for (const auto& place : tree.own)
        if (place.isFramed) xcb_shape_select_input(connection_.raw(), place.topLevel, 1);
    movedWindows_.update(others_, tree.others, hasCompositingManager_);
    others_ = std::move(tree.others);
    excluded_.setPlaces(std::move(tree.own), hasCompositingManager_);
    staleUnderlay_ = Region(bounds());
}

void WindowExclusion::updateExcluded(double nowS, bool hasMoved) {
    const auto change = excluded_.update(nowS, hasMoved);
    if (!change) return;
    exposed_.unite(change->left);
    staleUnderlay_.unite(change->entered);
    if (excluded().isEmpty() && !excluded_.hasWindows()) {
        redirect(false);
    } else {
        watchOthers();
    }
}

void WindowExclusion::watchOthers() {
    std::vector<const TopLevel*> watched;
    for (const auto& top : others_) {
        if (!excluded().isEmpty()) watched.push_back(&top);
        if (!intersected(excluded(), top.area).isEmpty())
            xcb_shape_select_input(connection_.raw(), top.id, 1);
    }
    damageOrigin_.drawing().watch(watched);
}

PixelSources WindowExclusion::plan(const Region& rootDamage, bool isPictureNeeded, double nowS) {
    takeDrawing(nowS);
    const auto foreign = damageOrigin_.foreignPart(rootDamage, excluded(), nowS);
    checkBackground(foreign);
    Region screen = std::exchange(exposed_, {});
    screen.unite(foreign).unite(movedWindows_.take()).intersect(bounds()).subtract(excluded());
    planned_ = {.screen = std::move(screen), .underlay = takeUnderlay(nowS), .comparesOnly = false};
    planned_.comparesOnly = planned_.screen.isEmpty() && !isPictureNeeded;
    planned_.screen.unite(damageOrigin_.takeDueOwnDamage(nowS));
    plannedS_ = nowS;
    return planned_;
}

void WindowExclusion::takeDrawing(double nowS) {
    auto drawn = damageOrigin_.takeDrawing(others_, nowS, hasCompositingManager_);
    staleUnderlay_.unite(drawn.intersect(excluded()));
}

// Root damage where no window is means that the root window's background was changed.
void WindowExclusion::checkBackground(const Region& foreignDamage) {
    if (!underlay_ || hasCompositingManager_ || excluded().isEmpty()) return;
    auto bare = subtracted(foreignDamage, movedWindows_.places()).subtract(excluded());
    for (const auto& top : others_) bare.subtract(top.area);
    if (bare.isEmpty()) return;
    underlay_->background().invalidate();
    staleUnderlay_ = Region(bounds());
}

// The part of the underlay that is out of date. Starts composing it.
Region WindowExclusion::takeUnderlay(double nowS) {
    takeDrawing(nowS);
    auto stale = std::move(std::exchange(staleUnderlay_, {}).intersect(excluded()));
    if (!stale.isEmpty()) underlay_->compose(stale, others_, hasCompositingManager_);
    return stale;
}

std::optional<Region> WindowExclusion::recompose(double nowS) {
    if (!refresh(nowS)) return std::nullopt;
    auto composed = takeUnderlay(nowS);
    planned_.underlay.unite(composed);
    return composed;
}

void WindowExclusion::endTick(TickEnd end) {
    const auto planned = std::exchange(planned_, {});
    if (end == TickEnd::failed) {
        exposed_.unite(planned.screen);
        staleUnderlay_.unite(planned.underlay);
    } else if (end == TickEnd::published && planned.comparesOnly && !planned.screen.isEmpty()) {
        damageOrigin_.noteUnaccounted(plannedS_);
        checkBackground(planned.screen);
    }
}

}  // namespace kasto::x11
