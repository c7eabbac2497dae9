#pragma once

#include "base/Geometry.h"
#include "imaging/Image.h"
#include "imaging/ImageContext.h"
#include "imaging/PixelBuffer.h"
#include "model/RenderSnapshot.h"

#include <cstdint>

namespace kasto {

// The newest picture of the screen.
struct ScreenPicture {
    PixelBufferRef pixels;         // bgrx or bgra, of the movie's size
    std::uint64_t generation = 0;  // two pictures of one generation show the same
};

// All that one frame of the movie is made from.
struct FrameIngredients {
    ScreenPicture screen;
    RenderSnapshot snapshot;
    PixelBufferRef camera;  // none shows the tile without a picture
};

// Makes the frames of the movie: pulses on the screen's picture, zoom and pan, the webcam tile. Knows nothing
// of times and writers. One thread at a time.
class FrameCompositor {
public:
    FrameCompositor();

    // Begins a movie of this size in pixels. Nothing of the one before is kept.
    void begin(int width, int height);

    // Drops the buffer it keeps.
    void end();

    // The finished frame in a buffer of the pool (any format an ImageContext draws into), or none if the pool
    // has none to give. When nothing differs from the frame before, this is the same buffer again, which must
    // not be written to.
    PixelBufferRef compose(const FrameIngredients& ingredients, PixelBufferPool& pool);

    // The frame as an image, in image space; its part inside the movie's bounds is the picture.
    Image frame(const FrameIngredients& ingredients) const;

    // One pulse or held disc around a point in capture pixels: fully coloured within 0.55 of the radius,
    // faded out at the radius.
    Image disc(Point at, double radius, double alpha) const;

    // The image, scaled to cover the whole rectangle (image space), centred and cut to it. An image without
    // bounds is just cut.
    static Image place(const Image& image, const Rect& into);

private:
    Rect flipped(const Rect& px) const;
    Image withTile(const Image& picture, const Rect& tilePx, bool round, const PixelBufferRef& camera) const;
    bool isUnchanged(const FrameIngredients& ingredients) const;

    ImageContext context_;
    double outW_ = 0;
    double outH_ = 0;

    // The frame before, and what it was made from. The screen's picture itself is not kept.
    PixelBufferRef last_;
    std::uint64_t lastGeneration_ = 0;
    RenderSnapshot lastSnapshot_;
    PixelBufferRef lastCamera_;
};

}  // namespace kasto
