#include "imaging/render/Resampling.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace kasto {

namespace {

// A picture that is less than this off the pixel grid, over its whole length, counts as lying on it.
constexpr double kOnGridPx = 1e-4;

// Source positions in fixed point: fractional bits.
constexpr int kPositionBits = 40;
constexpr std::int64_t kWholeWeight = 65536;

// One axis of a placement: target position = origin + scale * source position.
struct Mapping {
    double origin;
    double scale;
    int first;  // the first target pixel
    int count;
    int sourceCount;

    double toSource(double target) const { return (target - origin) / scale; }
};

int clampedInt(double value, int low, int high) {
    return static_cast<int>(std::clamp(value, static_cast<double>(low), static_cast<double>(high)));
}

bool isOnGrid(const Mapping& map) {
    const double start = map.toSource(map.first);
    const double end = map.toSource(map.first + map.count);
    const double nearest = std::round(start);
    return std::abs(start - nearest) < kOnGridPx && std::abs(end - nearest - map.count) < kOnGridPx;
}

// Positions are added up in fixed point: the kernel relies on a step of at most one source pixel per column,
// which rounding each position by itself could exceed.
void prepareBilinear(const Mapping& map, Resampling::Axis& axis) {
    const double unit = std::ldexp(1.0, kPositionBits);
    const std::int64_t step =
        std::min(std::llround(unit / map.scale), static_cast<long long>(std::int64_t{1} << kPositionBits));
    std::int64_t position = std::llround((map.toSource(map.first + 0.5) - 0.5) * unit);
    const auto count = static_cast<std::size_t>(map.count);
    axis.first.resize(count + kRowPadding);
    axis.fraction.resize(count + kRowPadding);
    for (std::size_t i = 0; i < count; ++i, position += step) {
        const std::int64_t whole = position >> kPositionBits;
        const bool hasNeighbour = whole >= 0 && whole < map.sourceCount - 1;
        axis.first[i] = static_cast<std::int32_t>(std::clamp<std::int64_t>(whole, 0, map.sourceCount - 1));
        const auto fraction =
            hasNeighbour ? static_cast<std::uint32_t>(position >> (kPositionBits - 16) & 0xFFFF) : 0;
        axis.fraction[i] = fraction | fraction << 16;
    }
    std::fill_n(axis.first.begin() + map.count, kRowPadding, axis.first[count - 1]);
    std::fill_n(axis.fraction.begin() + map.count, kRowPadding, 0);
}

// The part of a source pixel's length (1) that lies between two source positions.
double overlap(double begin, double end, int pixel) {
    return std::max(0.0, std::min(end, pixel + 1.0) - std::max(begin, static_cast<double>(pixel)));
}

void prepareBox(const Mapping& map, Resampling::Axis& axis) {
    // A box of length one weights the same two neighbours as bilinear does. So an axis that gets larger
    // beside one that gets smaller uses length one.
    const double length = std::max(1.0, 1 / map.scale);
    const int taps = std::min(static_cast<int>(std::ceil(length)) + 1, map.sourceCount);
    const auto count = static_cast<std::size_t>(map.count);
    axis.taps = taps;
    axis.stride = map.count + kRowPadding;
    axis.first.resize(count + kRowPadding);
    axis.weights.resize(static_cast<std::size_t>(axis.stride * taps));
    for (int i = 0; i < map.count; ++i) {
        const double begin = map.toSource(map.first + i + 0.5) - length / 2;
        const double end = begin + length;
        const int first = clampedInt(std::floor(begin), 0, map.sourceCount - taps);
        axis.first[static_cast<std::size_t>(i)] = first;
        double covered = 0;
        std::int64_t given = 0;
        for (int k = 0; k < taps; ++k) {
            const int pixel = first + k;
            covered += overlap(begin, end, pixel);
            if (pixel == 0) covered += std::max(0.0, -begin);
            const std::int64_t upTo =
                k == taps - 1 ? kWholeWeight : std::llround(covered / length * kWholeWeight);
            const auto weight = std::clamp<std::int64_t>(upTo - given, 0, kWholeWeight - 1);
            given = upTo;
            axis.weights[static_cast<std::size_t>(k * axis.stride + i)] =
                static_cast<std::uint32_t>(weight | weight << 16);
        }
    }
    std::fill_n(axis.first.begin() + map.count, kRowPadding, axis.first[count - 1]);
}

Filter filterFor(const Mapping& map) {
    if (isOnGrid(map)) return Filter::nearest;
    return map.scale >= 1 ? Filter::bilinear : Filter::box;
}

void prepareAxis(const Mapping& map, Filter ofBothAxes, Resampling::Axis& axis) {
    axis.filter = filterFor(map);
    axis.offset = static_cast<int>(std::lround(map.toSource(map.first)));
    if (ofBothAxes == Filter::box) {
        prepareBox(map, axis);
    } else if (axis.filter == Filter::bilinear) {
        prepareBilinear(map, axis);
    }
}

}  // namespace

PixelRect coveredPixels(const Rect& rect, const Placement& placement, const PixelRect& clip) {
    const double left = std::ceil(placement.tx + placement.sx * rect.minX() - 0.5);
    const double right = std::ceil(placement.tx + placement.sx * rect.maxX() - 0.5);
    const double top = std::floor(placement.ty - placement.sy * rect.maxY() - 0.5) + 1;
    const double bottom = std::floor(placement.ty - placement.sy * rect.minY() - 0.5) + 1;
    const int x0 = clampedInt(left, clip.x, clip.maxX());
    const int x1 = clampedInt(right, clip.x, clip.maxX());
    const int y0 = clampedInt(top, clip.y, clip.maxY());
    const int y1 = clampedInt(bottom, clip.y, clip.maxY());
    return {x0, y0, x1 - x0, y1 - y0};
}

void Resampling::prepare(const PixelBuffer& source, const Placement& placement, const PixelRect& box) {
    source_ = &source;
    box_ = box;
    const Mapping across{placement.tx, placement.sx, box.x, box.width, source.width()};
    const Mapping down{placement.ty - placement.sy * source.height(), placement.sy, box.y, box.height,
                       source.height()};
    filter_ = std::max(filterFor(across), filterFor(down));
    prepareAxis(across, filter_, columns_);
    prepareAxis(down, filter_, rows_);
}

}  // namespace kasto
