#pragma once

#include "base/Geometry.h"
#include "imaging/Kernels.h"
#include "imaging/PixelBuffer.h"

#include <cstdint>
#include <vector>

namespace kasto {

// Where image space lies in the target: column = tx + sx * x, row = ty - sy * y.
struct Placement {
    double sx = 1;
    double sy = 1;
    double tx = 0;
    double ty = 0;

    Placement translated(double dx, double dy) const { return {sx, sy, tx + sx * dx, ty - sy * dy}; }
    Placement scaled(double x, double y) const { return {sx * x, sy * y, tx, ty}; }
};

// The target pixels with their centre inside a rectangle of image space, as far as they are inside `clip`.
PixelRect coveredPixels(const Rect& rect, const Placement& placement, const PixelRect& clip);

// How the pixels of one buffer make the pixels of a box of the target: which ones and with which weights, for
// every column and row. The tables are kept from render to render.
class Resampling {
public:
    enum class Way {
        copy,         // pixel by pixel
        interpolate,  // between neighbours: no axis gets smaller
        average,      // by area in the axes that get smaller
    };

    // The buffer has to stay until the last row is drawn; every centre of the box lies inside it.
    void prepare(const PixelBuffer& source, const Placement& placement, const PixelRect& box);

    const PixelRect& box() const { return box_; }
    Way way() const { return way_; }
    bool isOpaque() const { return source_->format() == PixelFormat::bgrx; }
    Pixel addedAlpha() const { return isOpaque() ? kOpaqueAlpha : 0; }
    int sourceWidth() const { return source_->width(); }

    const Pixel* sourceRow(int row) const {
        const Plane& plane = source_->plane(0);
        return reinterpret_cast<const Pixel*>(plane.data + row * plane.strideBytes);
    }

    // Way::copy: the source pixels below the target's from a row and a column on.
    SourceRows copiedFrom(int row, int column) const {
        return {sourceRow(row - box_.y + rows_.offset) + column - box_.x + columns_.offset,
                source_->plane(0).strideBytes / static_cast<std::ptrdiff_t>(sizeof(Pixel))};
    }

    // Along one axis, in the order of the box.
    struct Axis {
        Way way = Way::copy;
        int offset = 0;                       // copy: the first source pixel
        std::vector<std::int32_t> first;      // interpolate, average: the first source pixel of each
        std::vector<std::uint32_t> fraction;  // interpolate: of the second one, twice in the word
        std::vector<std::uint32_t> weights;   // average: of the first ones, then of the second ones, …
        int taps = 1;
        int stride = 0;  // entries from one tap to the next
    };
    const Axis& columns() const { return columns_; }
    const Axis& rows() const { return rows_; }

private:
    const PixelBuffer* source_ = nullptr;
    PixelRect box_;
    Way way_ = Way::copy;
    Axis columns_;
    Axis rows_;
};

}  // namespace kasto
