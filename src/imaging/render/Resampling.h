#pragma once

#include "base/Geometry.h"
#include "imaging/PixelBuffer.h"
#include "imaging/kernels/Kernels.h"

#include <cstdint>
#include <vector>

namespace kasto {

// The position of image space in the target: column = tx + sx * x, row = ty - sy * y.
struct Placement {
    double sx = 1;
    double sy = 1;
    double tx = 0;
    double ty = 0;

    Placement translated(double dx, double dy) const { return {sx, sy, tx + sx * dx, ty - sy * dy}; }
    Placement scaled(double x, double y) const { return {sx * x, sy * y, tx, ty}; }
};

// The target pixels inside `clip` whose centres lie inside a rectangle of image space.
PixelRect coveredPixels(const Rect& rect, const Placement& placement, const PixelRect& clip);

// How source pixels become target pixels, in the order of how much they cost.
enum class Filter {
    nearest,   // one source pixel each: the picture is not scaled and lies on the pixel grid
    bilinear,  // mixed from two neighbours along each axis: no axis gets smaller
    box,       // averaged over the area of a target pixel: at least one axis gets smaller
};

// How the pixels of one buffer become the pixels of a box of the target: for every column and row of the box,
// the source pixels and their weights. The tables' memory is reused from render to render.
class Resampling {
public:
    // Every pixel centre of the box must lie inside the picture. Keeps a reference to the buffer, which must
    // stay until the last row is drawn.
    void prepare(const PixelBuffer& source, const Placement& placement, const PixelRect& box);

    const PixelRect& box() const { return box_; }
    Filter filter() const { return filter_; }
    bool isOpaque() const { return source_->format() == PixelFormat::bgrx; }
    Pixel addedAlpha() const { return isOpaque() ? kOpaqueAlpha : 0; }
    int sourceWidth() const { return source_->width(); }

    const Pixel* sourceRow(int row) const {
        const Plane& plane = source_->plane(0);
        return reinterpret_cast<const Pixel*>(plane.data + row * plane.strideBytes);
    }

    // Filter::nearest only: the source pixels for the target's pixels from this row and column on.
    SourceRows sourceAt(int row, int column) const {
        return {sourceRow(row - box_.y + rows_.offset) + column - box_.x + columns_.offset,
                source_->plane(0).strideBytes / static_cast<std::ptrdiff_t>(sizeof(Pixel))};
    }

    // One axis of the box; entry i of a table belongs to the box's column or row i. An axis that is not
    // scaled may keep Filter::nearest while the other one is bilinear; with box, both axes are averaged.
    struct Axis {
        Filter filter = Filter::nearest;
        int offset = 0;                       // nearest: the source pixel of entry 0
        std::vector<std::int32_t> first;      // bilinear, box: the first source pixel of each entry
        std::vector<std::uint32_t> fraction;  // bilinear: the second pixel's weight, twice in the word
        std::vector<std::uint32_t> weights;   // box: first all weights of tap 0, then all of tap 1, …
        int taps = 1;                         // box: source pixels per target pixel
        int stride = 0;                       // box: entries from one tap's weights to the next
    };
    const Axis& columns() const { return columns_; }
    const Axis& rows() const { return rows_; }

private:
    const PixelBuffer* source_ = nullptr;
    PixelRect box_;
    Filter filter_ = Filter::nearest;
    Axis columns_;
    Axis rows_;
};

}  // namespace kasto
