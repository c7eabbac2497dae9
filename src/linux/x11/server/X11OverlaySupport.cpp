#include "linux/x11/server/X11OverlaySupport.h"

#include "base/Guarded.h"
#include "base/MediaClock.h"
#include "base/PollThread.h"
#include "linux/x11/server/Connection.h"
#include "linux/x11/server/Rectangles.h"

#include <xcb/shape.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <utility>
#include <vector>

namespace kasto::x11 {

namespace {

constexpr int kPauseAfterRaiseMs = 50;

// How long a compositing manager takes from owning its selection to drawing the screen.
constexpr int kManagerStartMs = 1000;

}  // namespace

class X11OverlaySupport::Watch {
public:
    Watch(Connection connection, PollThread thread, std::uint8_t xfixesEvent)
        : connection_(std::move(connection)), xfixesEvent_(xfixesEvent), thread_(std::move(thread)) {
        auto* c = connection_.raw();
        managerSelection_ = connection_.atom("_NET_WM_CM_S" + std::to_string(connection_.screenNumber()));
        const Reply<xcb_xfixes_query_version_reply_t> version(
            xcb_xfixes_query_version_reply(c, xcb_xfixes_query_version(c, 5, 0), nullptr));
        xcb_xfixes_select_selection_input(c, connection_.root(), managerSelection_,
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
        askForManager();
        thread_.start("overlay", [this](const PollWaiter& waiter) { run(waiter); });
    }

    // The windows of one user of keepAbove, by a number that is its own.
    using Group = std::pair<int, std::vector<xcb_window_t>>;

    int add(std::vector<xcb_window_t> windows) {
        const int number = above_.with([&](std::vector<Group>& groups) {
            const int next = groups.empty() ? 0 : groups.back().first + 1;
            groups.emplace_back(next, std::move(windows));
            return next;
        });
        watchStacking(true);
        raise();
        return number;
    }

    void remove(int number) {
        const bool isLast = above_.with([&](std::vector<Group>& groups) {
            std::erase_if(groups, [&](const Group& group) { return group.first == number; });
            return groups.empty();
        });
        if (isLast) watchStacking(false);
    }

    std::atomic<bool> hasManager = false;

private:
    void run(const PollWaiter& waiter) {
        using Wake = PollWaiter::Wake;
        const int fd = xcb_get_file_descriptor(connection_.raw());
        while (true) {
            const bool isCovered = takeEvents();
            if (connection_.isLost()) return;
            // Two programs that both want to be on top would raise their windows in turn without end. The
            // pause after each raise keeps that to 20 times a second.
            if (isCovered) {
                raise();
                if (waiter.pause(kPauseAfterRaiseMs) == Wake::stopped) return;
                continue;
            }
            const bool awaitsManager = managerSinceS_ && !hasManager;
            if (awaitsManager && mediaClockNow() - *managerSinceS_ >= kManagerStartMs / 1000.0)
                hasManager = true;
            const auto timeoutMs =
                managerSinceS_ && !hasManager ? std::optional(kManagerStartMs) : std::nullopt;
            if (waiter.wait({fd}, timeoutMs) == Wake::stopped) return;
        }
    }

    // Asks for events about every window on the screen, which a busy desktop sends many of, or ends that.
    void watchStacking(bool watches) {
        const std::uint32_t events = watches ? XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY : 0;
        xcb_change_window_attributes(connection_.raw(), connection_.root(), XCB_CW_EVENT_MASK, &events);
        xcb_flush(connection_.raw());
    }

    // The windows to be kept above, the topmost one last.
    std::vector<xcb_window_t> windowsAbove() const {
        return above_.with([](const std::vector<Group>& groups) {
            std::vector<xcb_window_t> windows;
            for (const auto& group : groups)
                windows.insert(windows.end(), group.second.begin(), group.second.end());
            return windows;
        });
    }

    // True if another window may be above ours now.
    bool takeEvents() {
        const auto ours = windowsAbove();
        bool isCovered = false;
        while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_.raw())}) {
            const int type = event->response_type & 0x7f;
            if (type == xfixesEvent_ + XCB_XFIXES_SELECTION_NOTIFY) {
                noteManager(*reinterpret_cast<const xcb_xfixes_selection_notify_event_t*>(event.get()));
            } else if (type >= XCB_MAP_NOTIFY && type <= XCB_CIRCULATE_NOTIFY) {
                // The window has the same offset in all of these events.
                const auto window = reinterpret_cast<const xcb_map_notify_event_t*>(event.get())->window;
                isCovered |= std::ranges::find(ours, window) == ours.end();
            }
        }
        return isCovered;
    }

    void noteManager(const xcb_xfixes_selection_notify_event_t& event) {
        if (event.owner == XCB_NONE) {
            managerSinceS_.reset();
            hasManager = false;
        } else if (!managerSinceS_) {
            managerSinceS_ = mediaClockNow();
        }
    }

    void raise() {
        const std::uint32_t above = XCB_STACK_MODE_ABOVE;
        for (const auto window : windowsAbove())
            xcb_configure_window(connection_.raw(), window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
        xcb_flush(connection_.raw());
    }

    void askForManager() {
        auto* c = connection_.raw();
        const Reply<xcb_get_selection_owner_reply_t> owner(
            xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, managerSelection_), nullptr));
        if (!owner || owner->owner == XCB_NONE) return;
        managerSinceS_ = mediaClockNow();
        hasManager = true;
    }

    Connection connection_;
    std::uint8_t xfixesEvent_;
    xcb_atom_t managerSelection_ = XCB_NONE;
    std::optional<double> managerSinceS_;  // used by the thread only, once it runs
    Guarded<std::vector<Group>> above_;
    PollThread thread_;
};

