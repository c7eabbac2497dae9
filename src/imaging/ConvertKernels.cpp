#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "imaging/ConvertKernels.cpp"
#include <hwy/foreach_target.h>
// foreach_target comes first
#include "imaging/PixelLanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kasto::HWY_NAMESPACE {

using Integers = hn::RebindToSigned<Words>;
using Shorts = hn::Repartition<std::int16_t, Words>;
using Weights = hn::Vec<Shorts>;
using Sums = hn::Vec<Integers>;

// Luma and chroma of BT.709, in 32768 parts of 255 input levels to the limited range.
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

// Two of four channels each, as whole levels.
struct Levels {
    Channels16 blueRed;
    Channels16 greenAlpha;
};

HWY_INLINE Levels levels(Pixels pixels) {
    return {hn::And(halves(pixels), hn::Set(Halves(), 0x00FF)), hn::ShiftRight<8>(halves(pixels))};
}

template <int kShift>
HWY_INLINE Sums weighted(const Levels& levels, const Row& weights, int offset) {
    const Integers integers;
    const auto pair = [](std::int16_t low, std::int16_t high) HWY_ATTR {
        return hn::BitCast(
            Shorts(),
            hn::Set(Words(), static_cast<std::uint16_t>(low) |
                                 static_cast<std::uint32_t>(static_cast<std::uint16_t>(high)) << 16));
    };
    auto others = hn::Zero(integers);
    auto total = hn::Set(integers, (offset << kShift) + (1 << (kShift - 1)));
    total = hn::ReorderWidenMulAccumulate(integers, hn::BitCast(Shorts(), levels.blueRed),
                                          pair(weights.blue, weights.red), total, others);
    total = hn::ReorderWidenMulAccumulate(integers, hn::BitCast(Shorts(), levels.greenAlpha),
                                          pair(weights.green, 0), total, others);
    return hn::ShiftRight<kShift>(hn::RearrangeToOddPlusEven(total, others));
}

HWY_INLINE void storeBytes(Sums values, std::uint8_t* to) {
    const hn::Rebind<std::uint8_t, Integers> bytes;
    hn::StoreU(hn::DemoteTo(bytes, values), bytes, to);
}

// Sums of neighbours: those of `a` in the even words, those of `b` in the odd ones.
HWY_INLINE Channels16 pairSums(Channels16 a, Channels16 b) {
    const Words words;
    const auto wordsA = hn::BitCast(words, a);
    const auto wordsB = hn::BitCast(words, b);
    return hn::Add(halves(hn::OddEven(wordsB, wordsA)), halves(hn::Shuffle2301(hn::OddEven(wordsA, wordsB))));
}

HWY_INLINE Levels added(const Levels& a, const Levels& b) {
    return {hn::Add(a.blueRed, b.blueRed), hn::Add(a.greenAlpha, b.greenAlpha)};
}

// Puts the even lanes of a vector before its odd ones.
template <int kLanes>
struct EvenThenOdd {
    alignas(64) std::int32_t lanes[kLanes] = {};
    constexpr EvenThenOdd() {
        for (int i = 0; i < kLanes; ++i) lanes[i] = i < kLanes / 2 ? 2 * i : 2 * i - kLanes + 1;
    }
};

struct Planes {
    std::uint8_t* upperLuma;
    std::uint8_t* lowerLuma;
    std::uint8_t* blueChroma;
    std::uint8_t* redChroma;
};

// Two vectors of each row.
template <class Lanes>
HWY_INLINE void convertBlock(const Pixel* upper, const Pixel* lower, const Lanes& order, const Planes& to) {
    const Words words;
    const int lanes = pixelsPerVector();
    const Levels upper0 = levels(hn::LoadU(words, upper));
    const Levels upper1 = levels(hn::LoadU(words, upper + lanes));
    const Levels lower0 = levels(hn::LoadU(words, lower));
    const Levels lower1 = levels(hn::LoadU(words, lower + lanes));
    storeBytes(weighted<15>(upper0, kLuma, 16), to.upperLuma);
    storeBytes(weighted<15>(upper1, kLuma, 16), to.upperLuma + lanes);
    storeBytes(weighted<15>(lower0, kLuma, 16), to.lowerLuma);
    storeBytes(weighted<15>(lower1, kLuma, 16), to.lowerLuma + lanes);

    const Levels columns0 = added(upper0, lower0);
    const Levels columns1 = added(upper1, lower1);
    const Levels blocks{pairSums(columns0.blueRed, columns1.blueRed),
                        pairSums(columns0.greenAlpha, columns1.greenAlpha)};
    storeBytes(hn::TableLookupLanes(weighted<17>(blocks, kBlueChroma, 128), order), to.blueChroma);
    storeBytes(hn::TableLookupLanes(weighted<17>(blocks, kRedChroma, 128), order), to.redChroma);
}

void convertRowPair(const Pixel* upper, const Pixel* lower, int count, std::uint8_t* upperLuma,
                    std::uint8_t* lowerLuma, std::uint8_t* blueChroma, std::uint8_t* redChroma) {
    const int lanes = pixelsPerVector();
    static constexpr EvenThenOdd<hn::MaxLanes(Words())> kEvenThenOdd;
    const auto order = hn::SetTableIndices(Integers(), kEvenThenOdd.lanes);
    int i = 0;
    for (; i + 2 * lanes <= count; i += 2 * lanes) {
        convertBlock(upper + i, lower + i, order,
                     {upperLuma + i, lowerLuma + i, blueChroma + i / 2, redChroma + i / 2});
    }
    if (i == count) return;
    const auto rest = static_cast<std::size_t>(count - i);
    Pixel upperRest[2 * kMaxPixels] = {};
    Pixel lowerRest[2 * kMaxPixels] = {};
    std::uint8_t results[4][2 * kMaxPixels];
    std::copy_n(upper + i, rest, upperRest);
    std::copy_n(lower + i, rest, lowerRest);
    convertBlock(upperRest, lowerRest, order, {results[0], results[1], results[2], results[3]});
    std::copy_n(results[0], rest, upperLuma + i);
    std::copy_n(results[1], rest, lowerLuma + i);
    std::copy_n(results[2], rest / 2, blueChroma + i / 2);
    std::copy_n(results[3], rest / 2, redChroma + i / 2);
}

}  // namespace kasto::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kasto {

HWY_EXPORT(convertRowPair);

void kernels::convertRowPair(const Pixel* upper, const Pixel* lower, int count, std::uint8_t* upperLuma,
                             std::uint8_t* lowerLuma, std::uint8_t* blueChroma, std::uint8_t* redChroma) {
    HWY_DYNAMIC_DISPATCH(convertRowPair)
    (upper, lower, count, upperLuma, lowerLuma, blueChroma, redChroma);
}

}  // namespace kasto
#endif
