#pragma once

#include <cstddef>
#include <cstdint>

// The loops over rows of pixels, each compiled for every vector width of the processor family and chosen at
// run time. They read and write exactly the pixels named (unless said otherwise) and keep no state.
namespace kasto {

// Four bytes b, g, r, a as one little-endian word; colours premultiplied.
using Pixel = std::uint32_t;

constexpr Pixel kOpaqueAlpha = 0xFF000000u;

// The pixels of the widest vector: what enlarging may read beyond its tables and write beyond its row.
constexpr int kRowPadding = 16;

// As many rows of a gradient are drawn at once at most.
constexpr int kMostGradientRows = 8;

// A premultiplied colour with 8 fractional bits a channel: 0 to 0xFF00.
struct FineColor {
    std::uint32_t blueRed = 0;     // blue in the low half
    std::uint32_t greenAlpha = 0;  // green in the low half
};

// Rows one below the other, `stride` entries from one to the next.
template <class T>
struct RowsOf {
    T* first = nullptr;
    std::ptrdiff_t stride = 0;

    T* row(int index) const { return first + index * stride; }
};
using PixelRows = RowsOf<Pixel>;
using SourceRows = RowsOf<const Pixel>;

// A place in the planes of a picture: luma, and chroma of half as many rows and columns.
struct PlanarRows {
    RowsOf<std::uint8_t> luma;
    RowsOf<std::uint8_t> blueChroma;
    RowsOf<std::uint8_t> redChroma;
};

// Rows of pixels on their way through a radial gradient, in the gradient's own units.
struct GradientRun {
    float firstX = 0;  // of the first pixel's centre, from the gradient's centre
    float firstY = 0;
    float stepX = 0;  // from one pixel to the next
    float stepY = 0;  // from one row to the next
    float radius0 = 0;
    float perRadius = 0;  // 1 / (radius1 - radius0)
    FineColor inner;
    FineColor outer;
    Pixel innerColor = 0;  // opaque, to be weighted by
    float innerAlpha = 0;
};

namespace kernels {

// Converts an even number of rows of `count` pixels (even) to BT.709 limited range.
void convertRows(const SourceRows& source, int count, int rows, const PlanarRows& to);

// to = source | alpha
void copyRows(const SourceRows& source, Pixel alpha, int count, int rows, const PixelRows& to);

// to = source over to
void overRows(const SourceRows& source, int count, int rows, const PixelRows& to);
void colorOverRow(const FineColor& color, int count, Pixel* row);
void gradientOverRows(const GradientRun& run, int count, int rows, const PixelRows& to);

// row = foreground up to the gradient's inner radius, background from the outer one on, mixed between.
void mixRowByGradient(const GradientRun& run, const Pixel* foreground, const Pixel* background, int count,
                      Pixel* row);

// row = foreground where the mask's alpha is full, background where it is none, mixed between.
void mixRow(const Pixel* foreground, const Pixel* background, const Pixel* mask, int count, Pixel* row);

// row[i] between source[left[i]] and its right neighbour, by fraction / 65536 (held twice in the word, and
// zero where the neighbour is beyond the edge). The places ascend by at most one pixel each. The tables hold
// kRowPadding more entries, and as many pixels more may be written.
void enlargeRow(const Pixel* source, int width, const std::int32_t* left, const std::uint32_t* fraction,
                int count, Pixel* row);

// row = between a and b by fraction / 65536, | alpha
void interpolateRows(const Pixel* a, const Pixel* b, std::uint16_t fraction, Pixel alpha, int count,
                     Pixel* row);

// row = sum of sources[k] * weights[k] / 65536, | alpha
void averageRows(const Pixel* const* sources, const std::uint16_t* weights, int taps, Pixel alpha, int count,
                 Pixel* row);

// row[i] = sum of source[first[i] + k] * weights[k * stride + i] / 65536 (held twice in the word). The places
// ascend; the tables hold kRowPadding more entries, and up to kRowPadding pixels after the last are read.
void averageColumns(const Pixel* source, const std::int32_t* first, const std::uint32_t* weights, int stride,
                    int taps, int count, Pixel* row);

}  // namespace kernels
}  // namespace kasto
