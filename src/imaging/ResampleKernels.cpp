#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "imaging/ResampleKernels.cpp"
#include <hwy/foreach_target.h>
// foreach_target comes first
#include "imaging/PixelLanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kasto::HWY_NAMESPACE {

using Signed = hn::RebindToSigned<Words>;

// As many target pixels as a vector holds lie between as many source pixels and their right neighbours.
HWY_INLINE Pixels enlargeVector(const Pixel* source, const std::int32_t* left,
                                const std::uint32_t* fraction) {
    const Words words;
    const Signed integers;
    const auto lanes =
        hn::IndicesFromVec(words, hn::Sub(hn::LoadU(integers, left), hn::Set(integers, left[0])));
    const auto a = hn::TableLookupLanes(hn::LoadU(words, source), lanes);
    const auto b = hn::TableLookupLanes(hn::LoadU(words, source + 1), lanes);
    return join(between(split(a), split(b), halves(hn::LoadU(words, fraction))));
}

void enlargeRow(const Pixel* source, int width, const std::int32_t* left, const std::uint32_t* fraction,
                int count, Pixel* row) {
    const Words words;
    const int lanes = pixelsPerVector();
    int i = 0;
    for (; i < count && left[i] + lanes < width; i += lanes) {
        hn::StoreU(enlargeVector(source + left[i], left + i, fraction + i), words, row + i);
    }
    // The last vectors would read beyond the row.
    Pixel window[kMaxPixels + 1] = {};
    for (; i < count; i += lanes) {
        const int remaining = std::min(width - left[i], lanes + 1);
        std::copy_n(source + left[i], remaining, window);
        hn::StoreU(enlargeVector(window, left + i, fraction + i), words, row + i);
    }
}

void interpolateRows(const Pixel* a, const Pixel* b, std::uint16_t fraction, Pixel alpha, int count,
                     Pixel* row) {
    const auto weight = hn::Set(Halves(), fraction);
    const auto added = hn::Set(Words(), alpha);
    mapRow(
        count, row,
        [&](int, Pixels pixelsA, Pixels pixelsB)
            HWY_ATTR { return hn::Or(join(between(split(pixelsA), split(pixelsB), weight)), added); },
        a, b);
}

void averageRows(const Pixel* const* sources, const std::uint16_t* weights, int taps, Pixel alpha, int count,
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

// `pick` gives the pixels of tap 0, 1, … at their places.
template <class Pick>
HWY_INLINE Pixels weightedSum(Pick pick, const std::uint32_t* weights, int stride, int taps) {
    const Words words;
    auto total = scaledBy(split(pick(0)), halves(hn::LoadU(words, weights)));
    for (int k = 1; k < taps; ++k) {
        total = sum(total, scaledBy(split(pick(k)), halves(hn::LoadU(words, weights + k * stride))));
    }
    return join(total);
}

// One vector of target pixels, whose first source pixels lie within some vectors of the source from
// `source` on.
HWY_INLINE Pixels averageVector(const Pixel* source, const std::int32_t* first, const std::uint32_t* weights,
                                int stride, int taps) {
    const Words words;
    const Signed integers;
    const int lanes = pixelsPerVector();
    const auto places = hn::Sub(hn::LoadU(integers, first), hn::Set(integers, first[0]));
    const auto order = hn::IndicesFromVec(words, hn::And(places, hn::Set(integers, lanes - 1)));
    const auto pickWindow = [&](int k, int window) HWY_ATTR {
        return hn::TableLookupLanes(hn::LoadU(words, source + k + window * lanes), order);
    };
    const auto isBeyond = [&](int window) HWY_ATTR {
        return hn::RebindMask(words, hn::Gt(places, hn::Set(integers, window * lanes - 1)));
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

void averageColumns(const Pixel* source, const std::int32_t* first, const std::uint32_t* weights, int stride,
                    int taps, int count, Pixel* row) {
    const int lanes = pixelsPerVector();
    for (int i = 0; i < count; i += lanes) {
        const auto pixels = averageVector(source + first[i], first + i, weights + i, stride, taps);
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

HWY_EXPORT(enlargeRow);
HWY_EXPORT(interpolateRows);
HWY_EXPORT(averageRows);
HWY_EXPORT(averageColumns);

void kernels::enlargeRow(const Pixel* source, int width, const std::int32_t* left,
                         const std::uint32_t* fraction, int count, Pixel* row) {
    HWY_DYNAMIC_DISPATCH(enlargeRow)(source, width, left, fraction, count, row);
}

void kernels::interpolateRows(const Pixel* a, const Pixel* b, std::uint16_t fraction, Pixel alpha, int count,
                              Pixel* row) {
    HWY_DYNAMIC_DISPATCH(interpolateRows)(a, b, fraction, alpha, count, row);
}

void kernels::averageRows(const Pixel* const* sources, const std::uint16_t* weights, int taps, Pixel alpha,
                          int count, Pixel* row) {
    HWY_DYNAMIC_DISPATCH(averageRows)(sources, weights, taps, alpha, count, row);
}

void kernels::averageColumns(const Pixel* source, const std::int32_t* first, const std::uint32_t* weights,
                             int stride, int taps, int count, Pixel* row) {
    HWY_DYNAMIC_DISPATCH(averageColumns)(source, first, weights, stride, taps, count, row);
}

}  // namespace kasto
#endif
