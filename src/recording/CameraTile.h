#pragma once

#include "base/Guarded.h"
#include "imaging/Image.h"
#include "imaging/PixelBuffer.h"
#include "imaging/render/ImageContext.h"
#include "recording/TileImage.h"

#include <optional>

namespace kasto {

// The webcam's tile as it is to be seen in the movie, border and all.
struct TilePicture {
    PixelBufferRef camera;  // the picture it shows
    TilePlace place;
    PixelBufferRef pixels;  // bgra or bgrx; none if nothing has been drawn

    // At its place in image space.
    Image image() const;
};

// Draws the tile when a picture comes from the camera, beside the frames of the movie: a frame has only to
// lay it over the rest, twice for each picture of a common webcam.
class CameraTile {
public:
    // Where the tile is wanted from the next picture on, or that there is none; none at first. Any thread.
    void want(const std::optional<TilePlace>& place) { wanted_.set(place); }

    // Wants no tile any more and drops the one that was drawn. Any thread, while none is in draw().
    void end();

    // Draws the tile with this picture (bgra or bgrx), if it is wanted. One thread at a time.
    void draw(const PixelBufferRef& camera);

    // The tile that was drawn last. Any thread.
    TilePicture newest() const { return newest_.copy(); }

private:
    Guarded<std::optional<TilePlace>> wanted_;
    Guarded<TilePicture> newest_;

    // The drawing thread's.
    ImageContext context_{1};
    std::optional<PixelBufferPool> pool_;
};

}  // namespace kasto
