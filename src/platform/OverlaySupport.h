#pragma once

#include "base/Geometry.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace kasto {

// Keeps windows above those of all other programs while it exists. Main thread. It must be destroyed before
// the service that made it.
class KeptAbove {
public:
    virtual ~KeptAbove() = default;
};

// Window properties that the overlay and the region picker need and Qt does not offer. Native ids are those
// of windows of the program. Colours are 0xAARRGGBB, premultiplied.
//
// Main thread, unless an operation says otherwise.
class OverlaySupport {
public:
    virtual ~OverlaySupport() = default;

    // True while a compositing manager blends translucent windows with the windows under them. Without one, a
    // window hides everything under its shape. Any thread.
    virtual bool blendsWindows() const = 0;

    enum class Painting {
        byClient,  // the fill is visible until the program has painted
        fillOnly,  // the window shows only the fill, and the program is never asked to paint it
    };

    // Gives the window no shadow, and this colour where nothing has been painted. To be called before the
    // window is shown for the first time.
    virtual void prepare(std::uint64_t nativeId, std::uint32_t fillArgb, Painting painting) = 0;

    // Cuts the window to these pixels, counted from its top-left corner. None shows the whole window.
    virtual void setShape(std::uint64_t nativeId, std::optional<std::span<const PixelRect>> shapePx) = 0;

    // Keeps these windows above all others while the result exists; the last one is topmost. Windows that are
    // kept later lie above those kept before.
    [[nodiscard]] virtual std::unique_ptr<KeptAbove> keepAbove(std::vector<std::uint64_t> nativeIds) = 0;
};

}  // namespace kasto
