#pragma once

#include "base/Geometry.h"
#include "imaging/Image.h"
#include "imaging/kernels/Kernels.h"
#include "imaging/render/ColumnRun.h"
#include "imaging/render/Gradient.h"
#include "imaging/render/Resampling.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace kasto {

// One colour in the two forms that the kernels take.
struct Solid {
    FineColor fine;
    Pixel pixel = 0;
};

// A leaf of the recipe (a colour, a gradient or a buffer), drawn inside a box of the target.
struct Draw {
    enum class Leaf { solid, gradient, pixels };
    Leaf leaf = Leaf::solid;
    std::size_t index = 0;  // in the plan's list of such leaves
    PixelRect box;
    bool replaces = false;              // the layer's former pixels do not show through
    std::optional<std::size_t> disc{};  // pixels: the gradient that is opaque and transparent where they are
    bool endsInside = false;            // gradient: it is transparent before it reaches the target's edges
};

// One operation on a layer, inside a box. Layer 0 is the target's picture; the others are temporary and as
// large as the target.
struct Step {
    enum class Kind {
        clear,     // make transparent
        draw,      // lay `drawing` over the layer
        copy,      // copy layer `other` to the layer
        mix,       // mix layer `other` into the layer by the alpha of layer `mask`
        drawDisc,  // mix `drawing`, laid over `backdrop`, into the layer by the alpha of gradient `disc`: all
                   // of it inside the gradient's inner radius, none of it outside the outer one
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

// A recipe turned into a list of steps for one target, in the order in which they apply to each pixel.
// Transforms are resolved into the placements of the leaves and crops into the boxes, so every leaf is
// sampled only once. The plan's memory is reused for the next recipe. One thread compiles; any number read.
class RenderPlan {
public:
    // `bounds` is the part of image space that fills the target. The image must outlive the plan's use.
    void compile(const Image& image, int width, int height, const Rect& bounds);

    const std::vector<Step>& steps() const { return steps_; }
    const Solid& solid(std::size_t index) const { return solids_[index]; }
    const Gradient& gradient(std::size_t index) const { return gradients_[index]; }
    const Resampling& resampling(std::size_t index) const { return resamplings_[index]; }
    std::size_t resamplingCount() const { return resamplingCount_; }
    int layerCount() const { return layerCount_; }

    // The columns that a step may change in the rows [top, bottom) of its box.
    ColumnRun changedColumns(const Step& step, int top, int bottom) const;

    // The columns in which a step hides everything below it, in all of the target's rows [top, bottom).
    ColumnRun occludedColumns(const Step& step, int top, int bottom) const;

private:
    // The gradient that bounds the visible part of a step, if one does.
    std::optional<std::size_t> discOf(const Step& step) const;

    class Compiler;

    PixelRect whole_;
    std::vector<Step> steps_;
    std::vector<Solid> solids_;
    std::vector<Gradient> gradients_;
    std::vector<Resampling> resamplings_;  // those of former recipes stay, for their memory
    std::size_t resamplingCount_ = 0;
    int layerCount_ = 1;
    std::vector<char> isFresh_;  // by layer: nothing has been drawn to it yet
};

}  // namespace kasto
