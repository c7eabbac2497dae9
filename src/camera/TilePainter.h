#pragma once

#include "camera/TileImage.h"
#include "imaging/Image.h"
#include "imaging/PixelBuffer.h"
#include "imaging/render/ImageContext.h"

#include <optional>

namespace kasto {

// A picture of the webcam, and the tile that was drawn from it.
struct TilePicture {
    PixelBufferRef camera = {};  // bgra or bgrx; none while no camera delivers
    TilePlace place = {};        // where the drawn tile goes
    PixelBufferRef pixels = {};  // the drawn tile with its border; none if it has not been drawn

    // The drawn tile at its place, in image space.
    Image image() const;
};

// Draws the webcam's tile into a buffer of its own. One thread at a time.
class TilePainter {
public:
    // The tile of this picture at this place. Its pixels are none where the place is empty or no buffer is
    // free.
    TilePicture draw(const PixelBufferRef& camera, const TilePlace& place);

private:
    ImageContext context_{1};
    std::optional<PixelBufferPool> pool_;  // for tiles of the place drawn last
};

}  // namespace kasto
