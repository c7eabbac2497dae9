#pragma once

#include "base/Geometry.h"
#include "base/Guarded.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace kasto {

enum class SharingType {
    none,      // left out of every movie
    readOnly,  // recorded like any other window
};

// One window of the program.
struct OwnWindow {
    std::uint64_t nativeId = 0;  // the desktop's id of it
    SharingType sharing = SharingType::none;
    // What the window has painted or is about to paint, in pixels from its top-left corner; the rest of it is
    // transparent. None means the window's whole shape.
    std::optional<std::vector<PixelRect>> paintedPx;
};

// The program's windows and what they have painted. Windows report here, and a screen stream reads it to
// leave them out of its pictures. Any thread.
//
// A window reports a larger painted area before it paints it, and a smaller one after it has cleared the
// rest.
class OwnWindows {
public:
    void set(OwnWindow window);  // adds the window, or replaces what was reported about it
    void remove(std::uint64_t nativeId);
    std::vector<OwnWindow> windows() const;

    // Reports that were replaced or removed after this generation, the oldest first. A reader that looks only
    // now and then learns from them what was painted and cleared in between. The last 64 are kept.
    std::vector<OwnWindow> replacedSince(std::uint64_t generation) const;

    // A number that changes with each report; cheap enough to be asked in each tick.
    std::uint64_t generation() const { return generation_.load(std::memory_order_acquire); }

private:
    struct Replaced {
        std::uint64_t generation;  // the last one in which the report was valid
        OwnWindow window;
    };
    struct Registry {
        std::vector<OwnWindow> windows;
        std::deque<Replaced> replaced;
    };
    void keepReplaced(Registry& registry, OwnWindow window);

    Guarded<Registry> registry_;
    std::atomic<std::uint64_t> generation_ = 0;
};

}  // namespace kasto
