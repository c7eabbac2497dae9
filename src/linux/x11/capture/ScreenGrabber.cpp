#include "linux/x11/capture/ScreenGrabber.h"

#include "base/MediaClock.h"
#include "linux/x11/server/Monitors.h"

#include <algorithm>

namespace kasto::x11 {

Result<std::unique_ptr<ScreenGrabber>> ScreenGrabber::open(const GrabSettings& settings) {
    auto connection = Connection::open(settings.serverName);
    if (!connection) return std::unexpected(connection.error());
    std::unique_ptr<ScreenGrabber> grabber(new ScreenGrabber(settings, std::move(*connection)));
    if (auto begun = grabber->begin(); !begun) return std::unexpected(begun.error());
    return grabber;
}

ScreenGrabber::ScreenGrabber(const GrabSettings& settings, Connection connection)
    : settings_(settings),
      connection_(std::move(connection)),
      pictures_(connection_, settings.capturePx.width, settings.capturePx.height, settings.pictureLimit),
      reader_(connection_, settings.readWay),
      dirty_(pictures_.area()) {}

Result<void> ScreenGrabber::begin() {
    auto* c = connection_.raw();
    if (!connection_.hasBgrxPixels()) return failure("the X server's pixel format cannot be recorded");
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

    const std::uint32_t mask =
        XCB_EVENT_MASK_STRUCTURE_NOTIFY | (settings_.hiddenWindows ? HiddenWindows::rootEvents() : 0);
    xcb_change_window_attributes(c, connection_.root(), XCB_CW_EVENT_MASK, &mask);
    rootDamage_ = {connection_, xcb_generate_id(c)};
    xcb_damage_create(c, rootDamage_.id(), connection_.root(), XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
    damagedRegion_ = {connection_, xcb_generate_id(c)};
    xcb_xfixes_create_region(c, damagedRegion_.id(), 0, nullptr);
    if (settings_.showsCursor) cursor_ = std::make_unique<CursorLayer>(connection_, settings_.capturePx);
    if (settings_.hiddenWindows) {
        auto hidden = HiddenWindows::open(connection_, *settings_.hiddenWindows, settings_.capturePx);
        if (!hidden) return std::unexpected(hidden.error());
        hidden_ = std::move(*hidden);
    }
    // The display may have changed between the choice of it and our selecting its events.
    return checkDisplay();
}

Result<void> ScreenGrabber::takeEvents() {
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_.raw())}) {
        const int type = event->response_type & 0x7f;
        if (hidden_) hidden_->noteEvent(*event);
        if (type == damageEvent_ + XCB_DAMAGE_NOTIFY) {
            const auto* damage = reinterpret_cast<const xcb_damage_notify_event_t*>(event.get());
            rootDamaged_ |= damage->damage == rootDamage_.id();
        } else if (type == xfixesEvent_ + XCB_XFIXES_CURSOR_NOTIFY && cursor_) {
            cursor_->noteEvent(*reinterpret_cast<const xcb_xfixes_cursor_notify_event_t*>(event.get()));
        } else if (type == randrEvent_ || type == randrEvent_ + 1) {
            displayChanged_ = true;
        } else if (type == XCB_CONFIGURE_NOTIFY) {
            const auto* configure = reinterpret_cast<const xcb_configure_notify_event_t*>(event.get());
            displayChanged_ |= configure->window == connection_.root();
        }
    }
    if (connection_.isLost()) return failure("lost the connection to the X server");
    return std::exchange(displayChanged_, false) ? checkDisplay() : Result<void>{};
}

Result<void> ScreenGrabber::checkDisplay() const {
    const auto monitors = readMonitors(connection_);
    if (connection_.isLost()) return failure("lost the connection to the X server");
    const auto ours = std::ranges::find(monitors, settings_.display, &Monitor::id);
    if (ours == monitors.end()) return failure("the display is gone");
    const auto& now = ours->boundsPx;
    if (now.width != settings_.displayPx.width || now.height != settings_.displayPx.height)
        return failure("the display changed its resolution");
    if (now != settings_.displayPx) return failure("the display was moved");
    return {};
}

Result<std::optional<GrabbedPicture>> ScreenGrabber::grab() {
    if (auto taken = takeEvents(); !taken) return std::unexpected(taken.error());
    const double nowS = mediaClockNow();
    if (hidden_) {
        hidden_->refresh(nowS);
        if (!hidden_->isSettled(nowS)) return std::nullopt;
    }
    const bool cursorMoves = cursor_ && cursor_->update();
    const bool hiddenChanged = hidden_ && hidden_->hasWork();
    // Damage of hidden windows alone waits in the server.
    const bool isDamaged =
        rootDamaged_ && (!hidden_ || hidden_->mayOthersShow(nowS) || nowS >= checksDoubtedS_);
    const bool hasDoubts = !doubted_.isEmpty() && nowS >= checksDoubtedS_;
    if (!isDamaged && !hasDoubts && dirty_.isEmpty() && !cursorMoves && !hiddenChanged) return std::nullopt;
    const auto target = pictures_.takeFree();
    if (!target) return std::unexpected(target.error());
    if (!*target) return std::nullopt;
    return take(**target);
}

