#include "linux/x11/input/X11PointerFollower.h"

#include "base/MediaClock.h"

#define explicit explicit_  // a field of a structure in the header
#include <xcb/xkb.h>
#undef explicit

#include <poll.h>
#include <xcb/xcbext.h>
#include <xcb/xinput.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <utility>

namespace kasto::x11 {

namespace {

// Whatever should go unreported is not missed for longer.
constexpr double kAsksAgainS = 0.25;

// Less than from one answer to the next.
constexpr std::int32_t kMostLagMs = 4;

// Reports of a server's own events, each 32 bytes.
constexpr std::uint8_t kFromServer = 0;
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

// Over the reports' connection: the server tells clients of XKB no more of the core's mapping, by which the
// query knows the modifiers.
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

// The server sends its reports when it sends something else, to whomever, and the newest one the next time.
// These events come at once: they tell that there is more to be known.
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
    constexpr xcb_record_client_spec_t kEverybody = XCB_RECORD_CS_ALL_CLIENTS;
    xcb_record_range_t range{};
    range.device_events = {XCB_BUTTON_PRESS, XCB_MOTION_NOTIFY};
    const auto created = xcb_record_create_context_checked(c, id, 0, 1, 1, &kEverybody, &range);
    if (const Reply<xcb_generic_error_t> error{xcb_request_check(c, created)}) return false;
    context_ = {query_.connection(), id};
    reportsSequence_ = xcb_record_enable_context(reports_.raw(), id).sequence;
    xcb_flush(reports_.raw());
    return true;
}

std::optional<PointerState> X11PointerFollower::state() {
    std::array<pollfd, 2> waits{pollfd{xcb_get_file_descriptor(reports_.raw()), POLLIN, 0},
                                pollfd{xcb_get_file_descriptor(query_.connection().raw()), POLLIN, 0}};
    // One look at both costs less than trying to read either.
    const bool hasNews = poll(waits.data(), waits.size(), 0) > 0;
    if (waits[0].revents != 0) {
        takeReports();
        takeEvents();
    }
    if (waits[1].revents != 0) isStale_ |= query_.takeEvents() || query_.connection().isLost();
    // While the pointer moves fast, a report that is a moment old will do; its last one will not.
    const auto lagMs = static_cast<std::int32_t>(movedMs_ - reportedMs_);
    isStale_ |= lagMs > (hasNews ? kMostLagMs : 0) || !isTold_;
    // Window managers freeze clicks while they think about the focus, and reports with them.
    isStale_ |= known_ && (known_->left || known_->right);
    if (isStale_ || mediaClockNow() - askedS_ >= kAsksAgainS) ask();
    return known_;
}

void X11PointerFollower::ask() {
    askedS_ = mediaClockNow();
    reportedMs_ = movedMs_;
    known_ = query_.ask();
    // What came along with the answer may be newer.
    isStale_ = query_.takeEvents();
}

void X11PointerFollower::takeReports() {
    void* reply = nullptr;
    xcb_generic_error_t* error = nullptr;
    while (xcb_poll_for_reply(reports_.raw(), reportsSequence_, &reply, &error) != 0) {
        const Reply<xcb_generic_error_t> refused(error);
        const Reply<xcb_record_enable_context_reply_t> report(
            static_cast<xcb_record_enable_context_reply_t*>(reply));
        if (!report) {
            isTold_ = false;
            break;
        }
        takeReport(*report);
        reply = error = nullptr;
    }
    isTold_ &= !reports_.isLost();
}

void X11PointerFollower::takeEvents() {
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(reports_.raw())}) {
        const auto* raw = reinterpret_cast<const xcb_input_raw_motion_event_t*>(event.get());
        const bool isRaw = (event->response_type & 0x7f) == XCB_GE_GENERIC;
        if (isRaw && raw->event_type == XCB_INPUT_RAW_MOTION)
            movedMs_ = raw->time;
        else
            isStale_ = true;  // buttons or modifiers
    }
}

void X11PointerFollower::takeReport(const xcb_record_enable_context_reply_t& report) {
    if (report.category != kFromServer) return;
    const auto* bytes = xcb_record_enable_context_data(&report);
    const auto length = static_cast<std::size_t>(xcb_record_enable_context_data_length(&report));
    for (std::size_t at = 0; at + kEventBytes <= length; at += kEventBytes) {
        xcb_motion_notify_event_t event;
        std::memcpy(&event, bytes + at, sizeof event);
        // Other events carry the buttons as they were before.
        isStale_ |= (event.response_type & 0x7f) != XCB_MOTION_NOTIFY ||
                    event.root != query_.connection().root() || !known_;
        if (isStale_) continue;
        const auto told = query_.stateOf(event.root_x, event.root_y, event.state);
        known_->globalPts = told.globalPts;
        reportedMs_ = event.time;
        // Motion that was held back tells of buttons and modifiers of another time.
        isStale_ = told != *known_;
    }
}

}  // namespace kasto::x11
