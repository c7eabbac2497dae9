#include "imaging/ImageContext.h"

#include "imaging/RenderPlan.h"
#include "imaging/StripPainter.h"
#include "imaging/WorkerPool.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <vector>

namespace kasto {

namespace {

// What one strip of the target may take of a core's second level cache.
constexpr int kStripBytes = 128 * 1024;
constexpr int kMaxStripRows = 64;

int stripRowsFor(int width) {
    return std::clamp(kStripBytes / (width * static_cast<int>(sizeof(Pixel))) / 2 * 2, 2, kMaxStripRows);
}

}  // namespace

class ImageContext::Engine {
public:
    explicit Engine(int threads)
        : pool_(threads), painters_(static_cast<std::size_t>(std::max(threads, 1))) {}

    void render(const Image& image, PixelBuffer& target, const Rect& bounds) {
        plan_.compile(image, target.width(), target.height(), bounds);
        rows_ = target.height();
        stripRows_ = stripRowsFor(target.width());
        const int strips = (rows_ + stripRows_ - 1) / stripRows_;
        const int workers = std::min(pool_.workers(), strips);
        for (int i = 0; i < workers; ++i) {
            painters_[static_cast<std::size_t>(i)].begin(plan_, target, stripRows_);
        }
        nextStrip_ = 0;
        pool_.run(workers, &Engine::paint, this);
    }

private:
    static void paint(void* context, int worker) {
        auto& engine = *static_cast<Engine*>(context);
        StripPainter& painter = engine.painters_[static_cast<std::size_t>(worker)];
        while (true) {
            const int top = engine.nextStrip_.fetch_add(1, std::memory_order_relaxed) * engine.stripRows_;
            if (top >= engine.rows_) return;
            painter.paint(top, std::min(top + engine.stripRows_, engine.rows_));
        }
    }

    WorkerPool pool_;
    RenderPlan plan_;
    std::vector<StripPainter> painters_;
    int rows_ = 0;
    int stripRows_ = 2;
    std::atomic<int> nextStrip_ = 0;
};

ImageContext::ImageContext(int threads) : engine_(std::make_unique<Engine>(threads)) {}

ImageContext::~ImageContext() = default;

void ImageContext::render(const Image& image, PixelBuffer& target, const Rect& bounds) {
    engine_->render(image, target, bounds);
}

}  // namespace kasto
