#pragma once

#include "linux/x11/input/PointerQuery.h"
#include "platform/PointerInput.h"

#include <xcb/record.h>

#include <memory>
#include <string>

namespace kasto::x11 {

// Knows the pointer without asking: the server reports its motion, whatever caused it, and its buttons
// through the RECORD extension, and changes of the modifiers through XKB. Keys themselves are not listened
// to. Nothing is grabbed, and grabs of others do not matter.
class X11PointerFollower : public PointerFollower {
public:
    // Null where the server lacks an extension or refuses. An empty name takes $DISPLAY.
    static std::unique_ptr<X11PointerFollower> open(const std::string& displayName,
                                                    const X11Displays& displays);
    ~X11PointerFollower() override;

    // Looks at what the server has reported so far. It asks only after reports that do not tell all, and now
    // and then.
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
    Connection reports_;  // nothing can be asked over it once they run
    ServerObject<xcb_record_free_context> context_;
    unsigned reportsSequence_ = 0;
    std::optional<PointerState> known_;
    bool isTold_ = true;  // without reports each answer is asked for
    bool isStale_ = true;
    xcb_timestamp_t movedMs_ = 0;     // by a device, at last
    xcb_timestamp_t reportedMs_ = 0;  // as is known
    double askedS_ = 0;
};

}  // namespace kasto::x11
