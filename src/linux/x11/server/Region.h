#pragma once

#include "base/Geometry.h"

#include <pixman.h>

#include <cstdint>
#include <span>
#include <vector>

namespace kasto::x11 {

// A set of pixels, kept as disjoint rectangles. Its owner decides on the coordinate space. One thread at a
// time.
class Region {
public:
    Region() { pixman_region32_init(&region_); }
    explicit Region(const PixelRect& rect);
    explicit Region(std::span<const PixelRect> rects);  // they may overlap
    Region(const Region& other);
    Region(Region&& other) noexcept;
    Region& operator=(Region other) noexcept;
    ~Region() { pixman_region32_fini(&region_); }

    bool isEmpty() const;
    PixelRect bounds() const;
    std::int64_t areaPx() const;
    bool intersects(const PixelRect& rect) const;
    std::vector<PixelRect> rects() const;

    Region& unite(const Region& other);
    Region& unite(const PixelRect& rect) { return unite(Region(rect)); }
    Region& subtract(const Region& other);
    Region& intersect(const Region& other);
    Region& intersect(const PixelRect& rect) { return intersect(Region(rect)); }
    Region& translate(int dx, int dy);

    friend bool operator==(const Region& a, const Region& b) {
        return pixman_region32_equal(mutableOf(a), mutableOf(b)) != 0;
    }

private:
    // pixman takes pointers to non-const regions also where it only reads.
    static pixman_region32_t* mutableOf(const Region& region) {
        return const_cast<pixman_region32_t*>(&region.region_);
    }
    pixman_region32_t region_;
};

inline Region united(Region a, const Region& b) { return std::move(a.unite(b)); }
inline Region subtracted(Region a, const Region& b) { return std::move(a.subtract(b)); }
inline Region intersected(Region a, const Region& b) { return std::move(a.intersect(b)); }

}  // namespace kasto::x11
