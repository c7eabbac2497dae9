#pragma once

#include "base/Geometry.h"
#include "imaging/Image.h"
#include "imaging/PixelBuffer.h"

#include <atomic>
#include <optional>
#include <variant>

namespace kasto {

// One operation of a recipe. Immutable once made and shared by every image built over it; the last image to
// go gives the node back to the pool.
struct ImageNode {
    struct RadialGradient {
        Point center;
        double radius0 = 0;
        double radius1 = 0;
        Color inner;
        Color outer;
    };
    struct Pixels {
        PixelBufferRef buffer;
        Disc disc;  // of no radius: nothing is known of the alpha
    };
    struct Crop {
        Image source;
        Rect rect;
    };
    struct Transform {  // scaled about the origin, then translated
        Image source;
        double sx = 1;
        double sy = 1;
        double dx = 0;
        double dy = 0;
    };
    struct Over {
        Image foreground;
        Image background;
    };
    struct Blend {
        Image foreground;
        Image background;
        Image mask;
    };
    using Operation = std::variant<Color, RadialGradient, Pixels, Crop, Transform, Over, Blend>;

    ImageNode(Operation what, std::optional<Rect> where) : operation(std::move(what)), extent(where) {}

    // The node below an image, or null if the image is empty.
    static const ImageNode* of(const Image& image) { return image.node_; }

    Operation operation;
    std::optional<Rect> extent;  // none: infinite
    mutable std::atomic<int> references = 1;
};

}  // namespace kasto
