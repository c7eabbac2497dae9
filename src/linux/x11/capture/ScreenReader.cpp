#include "linux/x11/capture/ScreenReader.h"

#include "base/MediaClock.h"
#include "linux/x11/server/Monitors.h"

#include <algorithm>

namespace kasto::x11 {

Result<std::unique_ptr<ScreenReader>> ScreenReader::open(const ReadSettings& settings) {
    auto connection = Connection::open(settings.serverName);
    if (!connection) return std::unexpected(connection.error());
    std::unique_ptr<ScreenReader> reader(new ScreenReader(settings, std::move(*connection)));
    if (auto begun = reader->begin(); !begun) return std::unexpected(begun.error());
    return reader;
}

ScreenReader::ScreenReader(const ReadSettings& settings, Connection connection)
    : settings_(settings),
      connection_(std::move(connection)),
      pictures_(connection_, settings.capturePx.width, settings.capturePx.height, settings.pictureLimit),
      images_(connection_, settings.readMethod) {}

Result<void> ScreenReader::begin() {
    if (!connection_.hasBgrxPixels()) return failure("the X server's pixel format cannot be recorded");
    if (auto asked = askForExtensions(); !asked) return asked;
    auto* c = connection_.raw();
    const std::uint32_t mask =
        XCB_EVENT_MASK_STRUCTURE_NOTIFY | (settings_.excludedWindows ? WindowExclusion::rootEvents() : 0);
    xcb_change_window_attributes(c, connection_.root(), XCB_CW_EVENT_MASK, &mask);
    rootDamage_ = {connection_, xcb_generate_id(c)};
    xcb_damage_create(c, rootDamage_.id(), connection_.root(), XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
    damagedRegion_ = {connection_, xcb_generate_id(c)};
    xcb_xfixes_create_region(c, damagedRegion_.id(), 0, nullptr);
    if (settings_.showsCursor) cursor_ = std::make_unique<CursorLayer>(connection_, settings_.capturePx);
    auto excludedBefore =
        Region(settings_.excludedBefore).translate(-settings_.capturePx.x, -settings_.capturePx.y);
    auto exclusion = WindowExclusion::open(connection_, settings_.excludedWindows, settings_.capturePx,
                                           std::move(excludedBefore));
    if (!exclusion) return std::unexpected(exclusion.error());
    exclusion_ = std::move(*exclusion);
    // The display may have changed between the choice of it and the selection of its events.
    return checkDisplay();
}

Result<void> ScreenReader::askForExtensions() {
    auto* c = connection_.raw();
    const auto shmEvent = connection_.firstEventOf(xcb_shm_id, "MIT-SHM");
    const auto damageEvent = connection_.firstEventOf(xcb_damage_id, "DAMAGE");
    const auto xfixesEvent = connection_.firstEventOf(xcb_xfixes_id, "XFIXES");
    const auto randrEvent = selectMonitorEvents(connection_);
    for (const auto* event : {&shmEvent, &damageEvent, &xfixesEvent, &randrEvent})
        if (!*event) return std::unexpected(event->error());
    damageEvent_ = *damageEvent;
    xfixesEvent_ = *xfixesEvent;
    randrEvent_ = *randrEvent;
    // Servers refuse requests of these extensions to clients that did not tell their version.
    const Reply<xcb_xfixes_query_version_reply_t> xfixes(
        xcb_xfixes_query_version_reply(c, xcb_xfixes_query_version(c, 5, 0), nullptr));
    const Reply<xcb_damage_query_version_reply_t> damage(
        xcb_damage_query_version_reply(c, xcb_damage_query_version(c, 1, 1), nullptr));
    return {};
}

Result<void> ScreenReader::takeEvents() {
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_.raw())}) {
        const int type = event->response_type & 0x7f;
        exclusion_->noteEvent(*event);
        if (type == damageEvent_ + XCB_DAMAGE_NOTIFY) {
            const auto* damage = reinterpret_cast<const xcb_damage_notify_event_t*>(event.get());
            isRootDamaged_ |= damage->damage == rootDamage_.id();
        } else if (type == xfixesEvent_ + XCB_XFIXES_CURSOR_NOTIFY && cursor_) {
            cursor_->noteEvent(*reinterpret_cast<const xcb_xfixes_cursor_notify_event_t*>(event.get()));
        } else if (type == randrEvent_ || type == randrEvent_ + 1) {
            layoutChanged_ = true;
        } else if (type == XCB_CONFIGURE_NOTIFY) {
            const auto* configure = reinterpret_cast<const xcb_configure_notify_event_t*>(event.get());
            layoutChanged_ |= configure->window == connection_.root();
        }
    }
    if (connection_.isLost()) return failure("lost the connection to the X server");
    return std::exchange(layoutChanged_, false) ? checkDisplay() : Result<void>{};
}

Result<void> ScreenReader::checkDisplay() {
    const auto now = findDisplay();
    if (!now) return std::unexpected(now.error());
    isOutdated_ = *now != settings_.displayPx;
    return {};
}

Result<std::optional<PixelRect>> ScreenReader::findDisplay() const {
    const auto monitors = readMonitors(connection_);
    if (connection_.isLost()) return failure("lost the connection to the X server");
    const auto ours = std::ranges::find(monitors, settings_.display, &Monitor::id);
    if (ours == monitors.end()) return std::nullopt;
    return ours->boundsPx;
}

