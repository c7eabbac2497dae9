#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "imaging/kernels/MixKernels.cpp"
#include <hwy/foreach_target.h>
// foreach_target comes first
#include "imaging/kernels/PixelLanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kasto::HWY_NAMESPACE {

void copyRows(const SourceRows& source, Pixel alpha, int count, int rows, const PixelRows& to) {
    const auto added = hn::Set(Words(), alpha);
    const auto copied = [&](int, Pixels pixels) HWY_ATTR { return hn::Or(pixels, added); };
    for (int row = 0; row < rows; ++row) mapRow(count, to.row(row), copied, source.row(row));
}

HWY_INLINE Pixels over(FinePixels source, Channels16 alpha, Pixels background) {
    return join(sum(source, scaledBy(split(background), hn::Not(alpha))));
}

void overRows(const SourceRows& source, int count, int rows, const PixelRows& to) {
    const auto mixed = [](int, Pixels foreground, Pixels background)
                           HWY_ATTR { return over(split(foreground), alphaWeights(foreground), background); };
    for (int row = 0; row < rows; ++row) mapRow(count, to.row(row), mixed, source.row(row), to.row(row));
}

void colorOverRow(const FineColor& color, int count, Pixel* row) {
    const auto fine = fineColor(color);
    const auto alpha = alphaWeights(color);
    const auto mixed = [&](int, Pixels background) HWY_ATTR { return over(fine, alpha, background); };
    mapRow(count, row, mixed, row);
}

// Where the pixels of a run lie between the two radii of a gradient, clamped to them.
class GradientPlaces {
public:
    // 0 at the inner radius, 65535 at the outer one.
    HWY_INLINE explicit GradientPlaces(const GradientRun& run)
        : GradientPlaces(run, kFull, kWhole - run.radius0 * kFull * run.perRadius, kFull * run.perRadius) {}

    // 0 at the outer radius, `full` at the inner one.
    HWY_INLINE GradientPlaces(const GradientRun& run, float full)
        : GradientPlaces(run, full, kWhole + full + run.radius0 * full * run.perRadius,
                         -full * run.perRadius) {}

    // The squared horizontal distances of the next vector of pixels from the gradient's centre.
    HWY_INLINE hn::Vec<hn::RebindToFloat<Words>> nextSquaredX() {
        const auto x = hn::MulAdd(columns_, hn::Set(floats_, run_.stepX), hn::Set(floats_, run_.firstX));
        columns_ = hn::Add(columns_, hn::Set(floats_, static_cast<float>(pixelsPerVector())));
        return hn::Mul(x, x);
    }

    HWY_INLINE Channels16 at(hn::Vec<hn::RebindToFloat<Words>> squaredX, float squaredY) const {
        const auto distance = hn::Sqrt(hn::Add(squaredX, hn::Set(floats_, squaredY)));
        const auto place = hn::MulAdd(distance, hn::Set(floats_, perUnit_), hn::Set(floats_, atCentre_));
        const auto clamped =
            hn::Min(hn::Max(place, hn::Set(floats_, kWhole)), hn::Set(floats_, kWhole + full_));
        return lowHalves(hn::BitCast(Words(), clamped));
    }

private:
    HWY_INLINE GradientPlaces(const GradientRun& run, float full, float atCentre, float perUnit)
        : run_(run), full_(full), perUnit_(perUnit), atCentre_(atCentre), columns_(hn::Iota(floats_, 0.0F)) {}

    static constexpr float kFull = 65535.0F;
    // A float from 2^23 to 2^24 has no fractional bits, and its lowest bits are those of the integer: adding
    // this constant converts to an integer without an instruction for it.
    static constexpr float kWhole = 0x1p23F;
    hn::RebindToFloat<Words> floats_;
    const GradientRun& run_;
    float full_;
    float perUnit_;
    float atCentre_;
    hn::Vec<hn::RebindToFloat<Words>> columns_;
};

// Replaces each pixel by over(its place in the gradient, pixel). Column by column, so that the horizontal
// distances are computed once for all rows.
template <class F>
HWY_INLINE void mapGradient(const GradientRun& run, GradientPlaces places, int count, int rows,
                            const PixelRows& to, F over) {
    const Words words;
    const int lanes = pixelsPerVector();
    float squaredY[kMaxGradientRows];
    for (int row = 0; row < rows; ++row) {
        const float y = run.firstY + run.stepY * static_cast<float>(row);
        squaredY[row] = y * y;
    }
    for (int i = 0; i < count; i += lanes) {
        const auto squaredX = places.nextSquaredX();
        const bool isWhole = i + lanes <= count;
        Pixel* pixels = to.first + i;
        for (int row = 0; row < rows; ++row, pixels += to.stride) {
            const auto at = places.at(squaredX, squaredY[row]);
            if (isWhole) {
                hn::StoreU(over(at, hn::LoadU(words, pixels)), words, pixels);
            } else {
                storeFirst(over(at, loadFirst(pixels, count - i)), pixels, count - i);
            }
        }
    }
}

