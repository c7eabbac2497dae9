#include "camera/TilePainter.h"

namespace kasto {

namespace {

// One buffer is the newest tile, one is in the frame being composed, and one is being drawn.
constexpr int kMaxBuffers = 3;

}  // namespace

Image TilePicture::image() const {
    const Rect bounds = tileBounds(place);
    Disc disc = tileDisc(place);
    disc.center.x -= bounds.x;
    disc.center.y -= bounds.y;
    const Image image = place.isRound ? Image::pixels(pixels, disc) : Image::pixels(pixels);
    return image.translated(bounds.x, bounds.y);
}

TilePicture TilePainter::draw(const PixelBufferRef& camera, const TilePlace& place) {
    TilePicture tile{.camera = camera, .place = place};
    const Rect bounds = tileBounds(place);
    const int width = static_cast<int>(bounds.width);
    const int height = static_cast<int>(bounds.height);
    if (width <= 0 || height <= 0) return tile;
    const PixelFormat format = place.isRound ? PixelFormat::bgra : PixelFormat::bgrx;
    if (!pool_ || pool_->format() != format || pool_->width() != width || pool_->height() != height)
        pool_.emplace(format, width, height, kMaxBuffers);
    tile.pixels = pool_->take();
    if (tile.pixels) context_.render(tileAlone(place, camera), *tile.pixels, bounds);
    return tile;
}

}  // namespace kasto
