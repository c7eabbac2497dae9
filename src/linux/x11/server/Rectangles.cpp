#include "linux/x11/server/Rectangles.h"

namespace kasto::x11 {

xcb_rectangle_t toXcb(const PixelRect& rect) {
    return {static_cast<std::int16_t>(rect.x), static_cast<std::int16_t>(rect.y),
            static_cast<std::uint16_t>(rect.width), static_cast<std::uint16_t>(rect.height)};
}

std::vector<xcb_rectangle_t> toXcb(std::span<const PixelRect> rects) {
    std::vector<xcb_rectangle_t> converted;
    converted.reserve(rects.size());
    for (const auto& rect : rects) converted.push_back(toXcb(rect));
    return converted;
}

std::vector<PixelRect> fromXcb(std::span<const xcb_rectangle_t> rects) {
    std::vector<PixelRect> converted;
    converted.reserve(rects.size());
    for (const auto& rect : rects) converted.push_back({rect.x, rect.y, rect.width, rect.height});
    return converted;
}

}  // namespace kasto::x11
