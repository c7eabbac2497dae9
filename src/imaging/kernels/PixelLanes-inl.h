// Vectors of pixels for the kernels. Included once for every instruction set.
#if defined(KASTO_PIXEL_LANES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KASTO_PIXEL_LANES_INL_H
#undef KASTO_PIXEL_LANES_INL_H
#else
#define KASTO_PIXEL_LANES_INL_H
#endif

#include "imaging/kernels/Kernels.h"

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cstddef>

HWY_BEFORE_NAMESPACE();
namespace kasto::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using Words = hn::CappedTag<Pixel, kRowPadding>;
using Halves = hn::Repartition<std::uint16_t, Words>;
using Shorts = hn::Repartition<std::int16_t, Words>;
using Bytes = hn::Repartition<std::uint8_t, Words>;
using Pixels = hn::Vec<Words>;
using Channels16 = hn::Vec<Halves>;

constexpr std::size_t kMaxPixels = kRowPadding;

HWY_INLINE int pixelsPerVector() { return static_cast<int>(hn::Lanes(Words())); }

// The four channels of each pixel in two vectors, with 8 fractional bits.
struct FinePixels {
    Channels16 blueRed;
    Channels16 greenAlpha;
};

HWY_INLINE Channels16 halves(Pixels pixels) { return hn::BitCast(Halves(), pixels); }

HWY_INLINE FinePixels split(Pixels pixels) {
    return {hn::ShiftLeft<8>(halves(pixels)), hn::And(halves(pixels), hn::Set(Halves(), 0xFF00))};
}

// The four channels of each pixel in two vectors, as whole levels.
struct Levels {
    Channels16 blueRed;
    Channels16 greenAlpha;
};

HWY_INLINE Levels levels(Pixels pixels) {
    return {hn::And(halves(pixels), hn::Set(Halves(), 0x00FF)), hn::ShiftRight<8>(halves(pixels))};
}

// Rounds to whole levels. A product loses up to 1/256 level, half of that on average. 130 instead of 128
// makes up for the four products of two mixing stages.
HWY_INLINE Pixels join(FinePixels fine) {
    const auto half = hn::Set(Halves(), 130);
    const auto blueRed = hn::ShiftRight<8>(hn::SaturatedAdd(fine.blueRed, half));
    const auto greenAlpha = hn::SaturatedAdd(fine.greenAlpha, half);
    return hn::BitCast(Words(), hn::OrAnd(blueRed, greenAlpha, hn::Set(Halves(), 0xFF00)));
}

// Scales by weight / 65536. A pixel's weight is held in both halves of its word.
HWY_INLINE FinePixels scaledBy(FinePixels fine, Channels16 weights) {
    return {hn::MulHigh(fine.blueRed, weights), hn::MulHigh(fine.greenAlpha, weights)};
}

HWY_INLINE FinePixels sum(FinePixels a, FinePixels b) {
    return {hn::SaturatedAdd(a.blueRed, b.blueRed), hn::SaturatedAdd(a.greenAlpha, b.greenAlpha)};
}

HWY_INLINE FinePixels between(FinePixels a, FinePixels b, Channels16 weightsOfB) {
    return sum(scaledBy(a, hn::Not(weightsOfB)), scaledBy(b, weightsOfB));
}

HWY_INLINE FinePixels fineColor(const FineColor& color) {
    return {halves(hn::Set(Words(), color.blueRed)), halves(hn::Set(Words(), color.greenAlpha))};
}

// The low half of every word, copied to both halves.
HWY_INLINE Channels16 lowHalves(Pixels words) {
    alignas(16) static constexpr std::uint8_t kLow[16] = {0, 1, 0, 1, 4, 5, 4, 5, 8, 9, 8, 9, 12, 13, 12, 13};
    const auto bytes = hn::BitCast(Bytes(), words);
    return hn::BitCast(Halves(), hn::TableLookupBytes(bytes, hn::LoadDup128(Bytes(), kLow)));
}

// The pixels' alpha as weights for scaledBy().
HWY_INLINE Channels16 alphaWeights(Pixels pixels) {
    alignas(16) static constexpr std::uint8_t kAlphas[16] = {3,  3,  3,  3,  7,  7,  7,  7,
                                                             11, 11, 11, 11, 15, 15, 15, 15};
    const auto bytes = hn::BitCast(Bytes(), pixels);
    return hn::BitCast(Halves(), hn::TableLookupBytes(bytes, hn::LoadDup128(Bytes(), kAlphas)));
}

// The same for one colour.
HWY_INLINE Channels16 alphaWeights(const FineColor& color) {
    const auto alpha = color.greenAlpha >> 16;
    return hn::Set(Halves(), static_cast<std::uint16_t>(alpha + (alpha >> 8)));
}

// The first `count` pixels of a vector, fewer than it holds. No memory beyond them is accessed.
HWY_INLINE Pixels loadFirst(const Pixel* from, int count) {
    const Words words;
#if HWY_TARGET <= HWY_AVX2
    return hn::MaskedLoad(hn::FirstN(words, static_cast<std::size_t>(count)), words, from);
#else
    HWY_ALIGN Pixel padded[kMaxPixels] = {};
    std::copy_n(from, count, padded);
    return hn::Load(words, padded);
#endif
}

HWY_INLINE void storeFirst(Pixels pixels, Pixel* to, int count) {
    const Words words;
#if HWY_TARGET <= HWY_AVX2
    hn::BlendedStore(pixels, hn::FirstN(words, static_cast<std::size_t>(count)), words, to);
#else
    HWY_ALIGN Pixel padded[kMaxPixels];
    hn::Store(pixels, words, padded);
    std::copy_n(padded, count, to);
#endif
}

// Prefetches the beginning of a row that will be read soon. The processor prefetches along a row by itself,
// but does not foresee where the next row begins.
HWY_INLINE void prefetchRow(const Pixel* row, int count) {
    constexpr int kLine = 16;
    const int end = std::min(count, 8 * kLine);
    for (int i = 0; i < end; i += kLine) hwy::Prefetch(row + i);
}

// out[i] = f(i, inputs[i]...)
template <class F, class... Inputs>
HWY_INLINE void mapRow(int count, Pixel* out, F f, const Inputs*... inputs) {
    const Words words;
    const int lanes = pixelsPerVector();
    int i = 0;
    for (; i + lanes <= count; i += lanes) hn::StoreU(f(i, hn::LoadU(words, inputs + i)...), words, out + i);
    if (i < count) storeFirst(f(i, loadFirst(inputs + i, count - i)...), out + i, count - i);
}

}  // namespace kasto::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
