#include "camera/TileImage.h"

#include <algorithm>
#include <cmath>

namespace kasto {

namespace {

constexpr Color kTileBorder{0.05, 0.05, 0.06, 1};
constexpr Color kNoCamera{0.09, 0.09, 0.11, 1};
constexpr Color kBlack{0, 0, 0, 1};
constexpr double kEdgeSoftnessPx = 1;  // on either side of a round edge

// A TilePlace in image space, which has its origin bottom-left and y upward.
struct Layout {
    Rect frame;
    Rect tile;
    double borderWidth;

    double radius() const { return std::min(tile.width, tile.height) / 2; }
    Rect framed() const { return tile.grown(borderWidth); }

    // Opaque in a circle around the tile's centre, with a soft edge; transparent outside.
    Image circleMask(double radius) const {
        return Image::radialGradient({tile.midX(), tile.midY()}, radius - kEdgeSoftnessPx, Color{1, 1, 1, 1},
                                     radius + kEdgeSoftnessPx, Color{1, 1, 1, 0});
    }
};

Layout layoutOf(const TilePlace& place) {
    const Rect& px = place.tile;
    return {.frame = {0, 0, place.frame.width, place.frame.height},
            .tile = {px.x, place.frame.height - px.maxY(), px.width, px.height},
            .borderWidth = tileBorderWidth(place.frame.width)};
}

Image contentOf(const Layout& layout, const PixelBufferRef& camera) {
    return place(camera ? Image::pixels(camera) : Image::color(kNoCamera), layout.tile);
}

Image borderOf(const Layout& layout) { return Image::color(kTileBorder).cropped(layout.framed()); }

Image blended(const Image& content, const Image& border, const Image& frame, const Layout& layout) {
    const Image borderMask = layout.circleMask(layout.borderWidth + layout.radius()).cropped(layout.frame);
    return Image::blend(content, Image::blend(border, frame, borderMask), layout.circleMask(layout.radius()));
}

}  // namespace

Image place(const Image& image, const Rect& into) {
    const auto extent = image.extent();
    if (!extent || extent->isEmpty()) return image.cropped(into);
    const double s = std::max(into.width / extent->width, into.height / extent->height);
    return image.scaled(s, s)
        .translated(into.midX() - extent->midX() * s, into.midY() - extent->midY() * s)
        .cropped(into);
}

Image withTile(const Image& frame, const TilePlace& place, const PixelBufferRef& camera) {
    const Layout layout = layoutOf(place);
    const Image content = contentOf(layout, camera);
    const Image border = borderOf(layout);
    return place.isRound ? blended(content, border, frame, layout) : content.over(border.over(frame));
}

// The soft edges of the round masks reach a pixel beyond the picture and the border that they cut. There
// withTile() blends the frame with nothing, which a movie shows as black. The black layers here make this
// image look the same.
Image tileAlone(const TilePlace& place, const PixelBufferRef& camera) {
    const Layout layout = layoutOf(place);
    const Image content = contentOf(layout, camera);
    const Image border = borderOf(layout);
    if (!place.isRound) return content.over(border);
    const Image black = Image::color(kBlack);
    return blended(content.over(black), border.over(black), {}, layout);
}

Rect tileBounds(const TilePlace& place) {
    const Layout layout = layoutOf(place);
    if (place.isRound) return layout.framed().grown(kEdgeSoftnessPx).intersection(layout.frame).integral();
    // The pixels whose centres are inside the border.
    const Rect framed = layout.framed().intersection(layout.frame);
    const double x = std::ceil(framed.minX() - 0.5);
    const double y = std::ceil(framed.minY() - 0.5);
    return {x, y, std::ceil(framed.maxX() - 0.5) - x, std::ceil(framed.maxY() - 0.5) - y};
}

Disc tileDisc(const TilePlace& place) {
    const Layout layout = layoutOf(place);
    const double radius = layout.borderWidth + layout.radius();
    return {{layout.tile.midX(), layout.tile.midY()}, radius - kEdgeSoftnessPx, radius + kEdgeSoftnessPx};
}

}  // namespace kasto
