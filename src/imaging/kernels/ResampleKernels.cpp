#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "imaging/kernels/ResampleKernels.cpp"
#include <hwy/foreach_target.h>
// foreach_target comes first
#include "imaging/kernels/PixelLanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kasto::HWY_NAMESPACE {

using Signed = hn::RebindToSigned<Words>;

// One vector of target pixels. Its source pixels fit one vector, and so do their right neighbours.
HWY_INLINE Pixels bilinearVector(const Pixel* source, const std::int32_t* left,
                                 const std::uint32_t* fraction) {
    const Words words;
    const Signed integers;
    const auto lanes =
        hn::IndicesFromVec(words, hn::Sub(hn::LoadU(integers, left), hn::Set(integers, left[0])));
    const auto a = hn::TableLookupLanes(hn::LoadU(words, source), lanes);
    const auto b = hn::TableLookupLanes(hn::LoadU(words, source + 1), lanes);
    return join(between(split(a), split(b), halves(hn::LoadU(words, fraction))));
}

void bilinearAcross(const Pixel* source, int width, const std::int32_t* left, const std::uint32_t* fraction,
                    int count, Pixel* row) {
    const Words words;
    const int lanes = pixelsPerVector();
    int i = 0;
    for (; i < count && left[i] + lanes < width; i += lanes) {
        hn::StoreU(bilinearVector(source + left[i], left + i, fraction + i), words, row + i);
    }
    // Near its end, the row is copied to a window first, so that nothing beyond it is read.
    Pixel window[kMaxPixels + 1] = {};
    for (; i < count; i += lanes) {
        const int remaining = std::min(width - left[i], lanes + 1);
        std::copy_n(source + left[i], remaining, window);
        hn::StoreU(bilinearVector(window, left + i, fraction + i), words, row + i);
    }
}

void bilinearDown(const Pixel* a, const Pixel* b, std::uint16_t fraction, Pixel alpha, int count,
                  Pixel* row) {
    const auto weight = hn::Set(Halves(), fraction);
    const auto added = hn::Set(Words(), alpha);
    mapRow(
        count, row,
        [&](int, Pixels pixelsA, Pixels pixelsB)
            HWY_ATTR { return hn::Or(join(between(split(pixelsA), split(pixelsB), weight)), added); },
        a, b);
}

void boxDown(const Pixel* const* sources, const std::uint16_t* weights, int taps, Pixel alpha, int count,
             Pixel* row) {
    const Words words;
    const auto added = hn::Set(words, alpha);
    const auto average = [&](auto load) HWY_ATTR {
        auto total = scaledBy(split(load(sources[0])), hn::Set(Halves(), weights[0]));
        for (int k = 1; k < taps; ++k) {
            total = sum(total, scaledBy(split(load(sources[k])), hn::Set(Halves(), weights[k])));
        }
        return hn::Or(join(total), added);
    };
    const int lanes = pixelsPerVector();
    int i = 0;
    for (; i + lanes <= count; i += lanes) {
        const auto load = [&](const Pixel* source) HWY_ATTR { return hn::LoadU(words, source + i); };
        hn::StoreU(average(load), words, row + i);
    }
    if (i == count) return;
    const auto load = [&](const Pixel* source) HWY_ATTR { return loadFirst(source + i, count - i); };
    storeFirst(average(load), row + i, count - i);
}

// The weighted sum of all taps; pick(k) returns the source pixels of tap k.
template <class Pick>
HWY_INLINE Pixels weightedSum(Pick pick, const std::uint32_t* weights, int stride, int taps) {
    const Words words;
    auto total = scaledBy(split(pick(0)), halves(hn::LoadU(words, weights)));
    for (int k = 1; k < taps; ++k) {
        total = sum(total, scaledBy(split(pick(k)), halves(hn::LoadU(words, weights + k * stride))));
    }
    return join(total);
}

// One vector of target pixels. Their first source pixels are spread over one or more vectors ("windows") of
// the source; each tap picks its pixels from these windows.
HWY_INLINE Pixels boxVector(const Pixel* source, const std::int32_t* first, const std::uint32_t* weights,
                            int stride, int taps) {
    const Words words;
    const Signed integers;
    const int lanes = pixelsPerVector();
    const auto offsets = hn::Sub(hn::LoadU(integers, first), hn::Set(integers, first[0]));
    const auto order = hn::IndicesFromVec(words, hn::And(offsets, hn::Set(integers, lanes - 1)));
    const auto pickWindow = [&](int k, int window) HWY_ATTR {
        return hn::TableLookupLanes(hn::LoadU(words, source + k + window * lanes), order);
    };
    const auto isBeyond = [&](int window) HWY_ATTR {
        return hn::RebindMask(words, hn::Gt(offsets, hn::Set(integers, window * lanes - 1)));
    };
    const int windows = (first[lanes - 1] - first[0]) / lanes + 1;
    if (windows == 1) {
        return weightedSum([&](int k) HWY_ATTR { return pickWindow(k, 0); }, weights, stride, taps);
    }
    const auto isSecond = isBeyond(1);
    if (windows == 2) {
        const auto pick = [&](int k) HWY_ATTR {
            return hn::IfThenElse(isSecond, pickWindow(k, 1), pickWindow(k, 0));
        };
        return weightedSum(pick, weights, stride, taps);
    }
    const auto pick = [&](int k) HWY_ATTR {
        auto pixels = hn::IfThenElse(isSecond, pickWindow(k, 1), pickWindow(k, 0));
        for (int window = 2; window < windows; ++window) {
            pixels = hn::IfThenElse(isBeyond(window), pickWindow(k, window), pixels);
        }
        return pixels;
    };
    return weightedSum(pick, weights, stride, taps);
}

void boxAcross(const Pixel* source, const std::int32_t* first, const std::uint32_t* weights, int stride,
               int taps, int count, Pixel* row) {
    const int lanes = pixelsPerVector();
    for (int i = 0; i < count; i += lanes) {
        const auto pixels = boxVector(source + first[i], first + i, weights + i, stride, taps);
        if (i + lanes <= count) {
            hn::StoreU(pixels, Words(), row + i);
        } else {
            storeFirst(pixels, row + i, count - i);
        }
    }
}

}  // namespace kasto::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kasto {

HWY_EXPORT(bilinearAcross);
HWY_EXPORT(bilinearDown);
HWY_EXPORT(boxDown);
HWY_EXPORT(boxAcross);

void kernels::bilinearAcross(const Pixel* source, int width, const std::int32_t* left,
                             const std::uint32_t* fraction, int count, Pixel* row) {
    HWY_DYNAMIC_DISPATCH(bilinearAcross)(source, width, left, fraction, count, row);
}

void kernels::bilinearDown(const Pixel* a, const Pixel* b, std::uint16_t fraction, Pixel alpha, int count,
                           Pixel* row) {
    HWY_DYNAMIC_DISPATCH(bilinearDown)(a, b, fraction, alpha, count, row);
}

void kernels::boxDown(const Pixel* const* sources, const std::uint16_t* weights, int taps, Pixel alpha,
                      int count, Pixel* row) {
    HWY_DYNAMIC_DISPATCH(boxDown)(sources, weights, taps, alpha, count, row);
}

void kernels::boxAcross(const Pixel* source, const std::int32_t* first, const std::uint32_t* weights,
                        int stride, int taps, int count, Pixel* row) {
    HWY_DYNAMIC_DISPATCH(boxAcross)(source, first, weights, stride, taps, count, row);
}

}  // namespace kasto
#endif
