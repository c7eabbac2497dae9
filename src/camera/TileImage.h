#pragma once

#include "base/Geometry.h"
#include "imaging/Image.h"
#include "imaging/PixelBuffer.h"

#include <algorithm>

namespace kasto {

// Where the webcam's tile lies in a movie. All in pixels of the frame: origin top-left, y downward.
struct TilePlace {
    Size frame;  // of the movie
    Rect tile;   // without its border
    bool isRound = false;

    bool operator==(const TilePlace&) const = default;
};

// How far the webcam tile's border reaches beyond the tile.
inline double tileBorderWidth(double frameWidth) {
    constexpr double kOfWidth = 1.0 / 800;
    constexpr double kNarrowestPx = 3;
    return std::max(frameWidth * kOfWidth, kNarrowestPx);
}

// The image, scaled to cover the whole rectangle (image space), centred and cut to it. An image without
// bounds is just cut.
Image place(const Image& image, const Rect& into);

// A frame (image space) with the tile and its border on it. Without a picture of the camera the tile shows a
// plain colour.
Image withTile(const Image& frame, const TilePlace& place, const PixelBufferRef& camera);

// The tile and its border without a frame. Laid over one it looks as withTile() does.
Image tileAlone(const TilePlace& place, const PixelBufferRef& camera);

// The part of image space that tile and border need: whole pixels inside the frame. All of it is opaque
// unless the tile is round; it is this disc then.
Rect tileBounds(const TilePlace& place);
Disc tileDisc(const TilePlace& place);

}  // namespace kasto
