#include "linux/x11/capture/ReadPlan.h"

#include <algorithm>

namespace kasto::x11 {

namespace {

// The fixed cost of a request, as a number of pixels that could be read in that time.
constexpr std::int64_t kRequestCostPx = 8192;

// Joining compares each rectangle with each other: for more than this many it takes longer than it saves.
constexpr std::size_t kMaxRects = 128;

// If more than this part of the area is needed, all of it is read.
constexpr double kMaxShare = 0.6;

std::int64_t areaOf(const PixelRect& rect) { return static_cast<std::int64_t>(rect.width) * rect.height; }

PixelRect boundsOf(const PixelRect& a, const PixelRect& b) {
    const int left = std::min(a.x, b.x);
    const int top = std::min(a.y, b.y);
    return {left, top, std::max(a.maxX(), b.maxX()) - left, std::max(a.maxY(), b.maxY()) - top};
}

bool mergeOnePass(std::vector<PixelRect>& rects) {
    for (std::size_t i = 0; i < rects.size(); ++i) {
        for (std::size_t j = i + 1; j < rects.size(); ++j) {
            const auto bounds = boundsOf(rects[i], rects[j]);
            if (areaOf(bounds) > areaOf(rects[i]) + areaOf(rects[j]) + kRequestCostPx) continue;
            rects[i] = bounds;
            rects.erase(rects.begin() + static_cast<std::ptrdiff_t>(j));
            return true;
        }
    }
    return false;
}

}  // namespace

std::vector<PixelRect> planReads(const Region& needed, const PixelRect& area) {
    if (needed.isEmpty()) return {};
    if (static_cast<double>(needed.areaPx()) > kMaxShare * static_cast<double>(areaOf(area))) return {area};
    auto rects = needed.rects();
    if (rects.size() > kMaxRects) return {needed.bounds()};
    while (mergeOnePass(rects)) {
    }
    std::int64_t total = 0;
    for (const auto& rect : rects) total += areaOf(rect);
    if (static_cast<double>(total) > kMaxShare * static_cast<double>(areaOf(area))) return {area};
    return rects;
}

}  // namespace kasto::x11
