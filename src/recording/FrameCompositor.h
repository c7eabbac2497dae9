#pragma once

#include "base/Geometry.h"
#include "imaging/BlockSet.h"
#include "imaging/Image.h"
#include "imaging/PixelBuffer.h"
#include "imaging/render/ImageContext.h"
#include "recording/FrameChanges.h"
#include "recording/FrameIngredients.h"

#include <vector>

namespace kasto {

// Makes the frames of the movie: pulses on the screen's picture, zoom and pan, the webcam tile. Where a frame
// is as it was when its buffer was last used, it is not composed again. Knows nothing of times and writers.
// One thread at a time.
class FrameCompositor {
public:
    FrameCompositor();

    // Begins a movie of this size in pixels. Nothing of the one before is kept.
    void begin(int width, int height);

    // Drops the buffer it keeps and what it knows of others: the next frame is composed whole.
    void end();

    // The finished frame in a buffer of the pool (any format an ImageContext draws into), or none if the pool
    // has none to give. When nothing differs from the frame before, this is the same buffer again. Buffers
    // are not to be written to by others; all frames of a movie come from one pool, which outlives its movie.
    PixelBufferRef compose(const FrameIngredients& ingredients, PixelBufferPool& pool);

    // Where the newest frame may differ from the one that was composed before it.
    const BlockSet& changed() const { return changed_; }

    // The frame as an image, in image space; its part inside the movie's bounds is the picture.
    Image frame(const FrameIngredients& ingredients) const;

    // One pulse or held disc around a point in capture pixels: fully coloured within 0.55 of the radius,
    // faded out at the radius.
    Image disc(Point at, double radius, double alpha) const;

private:
    Rect flipped(const Rect& px) const;
    Image withTile(const Image& image, const FrameIngredients& ingredients) const;
    BlockSet& staleOf(const PixelBuffer& buffer);

    ImageContext context_;
    double outW_ = 0;
    double outH_ = 0;

    // A buffer of the pool, and where it does not show what the next frame shows.
    struct Drawn {
        const PixelBuffer* buffer;
        BlockSet stale;
    };

    FrameChanges changes_;
    std::vector<Drawn> drawn_;
    BlockSet pending_;  // between the newest frame and what is to be shown now
    BlockSet changed_;
    PixelBufferRef last_;
};

}  // namespace kasto
