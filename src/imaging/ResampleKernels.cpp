#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "imaging/ResampleKernels.cpp"
#include <hwy/foreach_target.h>
// foreach_target comes first
#include "imaging/PixelLanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kasto::HWY_NAMESPACE {

// As many target pixels as a vector holds lie between as many source pixels and their right neighbours.
HWY_INLINE Pixels enlargeVector(const Pixel* source, const std::int32_t* left,
                                const std::uint32_t* fraction) {
    const Words words;
    const hn::RebindToSigned<Words> integers;
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
        hn::StoreU(average([&](const Pixel* source) HWY_ATTR { return hn::LoadU(words, source + i); }), words,
                   row + i);
    }
    if (i == count) return;
    const auto rest = static_cast<std::size_t>(count - i);
    HWY_ALIGN Pixel padded[kMaxPixels] = {};
    const auto loadRest = [&](const Pixel* source) HWY_ATTR {
        std::copy_n(source + i, rest, padded);
        return hn::Load(words, padded);
    };
    hn::Store(average(loadRest), words, padded);
    std::copy_n(padded, rest, row + i);
}

}  // namespace kasto::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kasto {

HWY_EXPORT(enlargeRow);
HWY_EXPORT(interpolateRows);
HWY_EXPORT(averageRows);

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

void kernels::averageColumns(const Pixel* source, const std::int32_t* first, const std::uint16_t* weights,
                             int stride, int taps, int count, Pixel* row) {
    constexpr std::uint64_t kHalf = 0x0000'8000'0000'8000;
    for (int i = 0; i < count; ++i) {
        std::uint64_t blueRed = kHalf;  // one channel in each half
        std::uint64_t greenAlpha = kHalf;
        for (int k = 0; k < taps; ++k) {
            const std::uint64_t pixel = source[first[i] + k];
            const std::uint64_t weight = weights[k * stride + i];
            blueRed += ((pixel & 0xFF) | (pixel & 0xFF0000) << 16) * weight;
            greenAlpha += ((pixel >> 8 & 0xFF) | (pixel >> 24) << 32) * weight;
        }
        row[i] = static_cast<Pixel>((blueRed >> 16 & 0xFF) | (blueRed >> 48 << 16) |
                                    (greenAlpha >> 16 & 0xFF) << 8 | greenAlpha >> 48 << 24);
    }
}

}  // namespace kasto
#endif
