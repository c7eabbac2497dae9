#include "base/Geometry.h"

#include <algorithm>
#include <cmath>

namespace kasto {

Rect Rect::intersection(const Rect& other) const {
    const double left = std::max(minX(), other.minX());
    const double top = std::max(minY(), other.minY());
    const double right = std::min(maxX(), other.maxX());
    const double bottom = std::min(maxY(), other.maxY());
    if (!(right > left && bottom > top)) return {};
    return {left, top, right - left, bottom - top};
}

Rect Rect::united(const Rect& other) const {
    if (isEmpty()) return other;
    if (other.isEmpty()) return *this;
    const double left = std::min(minX(), other.minX());
    const double top = std::min(minY(), other.minY());
    return {left, top, std::max(maxX(), other.maxX()) - left, std::max(maxY(), other.maxY()) - top};
}

Rect Rect::integral() const {
    const double left = std::floor(minX());
    const double top = std::floor(minY());
    return {left, top, std::ceil(maxX()) - left, std::ceil(maxY()) - top};
}

PixelRect PixelRect::intersection(const PixelRect& other) const {
    const int left = std::max(x, other.x);
    const int top = std::max(y, other.y);
    const int right = std::min(maxX(), other.maxX());
    const int bottom = std::min(maxY(), other.maxY());
    if (right <= left || bottom <= top) return {};
    return {left, top, right - left, bottom - top};
}

}  // namespace kasto
