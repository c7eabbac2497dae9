#include "imaging/ImageNode.h"
#include "imaging/render/RenderPlan.h"

#include <algorithm>
#include <utility>

namespace kasto {

namespace {

// How a node of the recipe is seen in the target.
struct View {
    Placement placement;
    PixelRect clip;
};

struct Leaf {
    const ImageNode* node;
    View view;
};

template <class T>
const T* as(const ImageNode* node) {
    return std::get_if<T>(&node->operation);
}

}  // namespace

// Walks the recipe from its root to its leaves. Each function draws to `layer` and may use the layers from
// `freeLayer` on.
class RenderPlan::Compiler {
public:
    explicit Compiler(RenderPlan& plan) : plan_(plan) {}

    void beginLayer(int layer, const PixelRect& box) {
        plan_.layerCount_ = std::max(plan_.layerCount_, layer + 1);
        plan_.isFresh_.resize(static_cast<std::size_t>(plan_.layerCount_));
        isFresh(layer) = true;
        plan_.steps_.push_back({.kind = Step::Kind::clear, .layer = layer, .box = box});
    }

    void draw(const Image& image, const View& view, int layer, int freeLayer) {
        const ImageNode* node = ImageNode::of(image);
        if (!node || view.clip.isEmpty()) return;
        if (const auto leaf = leafOf(node, view)) {
            if (const auto drawing = prepared(*leaf, isFresh(layer))) addDrawing(layer, *drawing);
        } else if (const auto* crop = as<ImageNode::Crop>(node)) {
            draw(crop->source, inside(*crop, view), layer, freeLayer);
        } else if (const auto* transform = as<ImageNode::Transform>(node)) {
            draw(transform->source, below(*transform, view), layer, freeLayer);
        } else if (const auto* over = as<ImageNode::Over>(node)) {
            draw(over->background, view, layer, freeLayer);
            draw(over->foreground, view, layer, freeLayer);
        } else if (const auto* blend = as<ImageNode::Blend>(node)) {
            drawBlend(*blend, view, layer, freeLayer);
        }
    }

private:
    char& isFresh(int layer) { return plan_.isFresh_[static_cast<std::size_t>(layer)]; }

    static View inside(const ImageNode::Crop& crop, const View& view) {
        return {view.placement, coveredPixels(crop.rect, view.placement, view.clip)};
    }

    static View below(const ImageNode::Transform& transform, const View& view) {
        return {view.placement.translated(transform.dx, transform.dy).scaled(transform.sx, transform.sy),
                view.clip};
    }

    // The leaf below a node, if nothing but crops and transforms lies between.
    static std::optional<Leaf> leafOf(const ImageNode* node, View view) {
        while (node) {
            if (const auto* crop = as<ImageNode::Crop>(node)) {
                view = inside(*crop, view);
                node = ImageNode::of(crop->source);
            } else if (const auto* transform = as<ImageNode::Transform>(node)) {
                view = below(*transform, view);
                node = ImageNode::of(transform->source);
            } else if (as<ImageNode::Over>(node) || as<ImageNode::Blend>(node)) {
                return std::nullopt;
            } else {
                return Leaf{node, view};
            }
        }
        return std::nullopt;
    }

    std::optional<Draw> prepared(const Leaf& leaf, bool onFreshLayer) {
        if (const auto* color = as<Color>(leaf.node)) return preparedSolid(*color, leaf.view, onFreshLayer);
        if (const auto* pixels = as<ImageNode::Pixels>(leaf.node)) {
            return preparedPixels(*pixels, leaf.view, onFreshLayer);
        }
        const Gradient gradient =
            Gradient::placed(*as<ImageNode::RadialGradient>(leaf.node), leaf.view.placement);
        const PixelRect box = gradient.visibleBox(leaf.view.clip);
        if (box.isEmpty()) return std::nullopt;
        plan_.gradients_.push_back(gradient);
        return Draw{.leaf = Draw::Leaf::gradient,
                    .index = plan_.gradients_.size() - 1,
                    .box = box,
                    .endsInside = gradient.vanishesOutside && box == gradient.visibleBox(plan_.whole_)};
    }

    std::optional<Draw> preparedSolid(const Color& color, const View& view, bool onFreshLayer) {
        if (view.clip.isEmpty()) return std::nullopt;
        const FineColor fine = fineColor(color);
        const bool isOpaque = color.alpha >= 1;
        plan_.solids_.push_back({fine, roundedColor(fine)});
        return Draw{.leaf = Draw::Leaf::solid,
                    .index = plan_.solids_.size() - 1,
                    .box = view.clip,
                    .replaces = isOpaque || onFreshLayer};
    }

    std::optional<Draw> preparedPixels(const ImageNode::Pixels& pixels, const View& view, bool onFreshLayer) {
        const PixelBuffer& buffer = *pixels.buffer;
        const Rect extent{0, 0, static_cast<double>(buffer.width()), static_cast<double>(buffer.height())};
        const PixelRect box = coveredPixels(extent, view.placement, view.clip);
        if (box.isEmpty()) return std::nullopt;
        if (plan_.resamplingCount_ == plan_.resamplings_.size()) plan_.resamplings_.emplace_back();
        Resampling& resampling = plan_.resamplings_[plan_.resamplingCount_];
        resampling.prepare(buffer, view.placement, box);
        Draw drawing{.leaf = Draw::Leaf::pixels,
                     .index = plan_.resamplingCount_++,
                     .box = box,
                     .replaces = resampling.isOpaque() || onFreshLayer};
        // A filter that mixes neighbours would count pixels outside the disc; only nearest may use it.
        if (pixels.disc.visibleRadius > 0 && resampling.filter() == Filter::nearest) {
            const Disc& disc = pixels.disc;
            plan_.gradients_.push_back(Gradient::placed(
                {disc.center, disc.opaqueRadius, disc.visibleRadius, {}, {0, 0, 0, 0}}, view.placement));
            drawing.disc = plan_.gradients_.size() - 1;
        }
        return drawing;
    }