Region ScreenReader::excludedInRoot() const {
    return Region(exclusion_->excluded()).translate(settings_.capturePx.x, settings_.capturePx.y);
}

Result<std::optional<ScreenPicture>> ScreenReader::readPicture() {
    if (auto taken = takeEvents(); !taken) return std::unexpected(taken.error());
    if (isOutdated_) return std::nullopt;
    const double nowS = mediaClockNow();
    const auto state = exclusion_->beginTick(nowS, isRootDamaged_);
    if (state == TickState::blocked) return std::nullopt;
    const bool cursorMoves = cursor_ && cursor_->update();
    if (state == TickState::idle && !cursorMoves) return std::nullopt;
    const auto target = pictures_.takeFree();
    if (!target) return std::unexpected(target.error());
    if (!*target) return std::nullopt;
    return readInto(**target, cursorMoves, nowS);
}

Region ScreenReader::takeDamage() {
    if (!std::exchange(isRootDamaged_, false)) return {};
    auto* c = connection_.raw();
    xcb_damage_subtract(c, rootDamage_.id(), XCB_NONE, damagedRegion_.id());
    const Reply<xcb_xfixes_fetch_region_reply_t> reply(
        xcb_xfixes_fetch_region_reply(c, xcb_xfixes_fetch_region(c, damagedRegion_.id()), nullptr));
    Region reported = toRegion(reply.get());
    return std::move(
        reported.translate(-settings_.capturePx.x, -settings_.capturePx.y).intersect(pictures_.area()));
}

Result<std::optional<ScreenPicture>> ScreenReader::readInto(Picture& target, bool cursorMoves, double nowS) {
    auto sources = exclusion_->plan(takeDamage(), cursorMoves, nowS);
    if (sources.comparesOnly && sources.screen.isEmpty() && sources.underlay.isEmpty()) return std::nullopt;

    const auto whole = read(sources, target);
    if (!whole) return std::unexpected(whole.error());
    const auto isStill = recompose(sources.underlay, target);
    if (!isStill) return std::unexpected(isStill.error());
    if (!*isStill || !refused_.isEmpty()) {
        drop(target, TickEnd::failed);
        return std::nullopt;
    }
    const auto wasRead = united(*whole, sources.underlay);
    if (sources.comparesOnly && pictures_.showsNewest(wasRead, patch(), target)) {
        drop(target, TickEnd::unchanged);
        return std::nullopt;
    }
    exclusion_->endTick(TickEnd::published);
    // All that was read may have changed, also where no damage was reported.
    const Region changed = united(wasRead, cursor_ ? cursor_->changedArea() : Region());
    if (cursor_) cursor_->paint(pictures_, target);
    return ScreenPicture{pictures_.publish(target, changed), changed.rects(), nowS, {}};
}

// Reads the sources, and copies the rest of the picture from the newest one. Returns what was read from the
// root window, which may be more than asked for.
Result<Region> ScreenReader::read(const PixelSources& sources, Picture& target) {
    const auto& capture = settings_.capturePx;
    auto whole = images_.request(connection_.root(), capture.x, capture.y, sources.screen, pictures_, target);
    if (!whole) return whole;
    if (auto asked = requestUnderlay(sources.underlay, target); !asked) return std::unexpected(asked.error());
    // Copied while the server reads, and without the cursor that is painted on the newest picture.
    const auto rest = united(target.stale, Region(patch().box)).subtract(*whole).subtract(sources.underlay);
    pictures_.copyNewest(rest, patch(), target);
    refused_ = images_.finish();
    // What was read beyond the source may show own windows.
    pictures_.copyNewest(intersected(*whole, exclusion_->excluded()).subtract(sources.underlay), patch(),
                         target);
    return whole;
}

Result<void> ScreenReader::requestUnderlay(const Region& part, Picture& target) {
    if (part.isEmpty()) return {};
    return images_.requestExactly(exclusion_->underlayPixmap(), part, pictures_, target);
}

// Reads the underlay again until no window has moved since, and adds to `underlay` what was read. False if
// windows go on moving, or if the display has changed.
Result<bool> ScreenReader::recompose(Region& underlay, Picture& target) {
    constexpr int kMaxAttempts = 5;
    for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
        if (auto taken = takeEvents(); !taken) return std::unexpected(taken.error());
        if (isOutdated_) return false;
        const auto composed = exclusion_->recompose(mediaClockNow());
        if (!composed) return true;
        if (auto asked = requestUnderlay(*composed, target); !asked) return std::unexpected(asked.error());
        refused_.unite(images_.finish());
        underlay.unite(*composed);
    }
    return false;
}

// Nothing is published. The target shows the newest picture if the pixels were the same.
void ScreenReader::drop(Picture& target, TickEnd end) {
    target.stale = end == TickEnd::unchanged ? Region(patch().box) : Region(pictures_.area());
    exclusion_->endTick(end);
}

const Patch& ScreenReader::patch() const {
    static const Patch kNone;
    return cursor_ ? cursor_->patch() : kNone;
}

}  // namespace kasto::x11
