#include "imaging/Image.h"

#include "base/Guarded.h"
#include "imaging/ImageNode.h"

#include <cstddef>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace kasto {

namespace {

// Memory for nodes. It grows by blocks and never shrinks, because a frame's recipe is made and dropped up to
// sixty times a second.
class NodePool {
public:
    // Never destroyed, because images of static lifetime may be dropped after any other static object.
    static NodePool& shared() {
        static NodePool& pool = *new NodePool;
        return pool;
    }

    const ImageNode* make(ImageNode::Operation operation, std::optional<Rect> extent) {
        return new (takeSlot()) ImageNode(std::move(operation), extent);
    }

    void drop(const ImageNode* node) {
        node->~ImageNode();
        auto* slot = new (const_cast<ImageNode*>(node)) Slot;
        shelf_.with([&](Shelf& shelf) { slot->next = std::exchange(shelf.free, slot); });
    }

private:
    static constexpr std::size_t kBlockNodes = 128;

    union Slot {
        Slot() : next(nullptr) {}
        Slot* next;
        alignas(ImageNode) std::byte memory[sizeof(ImageNode)];
    };
    struct Shelf {
        Slot* free = nullptr;
        std::vector<std::unique_ptr<Slot[]>> blocks;
    };

    void* takeSlot() {
        return shelf_.with([](Shelf& shelf) {
            if (!shelf.free) {
                auto& block = shelf.blocks.emplace_back(new Slot[kBlockNodes]);
                for (std::size_t i = 0; i < kBlockNodes; ++i) {
                    block[i].next = std::exchange(shelf.free, &block[i]);
                }
            }
            return std::exchange(shelf.free, shelf.free->next);
        });
    }

    Guarded<Shelf> shelf_;
};

const ImageNode* makeNode(ImageNode::Operation operation, std::optional<Rect> extent) {
    return NodePool::shared().make(std::move(operation), extent);
}

std::optional<Rect> unitedExtent(const Image& a, const Image& b) {
    const auto extentA = a.extent();
    const auto extentB = b.extent();
    if (!extentA || !extentB) return std::nullopt;
    return extentA->united(*extentB);
}

}  // namespace

Image::Image() = default;

Image::Image(const ImageNode* node) : node_(node) {}

Image::Image(const Image& other) : node_(other.node_) {
    if (node_) node_->references.fetch_add(1, std::memory_order_relaxed);
}

Image::Image(Image&& other) noexcept : node_(std::exchange(other.node_, nullptr)) {}

Image& Image::operator=(Image other) noexcept {
    std::swap(node_, other.node_);
    return *this;
}

Image::~Image() {
    if (node_ && node_->references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        NodePool::shared().drop(node_);
    }
}

Image Image::color(const Color& color) { return Image(makeNode(color, std::nullopt)); }

Image Image::radialGradient(Point center, double radius0, const Color& inner, double radius1,
                            const Color& outer) {
    if (!(radius0 >= 0 && radius0 < radius1)) return {};
    return Image(makeNode(ImageNode::RadialGradient{center, radius0, radius1, inner, outer}, std::nullopt));
}

Image Image::pixels(PixelBufferRef buffer) { return pixels(std::move(buffer), Disc()); }

Image Image::pixels(PixelBufferRef buffer, const Disc& disc) {
    if (!buffer || buffer->format() == PixelFormat::i420) return {};
    const Rect extent{0, 0, static_cast<double>(buffer->width()), static_cast<double>(buffer->height())};
    return Image(makeNode(ImageNode::Pixels{std::move(buffer), disc}, extent));
}

Image Image::cropped(const Rect& rect) const {
    if (!node_) return {};
    const Rect inside = node_->extent ? node_->extent->intersection(rect) : rect;
    if (inside.isEmpty()) return {};
    return Image(makeNode(ImageNode::Crop{*this, rect}, inside));
}

Image Image::translated(double dx, double dy) const {
    if (!node_ || (dx == 0 && dy == 0)) return *this;
    auto extent = node_->extent;
    if (extent) extent = extent->translated(dx, dy);
    return Image(makeNode(ImageNode::Transform{*this, 1, 1, dx, dy}, extent));
}

Image Image::scaled(double sx, double sy) const {
    if (!(sx > 0 && sy > 0)) return {};
    if (!node_ || (sx == 1 && sy == 1)) return *this;
    auto extent = node_->extent;
    if (extent) extent = Rect{extent->x * sx, extent->y * sy, extent->width * sx, extent->height * sy};
    return Image(makeNode(ImageNode::Transform{*this, sx, sy, 0, 0}, extent));
}

Image Image::over(const Image& background) const {
    if (!node_) return background;
    if (!background.node_) return *this;
    return Image(makeNode(ImageNode::Over{*this, background}, unitedExtent(*this, background)));
}

Image Image::blend(const Image& foreground, const Image& background, const Image& mask) {
    if (!mask.node_) return background;
    if (!foreground.node_ && !background.node_) return {};
    return Image(
        makeNode(ImageNode::Blend{foreground, background, mask}, unitedExtent(foreground, background)));
}

std::optional<Rect> Image::extent() const { return node_ ? node_->extent : Rect{}; }

}  // namespace kasto