// For a gradient that is transparent outside: every pixel is moved towards the one colour by the gradient's
// alpha there. That takes one multiplication a channel instead of two.
void fadeOverRows(const GradientRun& run, int count, int rows, const PixelRows& to) {
    constexpr float kFull = 32767;  // 1 in the 15-bit fixed point of MulFixedPoint15
    const Shorts shorts;
    const Levels color = levels(hn::Set(Words(), run.innerColor));
    const auto fading = [&](Channels16 weights, Pixels background) HWY_ATTR {
        const Levels from = levels(background);
        const auto towards = [&](Channels16 level, Channels16 target) HWY_ATTR {
            const auto distance = hn::BitCast(shorts, hn::Sub(target, level));
            return hn::Add(
                level, hn::BitCast(Halves(), hn::MulFixedPoint15(distance, hn::BitCast(shorts, weights))));
        };
        const auto greenAlpha = hn::ShiftLeft<8>(towards(from.greenAlpha, color.greenAlpha));
        return hn::BitCast(Words(), hn::Or(towards(from.blueRed, color.blueRed), greenAlpha));
    };
    mapGradient(run, GradientPlaces(run, kFull * run.innerAlpha), count, rows, to, fading);
}

void gradientOverRows(const GradientRun& run, int count, int rows, const PixelRows& to) {
    if ((run.outer.blueRed | run.outer.greenAlpha) == 0) return fadeOverRows(run, count, rows, to);
    const auto inner = fineColor(run.inner);
    const auto innerAlpha = alphaWeights(run.inner);
    const auto outer = fineColor(run.outer);
    const auto outerAlpha = alphaWeights(run.outer);
    const auto blending = [&](Channels16 place, Pixels background) HWY_ATTR {
        const auto alpha =
            hn::SaturatedAdd(hn::MulHigh(innerAlpha, hn::Not(place)), hn::MulHigh(outerAlpha, place));
        return over(between(inner, outer, place), alpha, background);
    };
    mapGradient(run, GradientPlaces(run), count, rows, to, blending);
}

void mixRowByGradient(const GradientRun& run, const Pixel* foreground, const Pixel* background, int count,
                      Pixel* row) {
    GradientPlaces places(run);
    const float squaredY = run.firstY * run.firstY;
    mapRow(
        count, row,
        [&](int, Pixels front, Pixels back) HWY_ATTR {
            return join(between(split(front), split(back), places.at(places.nextSquaredX(), squaredY)));
        },
        foreground, background);
}

void mixRow(const Pixel* foreground, const Pixel* background, const Pixel* mask, int count, Pixel* row) {
    mapRow(
        count, row,
        [](int, Pixels front, Pixels back, Pixels maskPixels)
            HWY_ATTR { return join(between(split(back), split(front), alphaWeights(maskPixels))); },
        foreground, background, mask);
}

}  // namespace kasto::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kasto {

HWY_EXPORT(copyRows);
HWY_EXPORT(overRows);
HWY_EXPORT(colorOverRow);
HWY_EXPORT(gradientOverRows);
HWY_EXPORT(mixRowByGradient);
HWY_EXPORT(mixRow);

void kernels::copyRows(const SourceRows& source, Pixel alpha, int count, int rows, const PixelRows& to) {
    HWY_DYNAMIC_DISPATCH(copyRows)(source, alpha, count, rows, to);
}

void kernels::overRows(const SourceRows& source, int count, int rows, const PixelRows& to) {
    HWY_DYNAMIC_DISPATCH(overRows)(source, count, rows, to);
}

void kernels::colorOverRow(const FineColor& color, int count, Pixel* row) {
    HWY_DYNAMIC_DISPATCH(colorOverRow)(color, count, row);
}

void kernels::gradientOverRows(const GradientRun& run, int count, int rows, const PixelRows& to) {
    HWY_DYNAMIC_DISPATCH(gradientOverRows)(run, count, rows, to);
}

void kernels::mixRowByGradient(const GradientRun& run, const Pixel* foreground, const Pixel* background,
                               int count, Pixel* row) {
    HWY_DYNAMIC_DISPATCH(mixRowByGradient)(run, foreground, background, count, row);
}

void kernels::mixRow(const Pixel* foreground, const Pixel* background, const Pixel* mask, int count,
                     Pixel* row) {
    HWY_DYNAMIC_DISPATCH(mixRow)(foreground, background, mask, count, row);
}

}  // namespace kasto
#endif
