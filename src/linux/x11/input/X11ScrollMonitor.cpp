#include "linux/x11/input/X11ScrollMonitor.h"

#include <utility>
#include <vector>

namespace kasto::x11 {

namespace {

// A mouse may report a thousand motions a second. The thread wakes at most once in this time and reads all
// events that have arrived since; it is about as long as the pause between two polls of the pointer.
constexpr int kGatherMs = 8;

bool selectRawEvents(const Connection& connection) {
    auto* c = connection.raw();
    const auto* extension = xcb_get_extension_data(c, &xcb_input_id);
    if (!extension || !extension->present) return false;
    const Reply<xcb_input_xi_query_version_reply_t> version(
        xcb_input_xi_query_version_reply(c, xcb_input_xi_query_version(c, 2, 3), nullptr));
    if (!version || std::pair(version->major_version, version->minor_version) <
                        std::pair<std::uint16_t, std::uint16_t>(2, 1))
        return false;
    struct Selection {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    };
    // Every device is attached to a master device, so the masters' events tell each scroll exactly once.
    const Selection scrolls{{XCB_INPUT_DEVICE_ALL_MASTER, 1},
                            XCB_INPUT_XI_EVENT_MASK_RAW_MOTION | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS};
    const Selection changes{{XCB_INPUT_DEVICE_ALL, 1},
                            XCB_INPUT_XI_EVENT_MASK_DEVICE_CHANGED | XCB_INPUT_XI_EVENT_MASK_HIERARCHY};
    bool taken = true;
    for (const auto* selection : {&scrolls, &changes})
        taken &= !Reply<xcb_generic_error_t>(xcb_request_check(
            c, xcb_input_xi_select_events_checked(c, connection.root(), 1, &selection->head)));
    return taken;
}

}  // namespace

std::unique_ptr<X11ScrollMonitor> X11ScrollMonitor::open(const std::string& displayName,
                                                         const PointerInput& pointer,
                                                         std::function<void(const ScrollEvent&)> onScroll) {
    auto connection = Connection::open(displayName);
    auto thread = PollThread::make();
    if (!connection || !thread || !selectRawEvents(*connection)) return nullptr;
    return std::unique_ptr<X11ScrollMonitor>(
        new X11ScrollMonitor(std::move(*connection), std::move(*thread), pointer, std::move(onScroll)));
}

X11ScrollMonitor::X11ScrollMonitor(Connection connection, PollThread thread, const PointerInput& pointer,
                                   std::function<void(const ScrollEvent&)> onScroll)
    : connection_(std::move(connection)),
      pointer_(pointer),
      onScroll_(std::move(onScroll)),
      extension_(xcb_get_extension_data(connection_.raw(), &xcb_input_id)->major_opcode),
      thread_(std::move(thread)) {
    thread_.start("scroll", [this](const PollWaiter& waiter) { run(waiter); });
}

X11ScrollMonitor::~X11ScrollMonitor() = default;

void X11ScrollMonitor::run(const PollWaiter& waiter) {
    using Wake = PollWaiter::Wake;
    const int fd = xcb_get_file_descriptor(connection_.raw());
    while (!connection_.isLost()) {
        takeEvents();
        if (waiter.wait({fd}) == Wake::stopped) return;
        takeEvents();
        if (waiter.pause(kGatherMs) == Wake::stopped) return;
    }
}

void X11ScrollMonitor::takeEvents() {
    std::vector<Vector> scrolls;
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_.raw())}) {
        const auto* raw = reinterpret_cast<const xcb_input_raw_button_press_event_t*>(event.get());
        if ((event->response_type & 0x7f) != XCB_GE_GENERIC || raw->extension != extension_) continue;
        switch (raw->event_type) {
            case XCB_INPUT_RAW_MOTION:
            case XCB_INPUT_RAW_BUTTON_PRESS:
                if (const auto notches = devices_.notchesOf(*raw); notches != Vector{})
                    scrolls.push_back(notches);
                break;
            default:
                devices_.forget();
        }
    }
    if (scrolls.empty()) return;
    // Raw events carry no modifiers.
    const auto held = pointer_.state();
    if (!held) return;
    for (const auto& notches : scrolls) report(notches, *held);
}

void X11ScrollMonitor::report(Vector notches, const PointerState& held) const {
    onScroll_({.deltaPts = {notches.dx * ScrollEvent::kPtsPerNotch, notches.dy * ScrollEvent::kPtsPerNotch},
               .command = held.command,
               .option = held.option,
               .control = held.control,
               .fn = held.fn});
}

}  // namespace kasto::x11
