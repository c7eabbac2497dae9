#pragma once

#include "linux/x11/input/PointerQuery.h"
#include "platform/PointerInput.h"

#include <xcb/record.h>

#include <memory>
#include <string>

namespace kasto::x11 {

// Follows the pointer of an X server with as few questions as possible.
//
// A question is a round trip, which at 120 a second costs the server more than the rest of kasto's input. So
// the server reports instead, over a second connection: RECORD tells each motion and each button, whatever
// caused it (a device, XTEST or a warp); XKB tells changes of the modifiers; XInput2's raw events tell at
// once that a device has moved, even before RECORD's report of it arrives. The key presses themselves are not
// listened to, nothing is grabbed, and the grabs of other programs make no difference.
//
// The follower asks only when the reports leave something open: a button or modifier has changed, a report is
// late, a button is held (a window manager may hold reports back), or a quarter of a second has passed.
class X11PointerFollower : public PointerFollower {
public:
    // Null where the server lacks one of the extensions or refuses to report. An empty name takes $DISPLAY.
    static std::unique_ptr<X11PointerFollower> open(const std::string& displayName,
                                                    const X11Displays& displays);
    ~X11PointerFollower() override;

    // Never waits for a report, but may ask, which takes one round trip. None when the server is gone.
    std::optional<PointerState> state() override;

private:
    X11PointerFollower(PointerQuery query, Connection reports);
    bool start();
    bool watchModifiers();
    bool watchDevices();
    bool watchPointer();
    void takeReports();
    void takeReport(const xcb_record_enable_context_reply_t& report);
    void takeEvents();
    void ask();

    PointerQuery query_;
    Connection reports_;  // once the reports run, no request on it is answered any more
    ServerObject<xcb_record_free_context> context_;
    unsigned reportsSequence_ = 0;
    std::optional<PointerState> known_;
    bool hasReports_ = true;  // false once they have ended; every state is asked for then
    bool mustAsk_ = true;     // what is known may be wrong
    // Times of the server: the last motion of a device, and the last motion whose place is known.
    xcb_timestamp_t movedMs_ = 0;
    xcb_timestamp_t reportedMs_ = 0;
    double askedS_ = 0;  // the media clock's time of the last question
};

}  // namespace kasto::x11
