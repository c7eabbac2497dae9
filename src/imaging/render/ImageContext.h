#pragma once

#include "base/Geometry.h"
#include "imaging/BlockSet.h"
#include "imaging/Image.h"
#include "imaging/PixelBuffer.h"

#include <memory>

namespace kasto {

// Draws images into pixel buffers. The whole recipe is drawn in one pass over strips of the target: a strip
// stays in the cache while it is composed and converted to the target's format.
//
// One thread at a time may use a context. The strips are spread over the context's own threads, which sleep
// between renders. Rendering a recipe of the same shape as an earlier one allocates nothing.
class ImageContext {
public:
    // `threads` counts the calling thread; at least 1.
    explicit ImageContext(int threads);
    ~ImageContext();
    ImageContext(const ImageContext&) = delete;
    ImageContext& operator=(const ImageContext&) = delete;

    // Fills the whole target with the part of the image inside `bounds`: a rectangle of image space with
    // whole-number edges and the size of the target. The target's top row is at the largest y. Transparent
    // parts of the image become black in i420 and bgrx targets, transparent in bgra. Colours are sRGB; an
    // i420 target gets BT.709 limited range.
    void render(const Image& image, PixelBuffer& target, const Rect& bounds);

    // The same, but draws only these blocks; the others keep their content. The set has the size of the
    // target.
    void render(const Image& image, PixelBuffer& target, const Rect& bounds, const BlockSet& blocks);

private:
    class Engine;
    std::unique_ptr<Engine> engine_;
};

}  // namespace kasto
