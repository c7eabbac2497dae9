#include "imaging/render/ImageContext.h"

#include "imaging/render/RenderPlan.h"
#include "imaging/render/StripPainter.h"
#include "imaging/render/WorkerPool.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <vector>

namespace kasto {

namespace {

// A thread draws one strip at a time. Strips are small enough to spread evenly over the threads, and large
// enough that the source rows which two neighbouring strips both sample count little.
constexpr int kStripRows = 32;
static_assert(kStripRows % BlockSet::kSidePx == 0);

// Waking a thread costs about as much as drawing this many blocks.
constexpr int kBlocksWorthAThread = 256;

}  // namespace

class ImageContext::Engine {
public:
    explicit Engine(int threads)
        : pool_(threads), painters_(static_cast<std::size_t>(std::max(threads, 1))) {}

    void render(const Image& image, PixelBuffer& target, const Rect& bounds, const BlockSet* only) {
        plan_.compile(image, target.width(), target.height(), bounds);
        rows_ = target.height();
        const int strips = (rows_ + kStripRows - 1) / kStripRows;
        only_ = only;
        const int worthwhile = only ? 1 + only->count() / kBlocksWorthAThread : strips;
        const int workers = std::min({pool_.workers(), strips, worthwhile});
        for (int i = 0; i < workers; ++i) {
            painters_[static_cast<std::size_t>(i)].begin(plan_, target);
        }
        nextStrip_ = 0;
        pool_.run(workers, &Engine::paint, this);
    }

private:
    static void paint(void* context, int worker) {
        auto& engine = *static_cast<Engine*>(context);
        StripPainter& painter = engine.painters_[static_cast<std::size_t>(worker)];
        while (true) {
            const int top = engine.nextStrip_.fetch_add(1, std::memory_order_relaxed) * kStripRows;
            if (top >= engine.rows_) return;
            painter.paint(top, std::min(top + kStripRows, engine.rows_), engine.only_);
        }
    }

    WorkerPool pool_;
    RenderPlan plan_;
    std::vector<StripPainter> painters_;
    int rows_ = 0;
    const BlockSet* only_ = nullptr;
    std::atomic<int> nextStrip_ = 0;
};

ImageContext::ImageContext(int threads) : engine_(std::make_unique<Engine>(threads)) {}

ImageContext::~ImageContext() = default;

void ImageContext::render(const Image& image, PixelBuffer& target, const Rect& bounds) {
    engine_->render(image, target, bounds, nullptr);
}

void ImageContext::render(const Image& image, PixelBuffer& target, const Rect& bounds,
                          const BlockSet& blocks) {
    engine_->render(image, target, bounds, &blocks);
}

}  // namespace kasto
