// Measures how long frames take to compose on one thread, beside the time that other libraries take for the
// conversion or the scaling alone. Names end in the height of the frame; bench/imaging-ratios sums them up.

#include "AllocationCount.h"
#include "camera/TilePainter.h"
#include "imaging/Image.h"
#include "imaging/PixelBuffer.h"
#include "imaging/render/ImageContext.h"
#include "recording/FrameCompositor.h"

#include <benchmark/benchmark.h>
#include <libyuv.h>

extern "C" {
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <vector>

namespace {

using namespace kasto;

constexpr int kPulseCount = 24;

struct View {
    double zoom;
    Point originPx;
};

// A picture like a desktop: large even areas, edges and some noise.
PixelBufferRef desktopPicture(int width, int height) {
    auto buffer = PixelBuffer::make(PixelFormat::bgrx, width, height);
    std::mt19937 random(1);
    const Plane& plane = buffer->plane(0);
    for (int row = 0; row < height; ++row) {
        auto* line = reinterpret_cast<std::uint32_t*>(plane.data + row * plane.strideBytes);
        for (int column = 0; column < width; ++column) {
            const auto block = static_cast<std::uint32_t>((row / 40 * 31 + column / 90 * 17) * 0x050301);
            line[column] = row / 200 % 2 ? block : block ^ static_cast<std::uint32_t>(random());
        }
    }
    return buffer;
}

class Scene {
public:
    explicit Scene(int height)
        : height_(height),
          width_(height * 16 / 9),
          screen_(desktopPicture(width_, height)),
          target_(PixelBuffer::make(PixelFormat::i420, width_, height)),
          pulses_(pulses()),
          place_{.frame = {1.0 * width_, 1.0 * height},
                 .tile = {width_ * 0.8 - 24, height * 1.0 - width_ * 0.2 - 24, width_ * 0.2, width_ * 0.2},
                 .isRound = true} {
        compositor_.begin(width_, height);
        ingredients_.screen.pixels = screen_;
        ingredients_.tile.camera = desktopPicture(1280, 720);
        ingredients_.snapshot.camRound = place_.isRound;
        drawTile();
    }

    int width() const { return width_; }
    int height() const { return height_; }
    const PixelBuffer& screen() const { return *screen_; }
    PixelBuffer& target() { return *target_; }
    Rect bounds() const { return {0, 0, static_cast<double>(width_), static_cast<double>(height_)}; }

    Image frame(const View& view, bool hasEffects) {
        auto& snapshot = ingredients_.snapshot;
        snapshot.cropPx = {view.originPx.x, view.originPx.y, width_ / view.zoom, height_ / view.zoom};
        snapshot.ripples = hasEffects ? pulses_ : RippleDiscs();
        snapshot.camRect.reset();
        if (hasEffects) snapshot.camRect = place_.tile;
        return compositor_.frame(ingredients_);
    }

    // Draws one picture of the webcam as the tile, which is done once for each picture and not for each
    // frame.
    void drawTile() { ingredients_.tile = painter_.draw(ingredients_.tile.camera, place_); }

private:
    // Pulses of every age, inside the crop of the zoomed frame and outside of it.
    RippleDiscs pulses() const {
        RippleDiscs pulses;
        const double scale = height_ > 1440 ? 2 : 1;
        for (int i = 0; i < kPulseCount; ++i) {
            const Point at{width_ * (0.06 + 0.037 * i), height_ * (0.9 - 0.8 * (i * 7 % 24) / 24)};
            pulses.push_back({at, scale * (14 + (58.0 - 14) * i / (kPulseCount - 1)), 0.6});
        }
        return pulses;
    }

    int height_;
    int width_;
    PixelBufferRef screen_;
    PixelBufferRef target_;
    RippleDiscs pulses_;
    TilePlace place_;
    FrameCompositor compositor_;
    TilePainter painter_;
    FrameIngredients ingredients_;
};

View whole() { return {1, {0, 0}}; }

View zoomed(const Scene& scene) { return {2, {scene.width() * 0.22 + 0.37, scene.height() * 0.24 + 0.61}}; }

// One way to fill the scene's target. Its time is measured.
using Work = std::function<void()>;

Work composing(Scene& scene, const View& view, bool hasEffects) {
    auto context = std::make_shared<ImageContext>(1);
    return [&scene, view, hasEffects, context] {
        context->render(scene.frame(view, hasEffects), scene.target(), scene.bounds());
    };
}

Work frame(Scene& scene) { return composing(scene, whole(), false); }
Work frameWithEffects(Scene& scene) { return composing(scene, whole(), true); }
Work cameraTile(Scene& scene) {
    return [&scene] { scene.drawTile(); };
}
Work zoomedFrame(Scene& scene) { return composing(scene, zoomed(scene), false); }
Work zoomedFrameWithEffects(Scene& scene) { return composing(scene, zoomed(scene), true); }

void convertByLibyuv(const Plane& pixels, PixelBuffer& target) {
    const Plane& y = target.plane(0);
    const Plane& u = target.plane(1);
    const Plane& v = target.plane(2);
    libyuv::ARGBToI420(pixels.data, static_cast<int>(pixels.strideBytes), y.data,
                       static_cast<int>(y.strideBytes), u.data, static_cast<int>(u.strideBytes), v.data,
                       static_cast<int>(v.strideBytes), target.width(), target.height());
}

Work libyuvConvert(Scene& scene) {
    return [&scene] { convertByLibyuv(scene.screen().plane(0), scene.target()); };
}

const std::uint8_t* zoomedOrigin(const Scene& scene) {
    const Plane& screen = scene.screen().plane(0);
    const Point origin = zoomed(scene).originPx;
    return screen.data + static_cast<int>(origin.y) * screen.strideBytes + static_cast<int>(origin.x) * 4;
}

Work libyuvZoom(Scene& scene) {
    const auto scaled = PixelBuffer::make(PixelFormat::bgrx, scene.width(), scene.height());
    return [&scene, scaled] {
        const Plane& to = scaled->plane(0);
        libyuv::ARGBScale(zoomedOrigin(scene), static_cast<int>(scene.screen().plane(0).strideBytes),
                          scene.width() / 2, scene.height() / 2, to.data, static_cast<int>(to.strideBytes),
                          scene.width(), scene.height(), libyuv::kFilterBilinear);
        convertByLibyuv(to, scene.target());
    };
}

Work swscaleZoom(Scene& scene) {
    const std::shared_ptr<SwsContext> context(
        sws_getContext(scene.width() / 2, scene.height() / 2, AV_PIX_FMT_BGR0, scene.width(), scene.height(),
                       AV_PIX_FMT_YUV420P, SWS_BILINEAR, nullptr, nullptr, nullptr),
        sws_freeContext);
    return [&scene, context] {
        const std::uint8_t* const from[] = {zoomedOrigin(scene)};
        const int fromStrides[] = {static_cast<int>(scene.screen().plane(0).strideBytes)};
        std::uint8_t* to[3];
        int toStrides[3];
        for (int i = 0; i < 3; ++i) {
            to[i] = scene.target().plane(i).data;
            toStrides[i] = static_cast<int>(scene.target().plane(i).strideBytes);
        }
        sws_scale(context.get(), from, fromStrides, 0, scene.height() / 2, to, toStrides);
    };
}

using Maker = Work (*)(Scene&);

double seconds(const Work& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// Runs two ways by turns, frame by frame, so that both meet the same caches and the same load of the machine.
// The reported time is that of the first way, "ratio" is the median of first to second. Fails where composing
// allocates memory.
void compare(benchmark::State& state, Maker makeFirst, Maker makeSecond) {
    Scene scene(static_cast<int>(state.range(0)));
    const Work first = makeFirst(scene);
    const Work second = makeSecond(scene);
    std::vector<double> ratios;
    std::vector<double> seconds2;
    first();
    second();
    for (auto _ : state) {
        const long before = bench::allocationCount();
        const double time = seconds(first);
        if (bench::allocationCount() != before) {
            state.SkipWithError("a frame allocates memory");
            break;
        }
        state.SetIterationTime(time);
        seconds2.push_back(seconds(second));
        ratios.push_back(time / seconds2.back());
    }
    if (ratios.empty()) return;
    state.counters["ratio"] = median(ratios);
    state.counters["second_us"] = median(seconds2) * 1e6;
}

void heights(benchmark::internal::Benchmark* benchmark) {
    for (const int height : {720, 1080, 1440, 2160}) benchmark->Arg(height);
    benchmark->Unit(benchmark::kMicrosecond)->UseManualTime();
}

BENCHMARK_CAPTURE(compare, frame_libyuvConvert, frame, libyuvConvert)->Apply(heights);
BENCHMARK_CAPTURE(compare, zoomedFrame_libyuvZoom, zoomedFrame, libyuvZoom)->Apply(heights);
BENCHMARK_CAPTURE(compare, zoomedFrame_swscaleZoom, zoomedFrame, swscaleZoom)->Apply(heights);
BENCHMARK_CAPTURE(compare, frameWithEffects_frame, frameWithEffects, frame)->Apply(heights);
BENCHMARK_CAPTURE(compare, cameraTile_frame, cameraTile, frame)->Apply(heights);
BENCHMARK_CAPTURE(compare, zoomedFrameWithEffects_zoomedFrame, zoomedFrameWithEffects, zoomedFrame)
    ->Apply(heights);

}  // namespace

BENCHMARK_MAIN();
