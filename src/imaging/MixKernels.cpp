#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "imaging/MixKernels.cpp"
#include <hwy/foreach_target.h>
// foreach_target comes first
#include "imaging/PixelLanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kasto::HWY_NAMESPACE {

void copyRow(const Pixel* source, Pixel alpha, int count, Pixel* row) {
    const auto added = hn::Set(Words(), alpha);
    mapRow(
        count, row, [&](int, Pixels pixels) HWY_ATTR { return hn::Or(pixels, added); }, source);
}

HWY_INLINE Pixels over(FinePixels source, Channels16 alpha, Pixels background) {
    return join(sum(source, scaledBy(split(background), hn::Not(alpha))));
}

void overRow(const Pixel* source, int count, Pixel* row) {
    mapRow(
        count, row,
        [](int, Pixels foreground, Pixels background)
            HWY_ATTR { return over(split(foreground), alphaWeights(foreground), background); },
        source, row);
}

void colorOverRow(const FineColor& color, int count, Pixel* row) {
    const auto fine = fineColor(color);
    const auto alpha = alphaWeights(color);
    mapRow(
        count, row, [&](int, Pixels background) HWY_ATTR { return over(fine, alpha, background); }, row);
}

// How far the pixels of a run are from the inner radius (0) to the outer one (65535).
class GradientPlaces {
public:
    HWY_INLINE explicit GradientPlaces(const GradientRun& run)
        : run_(run),
          lanesX_(hn::MulAdd(hn::Iota(floats_, 0.0F), hn::Set(floats_, run.stepX),
                             hn::Set(floats_, run.firstX))) {}

    HWY_INLINE Channels16 at(int i) const {
        const auto x = hn::Add(lanesX_, hn::Set(floats_, run_.stepX * static_cast<float>(i)));
        const auto distance = hn::Sqrt(hn::MulAdd(x, x, hn::Set(floats_, run_.squaredY)));
        const auto place = hn::Mul(hn::Sub(distance, hn::Set(floats_, run_.radius0)),
                                   hn::Set(floats_, run_.perRadius * kFull));
        const auto clamped = hn::Min(hn::Max(place, hn::Zero(floats_)), hn::Set(floats_, kFull));
        const auto word = hn::BitCast(Words(), hn::NearestInt(clamped));
        return halves(hn::Or(word, hn::ShiftLeft<16>(word)));
    }

private:
    static constexpr float kFull = 65535.0F;
    hn::RebindToFloat<Words> floats_;
    const GradientRun& run_;
    hn::Vec<hn::RebindToFloat<Words>> lanesX_;
};

void gradientOverRow(const GradientRun& run, int count, Pixel* row) {
    const GradientPlaces places(run);
    const auto inner = fineColor(run.inner);
    const auto innerAlpha = alphaWeights(run.inner);
    if ((run.outer.blueRed | run.outer.greenAlpha) == 0) {
        const auto fading = [&](int i, Pixels background) HWY_ATTR {
            const auto nearness = hn::Not(places.at(i));
            return over(scaledBy(inner, nearness), hn::MulHigh(innerAlpha, nearness), background);
        };
        mapRow(count, row, fading, row);
        return;
    }
    const auto outer = fineColor(run.outer);
    const auto outerAlpha = alphaWeights(run.outer);
    const auto blending = [&](int i, Pixels background) HWY_ATTR {
        const auto place = places.at(i);
        const auto alpha =
            hn::SaturatedAdd(hn::MulHigh(innerAlpha, hn::Not(place)), hn::MulHigh(outerAlpha, place));
        return over(between(inner, outer, place), alpha, background);
    };
    mapRow(count, row, blending, row);
}

void mixRowByGradient(const GradientRun& run, const Pixel* foreground, const Pixel* background, int count,
                      Pixel* row) {
    const GradientPlaces places(run);
    mapRow(
        count, row,
        [&](int i, Pixels front, Pixels back)
            HWY_ATTR { return join(between(split(front), split(back), places.at(i))); },
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

HWY_EXPORT(copyRow);
HWY_EXPORT(overRow);
HWY_EXPORT(colorOverRow);
HWY_EXPORT(gradientOverRow);
HWY_EXPORT(mixRowByGradient);
HWY_EXPORT(mixRow);

void kernels::copyRow(const Pixel* source, Pixel alpha, int count, Pixel* row) {
    HWY_DYNAMIC_DISPATCH(copyRow)(source, alpha, count, row);
}

void kernels::overRow(const Pixel* source, int count, Pixel* row) {
    HWY_DYNAMIC_DISPATCH(overRow)(source, count, row);
}

void kernels::colorOverRow(const FineColor& color, int count, Pixel* row) {
    HWY_DYNAMIC_DISPATCH(colorOverRow)(color, count, row);
}

void kernels::gradientOverRow(const GradientRun& run, int count, Pixel* row) {
    HWY_DYNAMIC_DISPATCH(gradientOverRow)(run, count, row);
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