Result<std::unique_ptr<X11OverlaySupport>> X11OverlaySupport::open(const std::string& displayName,
                                                                   xcb_connection_t* ui) {
    auto connection = Connection::open(displayName);
    if (!connection) return std::unexpected(connection.error());
    const auto xfixesEvent = connection->firstEventOf(xcb_xfixes_id, "XFIXES");
    if (!xfixesEvent) return std::unexpected(xfixesEvent.error());
    auto thread = PollThread::make();
    if (!thread) return std::unexpected(thread.error());
    return std::unique_ptr<X11OverlaySupport>(new X11OverlaySupport(
        std::make_unique<Watch>(std::move(*connection), std::move(*thread), *xfixesEvent), ui));
}

X11OverlaySupport::X11OverlaySupport(std::unique_ptr<Watch> watch, xcb_connection_t* ui)
    : watch_(std::move(watch)), ui_(ui) {}

X11OverlaySupport::~X11OverlaySupport() = default;

bool X11OverlaySupport::blendsWindows() const { return watch_->hasManager; }

xcb_atom_t X11OverlaySupport::atom(const char* name) const {
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        ui_, xcb_intern_atom(ui_, 0, static_cast<std::uint16_t>(std::strlen(name)), name), nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

void X11OverlaySupport::prepare(std::uint64_t nativeId, std::uint32_t fillArgb, Painting painting) {
    if (!ui_) return;
    const auto window = static_cast<xcb_window_t>(nativeId);
    xcb_change_window_attributes(ui_, window, XCB_CW_BACK_PIXEL, &fillArgb);
    if (painting == Painting::fillOnly) {
        const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(ui_, window, XCB_CW_EVENT_MASK, &events);
    }
    const std::uint32_t none = 0;
    xcb_change_property(ui_, XCB_PROP_MODE_REPLACE, window, atom("_COMPTON_SHADOW"), XCB_ATOM_CARDINAL, 32, 1,
                        &none);
    const std::array<std::uint32_t, 4> noFrame{};
    xcb_change_property(ui_, XCB_PROP_MODE_REPLACE, window, atom("_GTK_FRAME_EXTENTS"), XCB_ATOM_CARDINAL, 32,
                        noFrame.size(), noFrame.data());
}

void X11OverlaySupport::setShape(std::uint64_t nativeId, std::optional<std::span<const PixelRect>> shapePx) {
    if (!ui_) return;
    const auto window = static_cast<xcb_window_t>(nativeId);
    if (shapePx) {
        const auto rects = toXcb(*shapePx);
        xcb_shape_rectangles(ui_, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, XCB_CLIP_ORDERING_UNSORTED, window,
                             0, 0, static_cast<std::uint32_t>(rects.size()), rects.data());
    } else {
        xcb_shape_mask(ui_, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, window, 0, 0, XCB_NONE);
    }
    xcb_flush(ui_);
}

class X11OverlaySupport::Kept : public KeptAbove {
public:
    Kept(Watch& watch, std::vector<xcb_window_t> windows)
        : watch_(watch), number_(watch.add(std::move(windows))) {}
    ~Kept() override { watch_.remove(number_); }

private:
    Watch& watch_;
    const int number_;
};

std::unique_ptr<KeptAbove> X11OverlaySupport::keepAbove(std::vector<std::uint64_t> nativeIds) {
    return std::make_unique<Kept>(*watch_, std::vector<xcb_window_t>(nativeIds.begin(), nativeIds.end()));
}

}  // namespace kasto::x11
