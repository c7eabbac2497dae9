#pragma once

#include "base/Geometry.h"
#include "imaging/BlockSet.h"
#include "imaging/Image.h"
#include "imaging/PixelBuffer.h"

#include <memory>

namespace kasto {

// Draws images into pixel buffers. The whole recipe is worked through in one pass over strips of the target
// that stay in the cache, each converted to the target's format while it is hot.
//
// One thread at a time; the strips are spread over threads of the context's own, which sleep between renders.
// Once warm, a render of a recipe of the same shape allocates nothing.
class ImageContext {
public:
    // `threads` workers in all, the caller's thread included; at least 1.
    explicit ImageContext(int threads);
    ~ImageContext();
    ImageContext(const ImageContext&) = delete;
    ImageContext& operator=(const ImageContext&) = delete;

    // Fills the whole target with the part of the image inside `bounds` (image space, whole numbers, the size
    // of the target); the top row of the target is the one at the largest y. What the image leaves
    // transparent becomes black in i420 and bgrx, transparent in bgra. Colours are sRGB; an i420 target gets
    // BT.709 limited range.
    void render(const Image& image, PixelBuffer& target, const Rect& bounds);

    // The same for these blocks of the target only, whose size the set has; the others stay as they are.
    void render(const Image& image, PixelBuffer& target, const Rect& bounds, const BlockSet& blocks);

private:
    class Engine;
    std::unique_ptr<Engine> engine_;
};

}  // namespace kasto
