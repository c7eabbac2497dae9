#include "recording/FrameCompositor.h"

#include "base/AccentColour.h"
#include "recording/FrameGeometry.h"

#include <algorithm>
#include <thread>

namespace kasto {

namespace {

constexpr Color kPulse{AccentColour::kRed, AccentColour::kGreen, AccentColour::kBlue, 1};
constexpr Color kBlack{0, 0, 0, 1};
constexpr double kPulseInnerRadius = 0.55;  // of the radius

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
    Image image = fitted(ingredients.screen.pixels);
    for (const RippleDisc& pulse : snapshot.ripples)
        image = disc(pulse.center, pulse.radius, pulse.alpha).over(image);
    if (snapshot.heldDisc)
        image =
            disc(snapshot.heldDisc->center, snapshot.heldDisc->radius, snapshot.heldDisc->alpha).over(image);

    const Rect crop = flipped(drawnCrop(snapshot.cropPx));
    image = image.cropped(crop).translated(-crop.x, -crop.y).scaled(outW_ / crop.width, outH_ / crop.height);

    return snapshot.camRect ? withTile(image, ingredients) : image;
}

Image FrameCompositor::fitted(const PixelBufferRef& picture) const {
    const Image image = Image::pixels(picture);
    const Size size = sizeOf(*picture);
    if (size == Size{outW_, outH_}) return image;
    const Rect px = flipped(fittedPx(size, {outW_, outH_}));
    const Image black = Image::color(kBlack).cropped({0, 0, outW_, outH_});
    return image.scaled(px.width / size.width, px.height / size.height).translated(px.x, px.y).over(black);
}

Image FrameCompositor::disc(Point at, double radius, double alpha) const {
    const Point center{at.x, outH_ - at.y};
    return Image::radialGradient(center, kPulseInnerRadius * radius, withAlpha(kPulse, alpha), radius,
                                 withAlpha(kPulse, 0))
        .cropped(discBounds(center, radius));
}

Image FrameCompositor::withTile(const Image& image, const FrameIngredients& ingredients) const {
    const RenderSnapshot& snapshot = ingredients.snapshot;
    const TilePlace place{{outW_, outH_}, *snapshot.camRect, snapshot.camRound};
    const TilePicture& tile = ingredients.tile;
    if (tile.pixels && tile.place == place) return tile.image().over(image);
    return kasto::withTile(image, place, tile.camera);
}

Rect FrameCompositor::flipped(const Rect& px) const { return {px.x, outH_ - px.maxY(), px.width, px.height}; }

}  // namespace kasto
