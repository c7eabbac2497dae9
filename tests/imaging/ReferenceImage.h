#pragma once

#include "imaging/BlockSet.h"
#include "imaging/Image.h"

#include <array>
#include <functional>
#include <optional>

namespace kasto::test {

// Red, green, blue, alpha; premultiplied; 0 to 1.
using Rgba = std::array<double, 4>;

// An image together with what it should look like: every operation is done twice, once by the image and once
// as arithmetic on single points in double precision.
class ReferenceImage {
public:
    // The colour at a point of image space, and how many target pixels one unit is wide and high there.
    using Look = std::function<Rgba(Point at, Vector scale)>;

    static ReferenceImage color(const Color& color);
    static ReferenceImage radialGradient(Point center, double radius0, const Color& inner, double radius1,
                                         const Color& outer);
    static ReferenceImage pixels(const PixelBufferRef& buffer);
    ReferenceImage cropped(const Rect& rect) const;
    ReferenceImage translated(double dx, double dy) const;
    ReferenceImage scaled(double sx, double sy) const;
    ReferenceImage over(const ReferenceImage& background) const;
    static ReferenceImage blend(const ReferenceImage& foreground, const ReferenceImage& background,
                                const ReferenceImage& mask);

    Image image;
    Look look = [](Point, Vector) { return Rgba{}; };
    int mixes = 0;  // overs and blends one above the other, each of which rounds once
};

// A buffer of reproducible noise; alpha is premultiplied, or rubbish for bgrx.
PixelBufferRef noise(PixelFormat format, int width, int height, unsigned seed);

// A buffer whose pixels are given as words 0xAARRGGBB by column and row.
PixelBufferRef drawn(PixelFormat format, int width, int height,
                     const std::function<std::uint32_t(int column, int row)>& pixel);

// Renders with several threads and compares every sample of the target, whose size `bounds` gives. No more
// than `tolerance` levels may be between them; by default, what the image's operations may lose by rounding.
// Where `only` some blocks are drawn, the others must stay as they were.
void expectLooksAs(const ReferenceImage& expected, PixelFormat format, const Rect& bounds,
                   std::optional<double> tolerance = {}, const BlockSet* only = nullptr);

}  // namespace kasto::test
