#include "recording/CameraTile.h"

#include <utility>

namespace kasto {

namespace {

// The newest, the one in the frame at hand, and the one being drawn.
constexpr int kMostBuffers = 3;

}  // namespace

Image TilePicture::image() const {
    const Rect bounds = tileBounds(place);
    Disc disc = tileDisc(place);
    disc.center.x -= bounds.x;
    disc.center.y -= bounds.y;
    const Image image = place.isRound ? Image::pixels(pixels, disc) : Image::pixels(pixels);
    return image.translated(bounds.x, bounds.y);
}

void CameraTile::end() {
    wanted_.set({});
    newest_.set({});
}

void CameraTile::draw(const PixelBufferRef& camera) {
    const auto place = wanted_.copy();
    if (!place || !camera) return;
    const Rect bounds = tileBounds(*place);
    const int width = static_cast<int>(bounds.width);
    const int height = static_cast<int>(bounds.height);
    if (width <= 0 || height <= 0) return;
    const PixelFormat format = place->isRound ? PixelFormat::bgra : PixelFormat::bgrx;
    if (!pool_ || pool_->format() != format || pool_->width() != width || pool_->height() != height)
        pool_.emplace(format, width, height, kMostBuffers);
    const PixelBufferRef pixels = pool_->take();
    if (!pixels) return;
    context_.render(tileAlone(*place, camera), *pixels, bounds);
    newest_.set({camera, *place, pixels});
}

}  // namespace kasto
