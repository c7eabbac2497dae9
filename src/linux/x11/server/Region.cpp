#include "linux/x11/server/Region.h"

#include <utility>

namespace kasto::x11 {

namespace {

pixman_box32_t toBox(const PixelRect& rect) { return {rect.x, rect.y, rect.maxX(), rect.maxY()}; }

PixelRect toRect(const pixman_box32_t& box) { return {box.x1, box.y1, box.x2 - box.x1, box.y2 - box.y1}; }

}  // namespace

Region::Region(const PixelRect& rect) : Region() {
    if (rect.isEmpty()) return;
    const auto box = toBox(rect);
    pixman_region32_fini(&region_);
    pixman_region32_init_rects(&region_, &box, 1);
}

Region::Region(std::span<const PixelRect> rects) : Region() {
    std::vector<pixman_box32_t> boxes;
    boxes.reserve(rects.size());
    for (const auto& rect : rects)
        if (!rect.isEmpty()) boxes.push_back(toBox(rect));
    pixman_region32_fini(&region_);
    pixman_region32_init_rects(&region_, boxes.data(), static_cast<int>(boxes.size()));
}

Region::Region(const Region& other) : Region() { pixman_region32_copy(&region_, mutableOf(other)); }

Region::Region(Region&& other) noexcept : Region() { std::swap(region_, other.region_); }

Region& Region::operator=(Region other) noexcept {
    std::swap(region_, other.region_);
    return *this;
}

bool Region::isEmpty() const { return pixman_region32_not_empty(mutableOf(*this)) == 0; }

PixelRect Region::bounds() const { return toRect(*pixman_region32_extents(mutableOf(*this))); }

std::int64_t Region::areaPx() const {
    std::int64_t area = 0;
    for (const auto& rect : rects()) area += static_cast<std::int64_t>(rect.width) * rect.height;
    return area;
}

bool Region::intersects(const PixelRect& rect) const {
    if (rect.isEmpty()) return false;
    auto box = toBox(rect);
    return pixman_region32_contains_rectangle(mutableOf(*this), &box) != PIXMAN_REGION_OUT;
}

std::vector<PixelRect> Region::rects() const {
    int count = 0;
    const auto* boxes = pixman_region32_rectangles(mutableOf(*this), &count);
    std::vector<PixelRect> rects(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < rects.size(); ++i) rects[i] = toRect(boxes[i]);
    return rects;
}

Region& Region::unite(const Region& other) {
    pixman_region32_union(&region_, &region_, mutableOf(other));
    return *this;
}

Region& Region::subtract(const Region& other) {
    pixman_region32_subtract(&region_, &region_, mutableOf(other));
    return *this;
}

Region& Region::intersect(const Region& other) {
    pixman_region32_intersect(&region_, &region_, mutableOf(other));
    return *this;
}

Region& Region::translate(int dx, int dy) {
    pixman_region32_translate(&region_, dx, dy);
    return *this;
}

}  // namespace kasto::x11
