#pragma once

#include "base/Geometry.h"
#include "base/Guarded.h"

#include <atomic>
#include <cstdint>
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

    // Changes with every call that changed something; cheap enough to ask on every tick.
    std::uint64_t generation() const { return generation_.load(std::memory_order_acquire); }

private:
    Guarded<std::vector<OwnWindow>> windows_;
    std::atomic<std::uint64_t> generation_ = 0;
};

}  // namespace kasto
