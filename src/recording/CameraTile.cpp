#include "recording/CameraTile.h"

#include <utility>

namespace kasto {

namespace {

// The newest, the one in the frame at hand, and the one being drawn.
constexpr int kMostBuffers = 3;

}  // namespace

Image TilePicture::image() const {
    const Rect bounds = tileBounds(place);
    Shape opaque = tileOpaque(place);
    opaque.rect = opaque.rect.translated(-bounds.x, -bounds.y);
    return Image::pixels(pixels, opaque).translated(bounds.x, bounds.y);
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
    if (!pool_ || pool_->width() != width || pool_->height() != height)
        pool_.emplace(PixelFormat::bgra, width, height, kMostBuffers);
    const PixelBufferRef pixels = pool_->take();
    if (!pixels) return;
    context_.render(tileAlone(*place, camera), *pixels, bounds);
    newest_.set({camera, *place, pixels});
}

}  // namespace kasto
