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

// Composes the frames of the movie: draws the pulses on the screen's picture, crops and scales it to the
// view, and lays the webcam tile over it. A picture that has not the movie's size is first fitted into the
// frame, on black. A buffer that held an earlier frame is redrawn only where that frame differs from the new
// one. One thread at a time.
class FrameCompositor {
public:
    FrameCompositor();

    // Begins a movie of this size in pixels. Everything known about the movie before is dropped.
    void begin(int width, int height);

    // Releases the last frame's buffer and forgets what the pool's buffers hold: the next frame is drawn as a
    // whole. To be called too when a frame was not written, because its dirty blocks are lost then.
    void end();

    // The frame in a buffer of the pool (any format an ImageContext draws into), or none if the pool has no
    // free buffer. If nothing differs from the frame before, this is the same buffer again. All frames of a
    // movie come from one pool, which outlives the movie, and only the compositor writes to its buffers.
    PixelBufferRef compose(const FrameIngredients& ingredients, PixelBufferPool& pool);

    // The blocks in which the newest frame may differ from the frame composed before it.
    const BlockSet& changed() const { return changed_; }

    // The frame as an image, in image space. Only the part inside the movie's bounds is drawn.
    Image frame(const FrameIngredients& ingredients) const;

    // One pulse or held disc around a point in capture pixels: fully coloured within 0.55 of the radius,
    // faded out at the radius.
    Image disc(Point at, double radius, double alpha) const;

private:
    Rect flipped(const Rect& px) const;
    Image fitted(const PixelBufferRef& picture) const;
    Image withTile(const Image& image, const FrameIngredients& ingredients) const;
    BlockSet& staleOf(const PixelBuffer& buffer);

    ImageContext context_;
    double outW_ = 0;
    double outH_ = 0;

    // A buffer of the pool, and the blocks in which it does not show what the next frame shows.
    struct Drawn {
        const PixelBuffer* buffer;
        BlockSet stale;
    };

    FrameChanges changes_;
    std::vector<Drawn> drawn_;
    BlockSet pending_;     // dirty since the newest frame, including ticks for which the pool had no buffer
    BlockSet changed_;     // dirty between the newest frame and the one before it
    PixelBufferRef last_;  // the newest frame
};

}  // namespace kasto