    void addDrawing(int layer, const Draw& drawing) {
        Step step{.kind = Step::Kind::draw, .layer = layer, .box = drawing.box, .drawing = drawing};
        Step& last = plan_.steps_.back();
        const bool coversClear = drawing.replaces && last.kind == Step::Kind::clear && last.layer == layer &&
                                 last.box == drawing.box;
        if (coversClear) {
            last = step;
        } else {
            plan_.steps_.push_back(step);
        }
        isFresh(layer) = false;
    }

    void drawBlend(const ImageNode::Blend& blend, const View& view, int layer, int freeLayer) {
        const PixelRect maskBox = visibleBoxOfMask(blend.mask, view);
        if (maskBox.isEmpty()) return draw(blend.background, view, layer, freeLayer);

        // Both pictures are laid over the layer's content. If it has none yet, the background is drawn to the
        // layer itself, and only the foreground needs a layer of its own.
        const View maskView{view.placement, maskBox};
        const int front = freeLayer;
        if (isFresh(layer)) {
            draw(blend.background, view, layer, freeLayer);
            if (drawDisc(blend, maskView, layer)) return;
            beginLayer(front, maskBox);
            draw(blend.foreground, maskView, front, freeLayer + 1);
        } else {
            beginLayer(front, maskBox);
            plan_.steps_.back() = {.kind = Step::Kind::copy, .layer = front, .box = maskBox, .other = layer};
            isFresh(front) = false;
            draw(blend.foreground, maskView, front, freeLayer + 1);
            draw(blend.background, view, layer, freeLayer + 1);
        }
        const int mask = freeLayer + 1;
        beginLayer(mask, maskBox);
        draw(blend.mask, maskView, mask, freeLayer + 2);
        plan_.steps_.push_back(
            {.kind = Step::Kind::mix, .layer = layer, .box = maskBox, .other = front, .mask = mask});
        isFresh(layer) = false;
    }

    // A round mask over a single leaf, or over a leaf laid over an opaque colour, needs no further layers:
    // drawDisc mixes it in place. False if the blend is none of these.
    bool drawDisc(const ImageNode::Blend& blend, const View& maskView, int layer) {
        const ImageNode* front = ImageNode::of(blend.foreground);
        const auto* over = front ? as<ImageNode::Over>(front) : nullptr;
        const ImageNode* back = over ? ImageNode::of(over->background) : nullptr;
        const auto* backColor = back ? as<Color>(back) : nullptr;
        if (backColor && backColor->alpha >= 1) front = ImageNode::of(over->foreground);
        const auto frontLeaf = front ? leafOf(front, maskView) : std::nullopt;
        const auto maskLeaf = leafOf(ImageNode::of(blend.mask), maskView);
        if (!frontLeaf || as<ImageNode::RadialGradient>(frontLeaf->node) || !maskLeaf) return false;
        const auto* gradient = as<ImageNode::RadialGradient>(maskLeaf->node);
        if (!gradient) return false;
        const Gradient disc = Gradient::placed(*gradient, maskLeaf->view.placement);
        if (!disc.isOpaqueInside || !disc.vanishesOutside) return false;
        const auto drawing = prepared(*frontLeaf, !backColor);
        if (!drawing) return false;
        plan_.gradients_.push_back(disc);
        plan_.steps_.push_back({.kind = Step::Kind::drawDisc,
                                .layer = layer,
                                .box = maskView.clip,
                                .drawing = *drawing,
                                .disc = plan_.gradients_.size() - 1,
                                .backdrop = backColor ? roundedColor(fineColor(*backColor)) : 0});
        isFresh(layer) = false;
        return true;
    }

    // The target pixels outside of which the mask is transparent.
    static PixelRect visibleBoxOfMask(const Image& mask, const View& view) {
        const ImageNode* node = ImageNode::of(mask);
        if (!node) return {};
        if (const auto leaf = leafOf(node, view)) {
            const auto* gradient = as<ImageNode::RadialGradient>(leaf->node);
            if (gradient)
                return Gradient::placed(*gradient, leaf->view.placement).visibleBox(leaf->view.clip);
        }
        return node->extent ? coveredPixels(*node->extent, view.placement, view.clip) : view.clip;
    }

    RenderPlan& plan_;
};

void RenderPlan::compile(const Image& image, int width, int height, const Rect& bounds) {
    steps_.clear();
    solids_.clear();
    gradients_.clear();
    resamplingCount_ = 0;
    layerCount_ = 1;
    whole_ = {0, 0, width, height};
    Compiler compiler(*this);
    compiler.beginLayer(0, whole_);
    compiler.draw(image, {{1, 1, -bounds.x, bounds.y + height}, whole_}, 0, 1);
}

}  // namespace kasto
