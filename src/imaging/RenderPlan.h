#pragma once

#include "base/Geometry.h"
#include "imaging/ColumnRun.h"
#include "imaging/Image.h"
#include "imaging/ImageNode.h"
#include "imaging/Kernels.h"
#include "imaging/Resampling.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace kasto {

// One colour, ready for the kernels.
struct Solid {
    FineColor fine;
    Pixel pixel = 0;
};

// A radial gradient in the target: an ellipse where the axes are scaled differently.
struct Gradient {
    double centerX = 0;  // target pixels, the origin at the top left corner
    double centerY = 0;
    double scaleX = 1;  // target pixels to one unit of the radii
    double unitsPerRow = 1;
    double radius0 = 0;
    double radius1 = 0;
    bool isOpaqueInside = false;
    bool vanishesOutside = false;
    GradientRun constant{};  // without its place

    // The columns inside `within` that hold every centre nearer than a radius on a row, and at most one more
    // at each end.
    ColumnRun columns(double radius, int row, ColumnRun within) const;

    // The columns inside `within` whose centres are all nearer than a radius on a row, but for at most one at
    // each end.
    ColumnRun columnsInside(double radius, int row, ColumnRun within) const;

    // What the kernels need to know from a row and a column on.
    GradientRun run(int row, int column) const;
};

// A picture without parts, drawn inside a box.
struct Draw {
    enum class Leaf { solid, gradient, pixels };
    Leaf leaf = Leaf::solid;
    std::size_t index = 0;  // in the plan's list of such leaves
    PixelRect box;
    bool replaces = false;              // what was there before does not shine through
    std::optional<std::size_t> disc{};  // pixels that are opaque and transparent as this gradient is
    bool endsInside = false;            // a gradient that is transparent before it reaches the box's edges
};

// One thing to do to a layer, inside a box. Layer 0 is the target, the others are as large and temporary.
struct Step {
    enum class Kind {
        clear,     // make transparent
        draw,      // `drawing` over the layer
        copy,      // `other` to the layer
        mix,       // `other` over the layer's pixels, by the alpha of `mask`
        drawDisc,  // `drawing` instead of the layer's pixels, by the alpha of gradient `disc`, which is full
                   // inside its inner radius and none outside the other; `backdrop` lies below the drawing
    };
    Kind kind = Kind::clear;
    int layer = 0;
    PixelRect box{};
    Draw drawing{};
    int other = 0;
    int mask = 0;
    std::size_t disc = 0;
    Pixel backdrop = 0;
};

// A recipe turned into a list of steps for one target, in the order they are to be done for each pixel.
// Transforms have gone down to the leaves and crops into the boxes: every leaf is sampled just once. The
// memory is used again for the next recipe.
class RenderPlan {
public:
    // `bounds` is the part of image space that fills the target.
    void compile(const Image& image, int width, int height, const Rect& bounds);

    const std::vector<Step>& steps() const { return steps_; }
    const Solid& solid(std::size_t index) const { return solids_[index]; }
    const Gradient& gradient(std::size_t index) const { return gradients_[index]; }
    const Resampling& resampling(std::size_t index) const { return resamplings_[index]; }
    std::size_t resamplingCount() const { return resamplingCount_; }
    int layerCount() const { return layerCount_; }

    // The columns of a step that its rows [top, bottom) may change.
    ColumnRun touchedColumns(const Step& step, int top, int bottom) const;

    // The columns where a step leaves nothing to be seen of what was there before in the target's rows
    // [top, bottom).
    ColumnRun coveredColumns(const Step& step, int top, int bottom) const;

private:
    // The gradient that tells where a step's drawing ends, if it does.
    std::optional<std::size_t> discOf(const Step& step) const;

    struct View {
        Placement placement;
        PixelRect clip;
    };
    struct Leaf {
        const ImageNode* node;
        View view;
    };
    class Compiler;

    PixelRect whole_;
    std::vector<Step> steps_;
    std::vector<Solid> solids_;
    std::vector<Gradient> gradients_;
    std::vector<Resampling> resamplings_;
    std::size_t resamplingCount_ = 0;
    int layerCount_ = 1;
    std::vector<char> isFresh_;  // by layer: nothing drawn yet
};

}  // namespace kasto
