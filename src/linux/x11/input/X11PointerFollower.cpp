#include "linux/x11/input/X11PointerFollower.h"

#include "base/MediaClock.h"
#include "linux/x11/input/Xkb.h"

#include <poll.h>
#include <xcb/xcbext.h>
#include <xcb/xinput.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <utility>

namespace kasto::x11 {

namespace {

// The server is asked at least this often, in case something was not reported.
constexpr double kAskAtLeastEveryS = 0.25;

// How old the reported place may be while the pointer moves: half the time between two polls of it.
constexpr std::int32_t kMaxLagMs = 4;

// The category of a RECORD reply that carries events, and the size of each event.
constexpr std::uint8_t kEventCategory = 0;
constexpr std::size_t kEventBytes = 32;

}  // namespace

std::unique_ptr<X11PointerFollower> X11PointerFollower::open(const std::string& displayName,
                                                             const X11Displays& displays) {
    auto query = PointerQuery::open(displayName, displays);
    auto reports = Connection::open(displayName);
    if (!query || !reports) return nullptr;
    std::unique_ptr<X11PointerFollower> follower(
        new X11PointerFollower(std::move(*query), std::move(*reports)));
    return follower->start() ? std::move(follower) : nullptr;
}

X11PointerFollower::X11PointerFollower(PointerQuery query, Connection reports)
    : query_(std::move(query)), reports_(std::move(reports)) {}

X11PointerFollower::~X11PointerFollower() {
    if (context_) xcb_record_disable_context(query_.connection().raw(), context_.id());
}

bool X11PointerFollower::start() { return watchModifiers() && watchDevices() && watchPointer(); }

// XKB reports a change of the modifiers at once, RECORD only with the next pointer event.
bool X11PointerFollower::watchModifiers() {
    auto* c = reports_.raw();
    const Reply<xcb_xkb_use_extension_reply_t> xkb(
        xcb_xkb_use_extension_reply(c, xcb_xkb_use_extension(c, 1, 0), nullptr));
    if (!xkb || !xkb->supported) return false;
    xcb_xkb_select_events_details_t modifiers{};
    modifiers.affectState = modifiers.stateDetails = XCB_XKB_STATE_PART_MODIFIER_STATE;
    const auto selected = xcb_xkb_select_events_aux_checked(
        c, XCB_XKB_ID_USE_CORE_KBD, XCB_XKB_EVENT_TYPE_STATE_NOTIFY, 0, 0, 0, 0, &modifiers);
    return !Reply<xcb_generic_error_t>(xcb_request_check(c, selected));
}

// The server batches RECORD's replies and sends them with whatever it sends next. Raw events are flushed at
// once. They wake the follower up and tell it that a report is due.
bool X11PointerFollower::watchDevices() {
    constexpr std::uint32_t kRaw = XCB_INPUT_XI_EVENT_MASK_RAW_MOTION |
                                   XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS |
                                   XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE;
    const struct {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } selection{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, kRaw};
    auto* c = reports_.raw();
    const Reply<xcb_input_xi_query_version_reply_t> version(
        xcb_input_xi_query_version_reply(c, xcb_input_xi_query_version(c, 2, 3), nullptr));
    const auto selected = xcb_input_xi_select_events_checked(c, reports_.root(), 1, &selection.head);
    return version && !Reply<xcb_generic_error_t>(xcb_request_check(c, selected));
}

bool X11PointerFollower::watchPointer() {
    auto* c = query_.connection().raw();
    const Reply<xcb_record_query_version_reply_t> record(
        xcb_record_query_version_reply(c, xcb_record_query_version(c, 1, 13), nullptr));
    if (!record) return false;
    const auto id = xcb_generate_id(c);
    constexpr xcb_record_client_spec_t kAllClients = XCB_RECORD_CS_ALL_CLIENTS;
    xcb_record_range_t range{};
    range.device_events = {XCB_BUTTON_PRESS, XCB_MOTION_NOTIFY};
    const auto created = xcb_record_create_context_checked(c, id, 0, 1, 1, &kAllClients, &range);
    if (const Reply<xcb_generic_error_t> error{xcb_request_check(c, created)}) return false;
    context_ = {query_.connection(), id};
    reportsSequence_ = xcb_record_enable_context(reports_.raw(), id).sequence;
    xcb_flush(reports_.raw());
    return true;
}

std::optional<PointerState> X11PointerFollower::state() {
    std::array<pollfd, 2> waits{pollfd{xcb_get_file_descriptor(reports_.raw()), POLLIN, 0},
                                pollfd{xcb_get_file_descriptor(query_.connection().raw()), POLLIN, 0}};
    // One look at both descriptors costs less than trying to read from either.
    const bool hasNews = poll(waits.data(), waits.size(), 0) > 0;
    if (waits[0].revents != 0) {
        takeReports();
        takeEvents();
    }
    if (waits[1].revents != 0) mustAsk_ |= query_.takeEvents() || query_.connection().isLost();
    // While the pointer moves, a report that is a few milliseconds old is good enough. Once it rests, its
    // last place is asked for if the report of it is still missing.
    const auto lagMs = static_cast<std::int32_t>(movedMs_ - reportedMs_);
    mustAsk_ |= lagMs > (hasNews ? kMaxLagMs : 0) || !hasReports_;
    // A window manager may freeze the pointer's events at a press until it has decided about the focus. No
    // motion and no release is reported meanwhile.
    mustAsk_ |= known_ && (known_->left || known_->right);
    if (mustAsk_ || mediaClockNow() - askedS_ >= kAskAtLeastEveryS) ask();
    return known_;
}

void X11PointerFollower::ask() {
    askedS_ = mediaClockNow();
    reportedMs_ = movedMs_;
    known_ = query_.ask();
    // Events that came along with the answer may be newer than the answer.
    mustAsk_ = query_.takeEvents();
}

void X11PointerFollower::takeReports() {
    void* reply = nullptr;
    xcb_generic_error_t* error = nullptr;
    while (xcb_poll_for_reply(reports_.raw(), reportsSequence_, &reply, &error) != 0) {
        const Reply<xcb_generic_error_t> refused(error);
        const Reply<xcb_record_enable_context_reply_t> report(
            static_cast<xcb_record_enable_context_reply_t*>(reply));
        if (!report) {
            hasReports_ = false;
            break;
        }
        takeReport(*report);
        reply = error = nullptr;
    }
    hasReports_ &= !reports_.isLost();
}

void X11PointerFollower::takeEvents() {
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(reports_.raw())}) {
        const auto* raw = reinterpret_cast<const xcb_input_raw_motion_event_t*>(event.get());
        const bool isRaw = (event->response_type & 0x7f) == XCB_GE_GENERIC;
        if (isRaw && raw->event_type == XCB_INPUT_RAW_MOTION)
            movedMs_ = raw->time;
        else
            mustAsk_ = true;  // a button or a modifier has changed
    }
}

void X11PointerFollower::takeReport(const xcb_record_enable_context_reply_t& report) {
    if (report.category != kEventCategory) return;
    const auto* bytes = xcb_record_enable_context_data(&report);
    const auto length = static_cast<std::size_t>(xcb_record_enable_context_data_length(&report));
    for (std::size_t at = 0; at + kEventBytes <= length; at += kEventBytes) {
        xcb_motion_notify_event_t event;
        std::memcpy(&event, bytes + at, sizeof event);
        // The other events, presses and releases, carry the state before the change.
        mustAsk_ |= (event.response_type & 0x7f) != XCB_MOTION_NOTIFY ||
                    event.root != query_.connection().root() || !known_;
        if (mustAsk_) continue;
        const auto reported = query_.stateOf(event.root_x, event.root_y, event.state);
        known_->globalPts = reported.globalPts;
        reportedMs_ = event.time;
        // Motion that was frozen carries buttons and modifiers of an earlier time.
        mustAsk_ = reported != *known_;
    }
}

}  // namespace kasto::x11
