#include "imaging/RenderPlan.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kasto {

namespace {

std::uint32_t fineChannel(double level) {
    return static_cast<std::uint32_t>(std::lround(std::clamp(level, 0.0, 1.0) * 0xFF00));
}

FineColor fineColor(const Color& color) {
    const double alpha = std::clamp(color.alpha, 0.0, 1.0);
    return {fineChannel(color.blue * alpha) | fineChannel(color.red * alpha) << 16,
            fineChannel(color.green * alpha) | fineChannel(alpha) << 16};
}

Pixel wholeChannel(std::uint32_t fine) { return (fine + 128) >> 8; }

Pixel wholeColor(const FineColor& fine) {
    return wholeChannel(fine.blueRed & 0xFFFF) | wholeChannel(fine.greenAlpha & 0xFFFF) << 8 |
           wholeChannel(fine.blueRed >> 16) << 16 | wholeChannel(fine.greenAlpha >> 16) << 24;
}

Color opaque(Color color) {
    color.alpha = 1;
    return color;
}

template <class T>
const T* as(const ImageNode* node) {
    return std::get_if<T>(&node->operation);
}

}  // namespace

ColumnRun Gradient::columns(double radius, int row, ColumnRun within) const {
    const double y = (row + 0.5 - centerY) * unitsPerRow;
    const double squared = radius * radius - y * y;
    if (squared <= 0) return {within.begin, within.begin};
    const double half = std::sqrt(squared) * scaleX;
    // Columns are never negative, so that conversion rounds down.
    const auto clamped = [&](double column) {
        return static_cast<int>(
            std::clamp(column, static_cast<double>(within.begin), static_cast<double>(within.end)));
    };
    return {clamped(centerX - half - 0.5), clamped(centerX + half + 1.5)};
}

ColumnRun Gradient::columnsInside(double radius, int row, ColumnRun within) const {
    const ColumnRun around = columns(radius, row, {within.begin - 2, within.end + 2});
    return ColumnRun{around.begin + 2, around.end - 2}.intersection(within);
}

GradientRun Gradient::run(int row, int column) const {
    GradientRun run = constant;
    run.firstX = static_cast<float>((column + 0.5 - centerX) * run.stepX);
    run.firstY = static_cast<float>((row + 0.5 - centerY) * run.stepY);
    return run;
}

