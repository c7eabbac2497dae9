#include "overlay/DashedOutline.h"

#include <algorithm>
#include <cmath>

namespace kasto {

namespace {

constexpr double kLinePts = 2;
constexpr double kOnPts = 8;
constexpr double kOffPts = 6;
constexpr double kPatternS = 0.45;  // the time in which the dashes move by one dash and gap

int toPixel(double value) {
    constexpr double kFar = 1e6;  // larger than any screen, yet sums of such values fit into an int
    return static_cast<int>(std::lround(std::clamp(value, -kFar, kFar)));
}

void addInside(std::vector<PixelRect>& rects, const PixelRect& rect, const PixelRect& view) {
    const auto inside = rect.intersection(view);
    if (!inside.isEmpty()) rects.push_back(inside);
}

// The dashes of one side of the line, of which `firstSeen` to `lastSeen` are in the view. `place` is called
// with the begin and end of each dash, in pixels along the side.
template <class Place>
void addDashes(const DashedOutline& outline, double sideStart, int sideLength, int firstSeen, int lastSeen,
               Place&& place) {
    // A dash that reaches the end of a side fills the corner.
    const double overlap = outline.linePx / 2.0;
    const double pattern = outline.onPx + outline.offPx;
    const double begin = sideStart + outline.phasePx;
    const auto first = std::floor((begin + firstSeen - overlap) / pattern);
    for (double n = first; n * pattern - begin < std::min<double>(lastSeen, sideLength) + overlap; ++n) {
        double from = n * pattern - begin;
        double to = from + outline.onPx;
        if (to <= 0 || from >= sideLength) continue;
        if (from < 0) from = -overlap;
        if (to > sideLength) to = sideLength + overlap;
        place(toPixel(from + overlap), toPixel(to + overlap));
    }
}

}  // namespace

DashedOutline dashedOutline(const Rect& path, double scale, double timeS) {
    DashedOutline outline;
    outline.linePx = std::max(1, toPixel(kLinePts * scale));
    outline.onPx = kOnPts * scale;
    outline.offPx = kOffPts * scale;
    const double phase = std::fmod(timeS, kPatternS) / kPatternS * (kOnPts + kOffPts);
    outline.phasePx = toPixel(std::floor(phase * scale));
    const auto outer = path.grown(kLinePts / 2);
    const int left = toPixel(outer.minX() * scale);
    const int top = toPixel(outer.minY() * scale);
    const int width = toPixel(outer.maxX() * scale) - left;
    const int height = toPixel(outer.maxY() * scale) - top;
    if (std::min(width, height) >= 2 * outline.linePx) outline.outerPx = {left, top, width, height};
    return outline;
}

std::vector<PixelRect> DashedOutline::sides(const PixelRect& view) const {
    std::vector<PixelRect> rects;
    const auto& outer = outerPx;
    const int inner = outer.height - 2 * linePx;
    addInside(rects, {outer.x, outer.y, outer.width, linePx}, view);
    addInside(rects, {outer.x, outer.maxY() - linePx, outer.width, linePx}, view);
    addInside(rects, {outer.x, outer.y + linePx, linePx, inner}, view);
    addInside(rects, {outer.maxX() - linePx, outer.y + linePx, linePx, inner}, view);
    return rects;
}

std::vector<PixelRect> DashedOutline::dashes(const PixelRect& view) const {
    std::vector<PixelRect> rects;
    if (outerPx.isEmpty()) return rects;
    const auto& outer = outerPx;
    const int across = outer.width - linePx;
    const int down = outer.height - linePx;
    const int left = view.x - outer.x;
    const int right = view.maxX() - outer.x;
    const int top = view.y - outer.y;
    const int bottom = view.maxY() - outer.y;
    addDashes(*this, 0, across, left, right, [&](int from, int to) {
        addInside(rects, {outer.x + from, outer.y, to - from, linePx}, view);
    });
    addDashes(*this, across, down, top, bottom, [&](int from, int to) {
        addInside(rects, {outer.maxX() - linePx, outer.y + from, linePx, to - from}, view);
    });
    addDashes(*this, across + down, across, outer.width - right, outer.width - left, [&](int from, int to) {
        addInside(rects, {outer.maxX() - to, outer.maxY() - linePx, to - from, linePx}, view);
    });
    const auto addLeft = [&](int from, int to) {
        addInside(rects, {outer.x, outer.maxY() - to, linePx, to - from}, view);
    };
    addDashes(*this, 2.0 * across + down, down, outer.height - bottom, outer.height - top, addLeft);
    return rects;
}

}  // namespace kasto
