#pragma once

#include "base/Geometry.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace kasto {

// What windows that lie over a whole screen need of the desktop, besides being windows. Native ids are those
// of windows of the program's user interface; colours are 0xAARRGGBB, premultiplied.
//
// Main thread, unless an operation says otherwise.
class OverlaySupport {
public:
    virtual ~OverlaySupport() = default;

    // True while somebody blends translucent windows with what is beneath them; without that a window covers
    // all of its shape. Any thread.
    virtual bool blendsWindows() const = 0;

    enum class Painting {
        byClient,  // the fill shows only until the program has painted
        fillOnly,  // the fill is all there ever is, and the program is not asked to paint
    };

    // Before the window is shown for the first time: it gets no shadow, and this colour where nothing has
    // been painted.
    virtual void prepare(std::uint64_t nativeId, std::uint32_t fillArgb, Painting painting) = 0;

    // Cuts the window to these pixels, counted from its top-left corner; none shows all of it.
    virtual void setShape(std::uint64_t nativeId, std::optional<std::span<const PixelRect>> shapePx) = 0;

    // Keeps these windows above all others from now on, the last one topmost; an empty list ends that.
    virtual void keepAbove(std::vector<std::uint64_t> nativeIds) = 0;
};

}  // namespace kasto
