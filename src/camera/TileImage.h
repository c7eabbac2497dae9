#pragma once

#include "base/Geometry.h"
#include "imaging/Image.h"
#include "imaging/PixelBuffer.h"

#include <algorithm>

namespace kasto {

// Where the webcam's tile lies in the movie, in pixels of the frame: origin top-left, y downward.
struct TilePlace {
    Size frame;            // the movie's size
    Rect tile;             // without its border
    bool isRound = false;  // a circle; `tile` is a square then

    bool operator==(const TilePlace&) const = default;
};

// How far the tile's border reaches beyond the tile, in pixels of the frame.
inline double tileBorderWidth(double frameWidth) {
    constexpr double kOfWidth = 1.0 / 800;
    constexpr double kMinPx = 3;
    return std::max(frameWidth * kOfWidth, kMinPx);
}

// The image, scaled until it covers the whole rectangle (image space), centred on it and cut to it. An image
// without bounds, such as a plain colour, is only cut.
Image place(const Image& image, const Rect& into);

// The frame (image space) with the tile and its border on it. Without a picture of the camera the tile has a
// plain colour.
Image withTile(const Image& frame, const TilePlace& place, const PixelBufferRef& camera);

// The tile and its border alone. Laid over a frame it looks the same as withTile().
Image tileAlone(const TilePlace& place, const PixelBufferRef& camera);

// The part of image space that the tile and its border cover: whole pixels inside the frame. It is opaque,
// except for a round tile, whose opaque part is `tileDisc`.
Rect tileBounds(const TilePlace& place);
Disc tileDisc(const TilePlace& place);

}  // namespace kasto