// Walks the recipe from the top down. `layer` is drawn to; layers from `freeLayer` on may be used.
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

    // The leaf a node is, seen through crops and transforms only.
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
        const Gradient gradient = placed(*as<ImageNode::RadialGradient>(leaf.node), leaf.view.placement);
        const PixelRect box = reach(gradient, leaf.view.clip);
        if (box.isEmpty()) return std::nullopt;
        plan_.gradients_.push_back(gradient);
        return Draw{.leaf = Draw::Leaf::gradient,
                    .index = plan_.gradients_.size() - 1,
                    .box = box,
                    .endsInside = gradient.vanishesOutside && box == reach(gradient, plan_.whole_)};
    }

    std::optional<Draw> preparedSolid(const Color& color, const View& view, bool onFreshLayer) {
        if (view.clip.isEmpty()) return std::nullopt;
        const FineColor fine = fineColor(color);
        const bool isOpaque = color.alpha >= 1;
        plan_.solids_.push_back({fine, wholeColor(fine)});
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
        // Where pixels are mixed, those beyond the disc would count.
        if (pixels.disc.visibleRadius > 0 && resampling.way() == Resampling::Way::copy) {
            const Disc& disc = pixels.disc;
            plan_.gradients_.push_back(placed(
                {disc.center, disc.opaqueRadius, disc.visibleRadius, {}, {0, 0, 0, 0}}, view.placement));
            drawing.disc = plan_.gradients_.size() - 1;
        }
        return drawing;
    }

    static Gradient placed(const ImageNode::RadialGradient& gradient, const Placement& at) {
        return {.centerX = at.tx + at.sx * gradient.center.x,
                .centerY = at.ty - at.sy * gradient.center.y,
                .scaleX = at.sx,
                .unitsPerRow = 1 / at.sy,
                .radius0 = gradient.radius0,
                .radius1 = gradient.radius1,
                .isOpaqueInside = gradient.inner.alpha >= 1,
                .vanishesOutside = gradient.outer.alpha <= 0,
                .constant = {.stepX = static_cast<float>(1 / at.sx),
                             .stepY = static_cast<float>(1 / at.sy),
                             .radius0 = static_cast<float>(gradient.radius0),
                             .perRadius = static_cast<float>(1 / (gradient.radius1 - gradient.radius0)),
                             .inner = fineColor(gradient.inner),
                             .outer = fineColor(gradient.outer),
                             .innerColor = wholeColor(fineColor(opaque(gradient.inner))),
                             .innerAlpha = static_cast<float>(std::clamp(gradient.inner.alpha, 0.0, 1.0))}};
    }

    // The part of the clip outside of which the gradient is transparent.
    static PixelRect reach(const Gradient& gradient, const PixelRect& clip) {
        if (!gradient.vanishesOutside) return clip;
        const double radius = gradient.radius1;
        const Placement circle{gradient.scaleX, 1 / gradient.unitsPerRow, gradient.centerX, gradient.centerY};
        return coveredPixels({-radius, -radius, 2 * radius, 2 * radius}, circle, clip);
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
        const PixelRect maskBox = reachOfMask(blend.mask, view);
        if (maskBox.isEmpty()) return draw(blend.background, view, layer, freeLayer);

        // Both pictures lie over what the layer holds. Where that is nothing yet, the background may be drawn
        // to the layer itself before the foreground.
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

    // The common round mask over a simple picture, or one over a colour, needs no layers.
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
        const Gradient disc = placed(*gradient, maskLeaf->view.placement);
        if (!disc.isOpaqueInside || !disc.vanishesOutside) return false;
        const auto drawing = prepared(*frontLeaf, !backColor);
        if (!drawing) return false;
        plan_.gradients_.push_back(disc);
        plan_.steps_.push_back({.kind = Step::Kind::drawDisc,
                                .layer = layer,
                                .box = maskView.clip,
                                .drawing = *drawing,
                                .disc = plan_.gradients_.size() - 1,
                                .backdrop = backColor ? wholeColor(fineColor(*backColor)) : 0});
        isFresh(layer) = false;
        return true;
    }

    // Target pixels outside of which the mask is transparent.
    static PixelRect reachOfMask(const Image& mask, const View& view) {
        const ImageNode* node = ImageNode::of(mask);
        if (!node) return {};
        if (const auto leaf = leafOf(node, view)) {
            const auto* gradient = as<ImageNode::RadialGradient>(leaf->node);
            if (gradient) return reach(placed(*gradient, leaf->view.placement), leaf->view.clip);
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

std::optional<std::size_t> RenderPlan::discOf(const Step& step) const {
    if (step.kind == Step::Kind::drawDisc) return step.disc;
    if (step.kind != Step::Kind::draw || step.drawing.replaces) return std::nullopt;
    return step.drawing.leaf == Draw::Leaf::gradient ? step.drawing.index : step.drawing.disc;
}

ColumnRun RenderPlan::touchedColumns(const Step& step, int top, int bottom) const {
    const ColumnRun whole = columnsOf(step.box);
    const auto disc = discOf(step);
    if (!disc || !gradients_[*disc].vanishesOutside) return whole;
    const Gradient& gradient = gradients_[*disc];
    const int widest = std::clamp(static_cast<int>(std::floor(gradient.centerY)), top, bottom - 1);
    return gradient.columns(gradient.radius1, widest, whole);
}

ColumnRun RenderPlan::coveredColumns(const Step& step, int top, int bottom) const {
    const Draw& drawing = step.drawing;
    const auto disc = discOf(step);
    const bool isOpaqueDisc =
        disc && (step.kind == Step::Kind::drawDisc ? drawing.replaces : drawing.leaf == Draw::Leaf::pixels);
    const bool isOpaque = step.kind == Step::Kind::draw && drawing.replaces;
    if (!isOpaque && !isOpaqueDisc) return {};
    if (step.layer != 0 || top < drawing.box.y || bottom > drawing.box.maxY()) return {};
    const ColumnRun columns = columnsOf(drawing.box);
    if (isOpaque) return columns;
    // A disc is narrowest at one of its ends.
    const Gradient& gradient = gradients_[*disc];
    return gradient.columnsInside(gradient.radius0, top, columns)
        .intersection(gradient.columnsInside(gradient.radius0, bottom - 1, columns));
}

}  // namespace kasto
