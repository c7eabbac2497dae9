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
    const auto alpha = alphaWeights(fine);
    mapRow(
        count, row, [&](int, Pixels background) HWY_ATTR { return over(fine, alpha, background); }, row);
}

void gradientOverRow(const GradientRun& run, int count, Pixel* row) {
    const hn::RebindToFloat<Words> floats;
    const auto inner = fineColor(run.inner);
    const auto outer = fineColor(run.outer);
    const auto lanesX = hn::Mul(hn::Iota(floats, 0.0F), hn::Set(floats, run.stepX));
    const auto squaredY = hn::Set(floats, run.squaredY);
    const auto radius0 = hn::Set(floats, run.radius0);
    const auto perRadius = hn::Set(floats, run.perRadius * 65535.0F);
    const auto all = hn::Set(floats, 65535.0F);
    mapRow(
        count, row,
        [&](int i, Pixels background) HWY_ATTR {
            const auto x = hn::Add(lanesX, hn::Set(floats, run.firstX + run.stepX * static_cast<float>(i)));
            const auto distance = hn::Sqrt(hn::MulAdd(x, x, squaredY));
            const auto place = hn::Mul(hn::Sub(distance, radius0), perRadius);
            const auto clamped = hn::Min(hn::Max(place, hn::Zero(floats)), all);
            const auto weight = hn::BitCast(Words(), hn::NearestInt(clamped));
            const auto color = between(inner, outer, halves(hn::Or(weight, hn::ShiftLeft<16>(weight))));
            return over(color, alphaWeights(color), background);
        },
        row);
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

void kernels::mixRow(const Pixel* foreground, const Pixel* background, const Pixel* mask, int count,
                     Pixel* row) {
    HWY_DYNAMIC_DISPATCH(mixRow)(foreground, background, mask, count, row);
}

}  // namespace kasto
#endif
