#include "recording/FrameCompositor.h"

#include "recording/FrameGeometry.h"

#include <algorithm>
#include <thread>

namespace kasto {

namespace {

constexpr Color kPulse{0.92, 0.26, 0.30, 1};
constexpr Color kTileBorder{0.05, 0.05, 0.06, 1};
constexpr Color kNoCamera{0.09, 0.09, 0.11, 1};
constexpr double kPulseInnerRadius = 0.55;  // of the radius
constexpr double kEdgeSoftnessPx = 1;       // either side of a round edge

// The encoder needs the cores more than the compositor does: beyond three threads a frame gains little, and
// one core stays free of it.
int contextThreads() {
    const int cores = static_cast<int>(std::thread::hardware_concurrency());
    return std::clamp(cores - 1, 1, 3);
}

Color withAlpha(Color color, double alpha) {
    color.alpha = alpha;
    return color;
}

// Opaque in a circle, with a soft edge.
Image circleMask(Point center, double radius) {
    return Image::radialGradient(center, radius - kEdgeSoftnessPx, Color{1, 1, 1, 1},
                                 radius + kEdgeSoftnessPx, Color{1, 1, 1, 0});
}

}  // namespace

FrameCompositor::FrameCompositor() : context_(contextThreads()) {}

void FrameCompositor::begin(int width, int height) {
    end();
    outW_ = width;
    outH_ = height;
    changes_.begin(width, height);
    pending_ = changed_ = BlockSet(width, height);
}

void FrameCompositor::end() {
    changes_.end();
    drawn_.clear();
    pending_.clear();
    last_ = {};
}

PixelBufferRef FrameCompositor::compose(const FrameIngredients& ingredients, PixelBufferPool& pool) {
    const BlockSet& changed = changes_.update(ingredients);
    for (Drawn& drawn : drawn_) drawn.stale.add(changed);
    pending_.add(changed);
    const bool isUnchanged = last_ && pending_.isEmpty();
    const PixelBufferRef buffer = isUnchanged ? last_ : pool.take();
    if (!buffer) return {};
    if (!isUnchanged) {
        BlockSet& stale = staleOf(*buffer);
        context_.render(frame(ingredients), *buffer, {0, 0, outW_, outH_}, stale);
        stale.clear();
        last_ = buffer;
    }
    std::swap(changed_, pending_);
    pending_.clear();
    return buffer;
}

BlockSet& FrameCompositor::staleOf(const PixelBuffer& buffer) {
    const auto known = std::ranges::find(drawn_, &buffer, &Drawn::buffer);
    if (known != drawn_.end()) return known->stale;
    drawn_.push_back({&buffer, BlockSet::all(buffer.width(), buffer.height())});
    return drawn_.back().stale;
}

Image FrameCompositor::frame(const FrameIngredients& ingredients) const {
    const RenderSnapshot& snapshot = ingredients.snapshot;
    Image image = Image::pixels(ingredients.screen.pixels);
    for (const RippleDisc& pulse : snapshot.ripples)
        image = disc(pulse.center, pulse.radius, pulse.alpha).over(image);
    if (snapshot.heldDisc)
        image =
            disc(snapshot.heldDisc->center, snapshot.heldDisc->radius, snapshot.heldDisc->alpha).over(image);

    const Rect crop = flipped(snapshot.cropPx);
    image = image.cropped(crop).translated(-crop.x, -crop.y).scaled(outW_ / crop.width, outH_ / crop.height);

    if (snapshot.camRect) image = withTile(image, *snapshot.camRect, snapshot.camRound, ingredients.camera);
    return image;
}

Image FrameCompositor::disc(Point at, double radius, double alpha) const {
    const Point center{at.x, outH_ - at.y};
    return Image::radialGradient(center, kPulseInnerRadius * radius, withAlpha(kPulse, alpha), radius,
                                 withAlpha(kPulse, 0))
        .cropped(discBounds(center, radius));
}

Image FrameCompositor::place(const Image& image, const Rect& into) {
    const auto extent = image.extent();
    if (!extent || extent->isEmpty()) return image.cropped(into);
    const double s = std::max(into.width / extent->width, into.height / extent->height);
    return image.scaled(s, s)
        .translated(into.midX() - extent->midX() * s, into.midY() - extent->midY() * s)
        .cropped(into);
}

Image FrameCompositor::withTile(const Image& picture, const Rect& tilePx, bool round,
                                const PixelBufferRef& camera) const {
    const Rect tile = flipped(tilePx);
    const double borderWidth = tileBorderWidth(outW_);
    const Image border = Image::color(kTileBorder).cropped(tile.grown(borderWidth));
    const Image content = place(camera ? Image::pixels(camera) : Image::color(kNoCamera), tile);
    if (!round) return content.over(border.over(picture));

    const Point center{tile.midX(), tile.midY()};
    const double radius = std::min(tile.width, tile.height) / 2;
    Image borderMask = circleMask(center, borderWidth + radius);
    if (const auto extent = picture.extent()) borderMask = borderMask.cropped(*extent);
    const Image framed = Image::blend(border, picture, borderMask);
    return Image::blend(content, framed, circleMask(center, radius));
}

Rect FrameCompositor::flipped(const Rect& px) const { return {px.x, outH_ - px.maxY(), px.width, px.height}; }

}  // namespace kasto
