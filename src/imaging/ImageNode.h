#pragma once

#include "base/Geometry.h"
#include "imaging/Image.h"
#include "imaging/PixelBuffer.h"

#include <atomic>
#include <optional>
#include <variant>

namespace kasto {

// One operation of a recipe. Immutable, and shared by all images made from it. The last image that drops its
// reference returns the node to the pool.
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
        Disc disc;  // visibleRadius 0: the shape is not known
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
    std::optional<Rect> extent;  // nullopt = infinite
    mutable std::atomic<int> references = 1;
};

}  // namespace kasto
