#pragma once

#include <cstddef>
#include <cstdint>

// The loops over rows of pixels. Each is compiled for every vector width of the processor family, and the
// widest that the processor has is chosen at run time. Unless said otherwise they read and write only the
// pixels named. They keep no state and may run on any number of threads.
namespace kasto {

// Four bytes b, g, r, a as one little-endian word; colours are premultiplied.
using Pixel = std::uint32_t;

constexpr Pixel kOpaqueAlpha = 0xFF000000u;

// Pixels in the widest vector. Where a kernel says so, tables and rows have this many entries more.
constexpr int kRowPadding = 16;

// The most rows that gradientOverRows() draws at once.
constexpr int kMaxGradientRows = 8;

// A premultiplied colour with 8 fractional bits a channel: 0 to 0xFF00.
struct FineColor {
    std::uint32_t blueRed = 0;     // blue in the low half
    std::uint32_t greenAlpha = 0;  // green in the low half
};

// Rows one below the other. `stride` is in entries, from one row to the next.
template <class T>
struct RowsOf {
    T* first = nullptr;
    std::ptrdiff_t stride = 0;

    T* row(int index) const { return first + index * stride; }
};
using PixelRows = RowsOf<Pixel>;
using SourceRows = RowsOf<const Pixel>;

// A position in the planes of an i420 picture. The chroma planes have half as many rows and columns.
struct PlanarRows {
    RowsOf<std::uint8_t> luma;
    RowsOf<std::uint8_t> blueChroma;
    RowsOf<std::uint8_t> redChroma;
};

// The position of rows of pixels in a radial gradient, in the gradient's own units, and its colours.
struct GradientRun {
    float firstX = 0;  // of the first pixel's centre, relative to the gradient's centre
    float firstY = 0;
    float stepX = 0;  // from one pixel to the next
    float stepY = 0;  // from one row to the next
    float radius0 = 0;
    float perRadius = 0;  // 1 / (radius1 - radius0)
    FineColor inner;
    FineColor outer;
    Pixel innerColor = 0;  // the inner colour made opaque; its own alpha is innerAlpha
    float innerAlpha = 0;
};

namespace kernels {

// Converts `rows` rows of `count` pixels, both even, to BT.709 limited range.
void convertRows(const SourceRows& source, int count, int rows, const PlanarRows& to);

// to = source | alpha
void copyRows(const SourceRows& source, Pixel alpha, int count, int rows, const PixelRows& to);

// to = source over to. The same for one colour, and for a radial gradient of at most kMaxGradientRows rows.
void overRows(const SourceRows& source, int count, int rows, const PixelRows& to);
void colorOverRow(const FineColor& color, int count, Pixel* row);
void gradientOverRows(const GradientRun& run, int count, int rows, const PixelRows& to);

// row = foreground inside the gradient's inner radius, background outside the outer one, mixed in between.
void mixRowByGradient(const GradientRun& run, const Pixel* foreground, const Pixel* background, int count,
                      Pixel* row);

// row = foreground where the mask is opaque, background where it is transparent, mixed in between.
void mixRow(const Pixel* foreground, const Pixel* background, const Pixel* mask, int count, Pixel* row);

// Bilinear filtering along a row: row[i] = source[left[i]] mixed with its right neighbour by
// fraction[i] / 65536. A fraction is held in both halves of its word; it is 0 where the neighbour would be
// beyond the edge. `left` ascends by at most one per entry. The tables have kRowPadding more entries, and up
// to kRowPadding pixels beyond the row's end are written.
void bilinearAcross(const Pixel* source, int width, const std::int32_t* left, const std::uint32_t* fraction,
                    int count, Pixel* row);

// Bilinear filtering along columns: row = a mixed with b by fraction / 65536, | alpha
void bilinearDown(const Pixel* a, const Pixel* b, std::uint16_t fraction, Pixel alpha, int count, Pixel* row);

// Box filtering along columns: row = sum of sources[k] * weights[k] / 65536, | alpha
void boxDown(const Pixel* const* sources, const std::uint16_t* weights, int taps, Pixel alpha, int count,
             Pixel* row);

// Box filtering along a row: row[i] = sum of source[first[i] + k] * weights[k * stride + i] / 65536. A weight
// is held in both halves of its word. `first` ascends. The tables have kRowPadding more entries, and up to
// kRowPadding pixels after the last source pixel are read.
void boxAcross(const Pixel* source, const std::int32_t* first, const std::uint32_t* weights, int stride,
               int taps, int count, Pixel* row);

}  // namespace kernels
}  // namespace kasto