Region ScreenGrabber::takeDamage() {
    if (!std::exchange(rootDamaged_, false)) return {};
    auto* c = connection_.raw();
    xcb_damage_subtract(c, rootDamage_.id(), XCB_NONE, damagedRegion_.id());
    const Reply<xcb_xfixes_fetch_region_reply_t> reply(
        xcb_xfixes_fetch_region_reply(c, xcb_xfixes_fetch_region(c, damagedRegion_.id()), nullptr));
    Region reported = toRegion(reply.get());
    return std::move(
        reported.translate(-settings_.capturePx.x, -settings_.capturePx.y).intersect(pictures_.area()));
}

// What is to be read from the screen because it changed; what else was reported stays in doubt.
Region ScreenGrabber::takeChanged(double nowS) {
    auto changed = std::exchange(dirty_, {});
    auto damaged = united(takeDamage(), doubted_);
    if (!hidden_) return std::move(changed.unite(damaged));
    const auto caused = hidden_->causedByOthers(damaged, nowS);
    doubted_ = subtracted(damaged.subtract(hidden_->hidden()), caused);
    hidden_->noteScreenDamage(changed.unite(caused));
    return std::move(
        changed.unite(hidden_->takeExposed()).intersect(pictures_.area()).subtract(hidden_->hidden()));
}

Result<std::optional<GrabbedPicture>> ScreenGrabber::take(Picture& target) {
    constexpr double kDoubtS = 0.5;
    const double timeS = mediaClockNow();
    auto wanted = takeChanged(timeS);
    Region beneath = hidden_ ? hidden_->takeBeneath(timeS) : Region();
    const Region cursorArea = cursor_ ? cursor_->changedArea() : Region();
    const bool isDoubtful = wanted.isEmpty() && cursorArea.isEmpty();
    if (timeS >= checksDoubtedS_) {
        wanted.unite(std::exchange(doubted_, {}));
        checksDoubtedS_ = timeS + kDoubtS;
    }
    if (isDoubtful && wanted.isEmpty() && beneath.isEmpty()) return std::nullopt;

    const auto whole = read(wanted, beneath, target);
    if (!whole) return std::unexpected(whole.error());
    const auto settled = settle(beneath, target);
    if (!settled) return std::unexpected(settled.error());
    if (!*settled || !refused_.isEmpty()) return giveUp(*whole, beneath, target);
    if (isDoubtful && pictures_.showsNewest(united(*whole, beneath), patch(), target)) {
        target.stale = Region(patch().box);
        return std::nullopt;
    }
    if (isDoubtful && hidden_ && !whole->isEmpty()) hidden_->noteUnexplained(*whole, timeS);

    // Also what was read beyond the damage may have changed meanwhile.
    const Region changed = united(united(*whole, beneath), cursorArea);
    if (cursor_) cursor_->paint(pictures_, target);
    return GrabbedPicture{pictures_.publish(target, changed), changed.rects(), timeS};
}

Result<Region> ScreenGrabber::read(const Region& wanted, const Region& beneath, Picture& target) {
    const auto& capture = settings_.capturePx;
    auto whole = reader_.request(connection_.root(), capture.x, capture.y, wanted, pictures_, target);
    if (!whole) return whole;
    if (!beneath.isEmpty()) {
        const auto pixmap = hidden_->compose(beneath);
        if (auto asked = reader_.requestExactly(pixmap, beneath, pictures_, target); !asked)
            return std::unexpected(asked.error());
    }
    // While the server reads: all that is not read comes from the newest picture, without its cursor.
    pictures_.copyNewest(united(target.stale, Region(patch().box)).subtract(*whole).subtract(beneath),
                         patch(), target);
    refused_ = reader_.finish();
    // Reads may be larger than what was asked for and show windows that are to be hidden.
    if (hidden_)
        pictures_.copyNewest(intersected(*whole, hidden_->hidden()).subtract(beneath), patch(), target);
    return whole;
}

// A window that appeared or moved before the server read the pixels is in them, but then its event has come
// with them: true once nothing has moved since. Until then the hidden places are composed again.
Result<bool> ScreenGrabber::settle(Region& beneath, Picture& target) {
    constexpr int kMostLooks = 5;
    if (!hidden_) return true;
    for (int look = 0; look < kMostLooks; ++look) {
        if (auto taken = takeEvents(); !taken) return std::unexpected(taken.error());
        if (!hidden_->refresh(mediaClockNow())) return true;
        const auto again = hidden_->takeBeneath(mediaClockNow());
        if (again.isEmpty()) continue;
        const auto pixmap = hidden_->compose(again);
        if (auto asked = reader_.requestExactly(pixmap, again, pictures_, target); !asked)
            return std::unexpected(asked.error());
        refused_.unite(reader_.finish());
        beneath.unite(again);
    }
    return false;
}

// Nothing is published; what was taken is taken again by the next grab.
std::optional<GrabbedPicture> ScreenGrabber::giveUp(const Region& read, const Region& beneath,
                                                    Picture& target) {
    dirty_.unite(read);
    if (hidden_) hidden_->giveBackBeneath(beneath);
    target.stale = Region(pictures_.area());
    return std::nullopt;
}

const Patch& ScreenGrabber::patch() const {
    static const Patch kNone;
    return cursor_ ? cursor_->patch() : kNone;
}

}  // namespace kasto::x11
