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
    none,      // kept out of every recording
    readOnly,  // recorded like any other window
};

// One window of the program, as the desktop knows it.
struct OwnWindow {
    std::uint64_t nativeId = 0;
    SharingType sharing = SharingType::none;
    // What the window has painted or is about to paint, in pixels from its top-left corner: all else of it is
    // transparent. None stands for the window's whole shape.
    std::optional<std::vector<PixelRect>> paintedPx;
};

// The program's windows and what they have painted. The windows report here, a screen stream reads it to keep
// them out of the picture. Any thread.
//
// A window says what it will paint before it paints it; what it gives up, it gives up after it cleared it.
class OwnWindows {
public:
    void set(OwnWindow window);  // adds it, or replaces what was said of it
    void remove(std::uint64_t nativeId);
    std::vector<OwnWindow> windows() const;

    // What was said of windows and replaced or removed after this generation, the oldest first: a reader that
    // comes by now and then learns also of what was painted and given up in between. Only the last few dozen
    // are kept.
    std::vector<OwnWindow> replacedSince(std::uint64_t generation) const;

    // Changes with every call that changed something; cheap enough to ask on every tick.
    std::uint64_t generation() const { return generation_.load(std::memory_order_acquire); }

private:
    struct Replaced {
        std::uint64_t generation;  // which it was the last one of
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
