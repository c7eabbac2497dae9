#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "imaging/kernels/ConvertKernels.cpp"
#include <hwy/foreach_target.h>
// foreach_target comes first
#include "imaging/kernels/PixelLanes-inl.h"

#include <type_traits>

HWY_BEFORE_NAMESPACE();
namespace kasto::HWY_NAMESPACE {

using Integers = hn::RebindToSigned<Words>;
using Weights = hn::Vec<Shorts>;
using Sums = hn::Vec<Integers>;

// The BT.709 matrix for limited range: weights of 255 input levels, in 1/32768.
constexpr double kRed = 0.2126;
constexpr double kBlue = 0.0722;
constexpr double kGreen = 1 - kRed - kBlue;

constexpr std::int16_t parts(double weight) {
    return static_cast<std::int16_t>(weight * 32768 + (weight < 0 ? -0.5 : 0.5));
}
constexpr std::int16_t lumaParts(double weight) { return parts(weight * 219 / 255); }
constexpr std::int16_t chromaParts(double weight, double ownWeight) {
    return parts(weight / (2 * (1 - ownWeight)) * 224 / 255);
}

struct Row {
    std::int16_t blue;
    std::int16_t green;
    std::int16_t red;
};
constexpr Row kLuma{lumaParts(kBlue), lumaParts(kGreen), lumaParts(kRed)};
constexpr Row kBlueChroma{chromaParts(1 - kBlue, kBlue), chromaParts(-kGreen, kBlue),
                          chromaParts(-kRed, kBlue)};
constexpr Row kRedChroma{chromaParts(-kBlue, kRed), chromaParts(-kGreen, kRed), chromaParts(1 - kRed, kRed)};

HWY_INLINE Levels added(const Levels& a, const Levels& b) {
    return {hn::Add(a.blueRed, b.blueRed), hn::Add(a.greenAlpha, b.greenAlpha)};
}

// The weighted sum of the channels of every pixel plus `offset`, in fixed point with kShift fractional bits,
// rounded so that these bits can be cut off.
template <int kShift>
HWY_INLINE Sums weighted(const Levels& levels, const Row& weights, int offset) {
    const Integers integers;
    const auto pair = [](std::int16_t low, std::int16_t high) HWY_ATTR {
        const auto bits = static_cast<std::uint32_t>(static_cast<std::uint16_t>(high)) << 16;
        return hn::BitCast(Shorts(), hn::Set(Words(), bits | static_cast<std::uint16_t>(low)));
    };
    auto others = hn::Zero(integers);
    auto total = hn::Set(integers, (offset << kShift) + (1 << (kShift - 1)));
    total = hn::ReorderWidenMulAccumulate(integers, hn::BitCast(Shorts(), levels.blueRed),
                                          pair(weights.blue, weights.red), total, others);
    total = hn::ReorderWidenMulAccumulate(integers, hn::BitCast(Shorts(), levels.greenAlpha),
                                          pair(weights.green, 0), total, others);
    return hn::RearrangeToOddPlusEven(total, others);
}

// The sums of neighbouring pixels: of the pairs in `a`, then of those in `b`.
HWY_INLINE Channels16 pairSums(Channels16 a, Channels16 b) {
    const Words words;
    const auto wordsA = hn::BitCast(words, a);
    const auto wordsB = hn::BitCast(words, b);
    return hn::Add(halves(hn::ConcatEven(words, wordsB, wordsA)),
                   halves(hn::ConcatOdd(words, wordsB, wordsA)));
}

HWY_INLINE Levels pairSums(const Levels& a, const Levels& b) {
    return {pairSums(a.blueRed, b.blueRed), pairSums(a.greenAlpha, b.greenAlpha)};
}

// Regroups 16 bytes: first byte 0 of each of the four words, then byte 1 of each, and so on.
alignas(16) constexpr std::uint8_t kByteOrder[16] = {0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15};

// The same regrouping for the 32-bit words of the whole vector, after each 128 bits were regrouped.
template <int kWords>
struct QuarterOrder {
    alignas(64) std::int32_t lanes[kWords] = {};
    constexpr QuarterOrder() {
        for (int i = 0; i < kWords; ++i) lanes[i] = i % (kWords / 4) * 4 + i / (kWords / 4);
    }
};

// The byte above the kShift fractional bits of every lane: all lanes of the first vector, then of the next.
template <int kShift>
HWY_INLINE hn::Vec<Bytes> packed(Sums sums0, Sums sums1, Sums sums2, Sums sums3) {
    static_assert(kShift > 8 && kShift < 24);
    const Words words;
    const auto byte = [&](std::uint32_t number) HWY_ATTR { return hn::Set(words, 0xFFU << 8 * number); };
    const auto moved = [&](Sums sums, auto shift) HWY_ATTR {
        const auto bits = hn::BitCast(words, sums);
        constexpr int kLeft = decltype(shift)::value - kShift;
        if constexpr (kLeft < 0) {
            return hn::ShiftRight<-kLeft>(bits);
        } else {
            return hn::ShiftLeft<kLeft>(bits);
        }
    };
    auto bits = moved(sums0, std::integral_constant<int, 0>());
    bits = hn::OrAnd(bits, moved(sums1, std::integral_constant<int, 8>()), byte(1));
    bits = hn::OrAnd(bits, moved(sums2, std::integral_constant<int, 16>()), byte(2));
    bits = hn::OrAnd(bits, moved(sums3, std::integral_constant<int, 24>()), byte(3));

    static constexpr QuarterOrder<hn::MaxLanes(words)> kQuarterOrder;
    const auto quarters =
        hn::TableLookupBytes(hn::BitCast(Bytes(), bits), hn::LoadDup128(Bytes(), kByteOrder));
    return hn::BitCast(Bytes(), hn::TableLookupLanes(hn::BitCast(words, quarters),
                                                     hn::SetTableIndices(words, kQuarterOrder.lanes)));
}

struct PairOfRows {
    std::uint8_t* upperLuma;
    std::uint8_t* lowerLuma;
    std::uint8_t* blueChroma;
    std::uint8_t* redChroma;
};

constexpr int kBlockVectors = 4;

struct BlockRow {
    Levels vector0;
    Levels vector1;
    Levels vector2;
    Levels vector3;
};

HWY_INLINE BlockRow loadRow(const Pixel* row) {
    const Words words;
    const int lanes = pixelsPerVector();
    return {levels(hn::LoadU(words, row)), levels(hn::LoadU(words, row + lanes)),
            levels(hn::LoadU(words, row + 2 * lanes)), levels(hn::LoadU(words, row + 3 * lanes))};
}

HWY_INLINE void storeLuma(const BlockRow& row, std::uint8_t* to) {
    hn::StoreU(packed<15>(weighted<15>(row.vector0, kLuma, 16), weighted<15>(row.vector1, kLuma, 16),
                          weighted<15>(row.vector2, kLuma, 16), weighted<15>(row.vector3, kLuma, 16)),
               Bytes(), to);
}

// Converts four vectors of two rows. Chroma is the mean of 2 x 2 pixels: a sum of four with two more
// fractional bits.
HWY_INLINE void convertBlock(const Pixel* upper, const Pixel* lower, const PairOfRows& to) {
    const BlockRow upperRow = loadRow(upper);
    const BlockRow lowerRow = loadRow(lower);
    storeLuma(upperRow, to.upperLuma);
    storeLuma(lowerRow, to.lowerLuma);

    const Levels left =
        pairSums(added(upperRow.vector0, lowerRow.vector0), added(upperRow.vector1, lowerRow.vector1));
    const Levels right =
        pairSums(added(upperRow.vector2, lowerRow.vector2), added(upperRow.vector3, lowerRow.vector3));
    const auto chroma =
        packed<17>(weighted<17>(left, kBlueChroma, 128), weighted<17>(right, kBlueChroma, 128),
                   weighted<17>(left, kRedChroma, 128), weighted<17>(right, kRedChroma, 128));
    const hn::Half<Bytes> half;
    hn::StoreU(hn::LowerHalf(half, chroma), half, to.blueChroma);
    hn::StoreU(hn::UpperHalf(half, chroma), half, to.redChroma);
}

HWY_INLINE void convertPair(const Pixel* upper, const Pixel* lower, int count, const PairOfRows& to) {
    const int block = kBlockVectors * pixelsPerVector();
    int i = 0;
    for (; i + block <= count; i += block) {
        convertBlock(upper + i, lower + i,
                     {to.upperLuma + i, to.lowerLuma + i, to.blueChroma + i / 2, to.redChroma + i / 2});
    }
    if (i == count) return;
    const auto rest = static_cast<std::size_t>(count - i);
    constexpr std::size_t kMaxBlock = kBlockVectors * kMaxPixels;
    Pixel upperRest[kMaxBlock] = {};
    Pixel lowerRest[kMaxBlock] = {};
    std::uint8_t results[4][kMaxBlock];
    std::copy_n(upper + i, rest, upperRest);
    std::copy_n(lower + i, rest, lowerRest);
    convertBlock(upperRest, lowerRest, {results[0], results[1], results[2], results[3]});
    std::copy_n(results[0], rest, to.upperLuma + i);
    std::copy_n(results[1], rest, to.lowerLuma + i);
    std::copy_n(results[2], rest / 2, to.blueChroma + i / 2);
    std::copy_n(results[3], rest / 2, to.redChroma + i / 2);
}

void convertRows(const SourceRows& source, int count, int rows, const PlanarRows& to) {
    for (int row = 0; row < rows; row += 2) {
        if (row + 2 < rows) {
            prefetchRow(source.row(row + 2), count);
            prefetchRow(source.row(row + 3), count);
        }
        convertPair(
            source.row(row), source.row(row + 1), count,
            {to.luma.row(row), to.luma.row(row + 1), to.blueChroma.row(row / 2), to.redChroma.row(row / 2)});
    }
}

}  // namespace kasto::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kasto {

HWY_EXPORT(convertRows);

void kernels::convertRows(const SourceRows& source, int count, int rows, const PlanarRows& to) {
    HWY_DYNAMIC_DISPATCH(convertRows)(source, count, rows, to);
}

}  // namespace kasto
#endif
