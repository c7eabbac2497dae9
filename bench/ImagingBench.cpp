// Frames as they are composed for a movie, on one thread, beside what other libraries take for the plain
// part of the work. Names end in the height of the frame; bench/imaging-ratios sets them in relation.

#include "AllocationCount.h"
#include "imaging/Image.h"
#include "imaging/ImageContext.h"
#include "imaging/PixelBuffer.h"

#include <benchmark/benchmark.h>
#include <libyuv.h>

extern "C" {
#include <libswscale/swscale.h>
}

#include <cstdint>
#include <memory>
#include <random>

namespace {

using namespace kasto;

constexpr Color kPulse{0.92, 0.26, 0.30, 0.6};
constexpr Color kPulseEdge{0.92, 0.26, 0.30, 0};
constexpr Color kWhite{1, 1, 1, 1};
constexpr Color kClearWhite{1, 1, 1, 0};
constexpr Color kBorder{0.05, 0.05, 0.06, 1};
constexpr int kPulseCount = 24;

struct View {
    double zoom;
    Point originPx;
};

// Large even areas, edges and some noise, as on a desktop.
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
          camera_(desktopPicture(1280, 720)),
          target_(PixelBuffer::make(PixelFormat::i420, width_, height)) {}

    int width() const { return width_; }
    int height() const { return height_; }
    const PixelBuffer& screen() const { return *screen_; }
    PixelBuffer& target() { return *target_; }
    Rect bounds() const { return {0, 0, static_cast<double>(width_), static_cast<double>(height_)}; }

    Image frame(const View& view, bool hasEffects) const {
        Image image = Image::pixels(screen_);
        if (hasEffects) image = withPulses(std::move(image));
        image = image.cropped({view.originPx.x, view.originPx.y, width_ / view.zoom, height_ / view.zoom})
                    .translated(-view.originPx.x, -view.originPx.y)
                    .scaled(view.zoom, view.zoom);
        return hasEffects ? withTile(image) : image;
    }

private:
    // Pulses of every age, in the part of the picture that is seen when zoomed in as well as outside.
    Image withPulses(Image image) const {
        const double scale = height_ > 1440 ? 2 : 1;
        for (int i = 0; i < kPulseCount; ++i) {
            const Point at{width_ * (0.06 + 0.037 * i), height_ * (0.1 + 0.8 * (i * 7 % 24) / 24)};
            const double radius = scale * (14 + (58.0 - 14) * i / (kPulseCount - 1));
            const double half = radius + 2;
            image = Image::radialGradient(at, 0.55 * radius, kPulse, radius, kPulseEdge)
                        .cropped({at.x - half, at.y - half, 2 * half, 2 * half})
                        .over(image);
        }
        return image;
    }

    Image withTile(const Image& image) const {
        const double side = width_ * 0.2;
        const double border = std::max(width_ / 800.0, 3.0);
        const Rect tile{width_ - side - 24, 24, side, side};
        const double scale = side / 720;
        const Image camera = Image::pixels(camera_)
                                 .scaled(scale, scale)
                                 .translated(tile.midX() - 640 * scale, tile.y)
                                 .cropped(tile);
        const auto disc = [&](double radius) {
            return Image::radialGradient({tile.midX(), tile.midY()}, radius - 1, kWhite, radius + 1,
                                         kClearWhite)
                .cropped(bounds());
        };
        const Image framed =
            Image::blend(Image::color(kBorder).cropped(tile.grown(border)), image, disc(border + side / 2));
        return Image::blend(camera, framed, disc(side / 2));
    }

    int height_;
    int width_;
    PixelBufferRef screen_;
    PixelBufferRef camera_;
    PixelBufferRef target_;
};

View whole() { return {1, {0, 0}}; }

View zoomed(const Scene& scene) { return {2, {scene.width() * 0.22 + 0.37, scene.height() * 0.24 + 0.61}}; }

void render(benchmark::State& state, double zoom, bool hasEffects) {
    Scene scene(static_cast<int>(state.range(0)));
    ImageContext context(1);
    const View view = zoom == 1 ? whole() : zoomed(scene);
    const auto once = [&] { context.render(scene.frame(view, hasEffects), scene.target(), scene.bounds()); };
    once();
    const long before = bench::allocationCount();
    for (auto _ : state) once();
    // The loop itself allocates nothing; whatever was counted belongs to the frames.
    if (bench::allocationCount() != before) state.SkipWithError("a frame allocates memory");
}

void frame(benchmark::State& state) { render(state, 1, false); }
void frameWithEffects(benchmark::State& state) { render(state, 1, true); }
void zoomedFrame(benchmark::State& state) { render(state, 2, false); }
void zoomedFrameWithEffects(benchmark::State& state) { render(state, 2, true); }

void convertByLibyuv(const std::uint8_t* pixels, int stride, PixelBuffer& target) {
    const Plane& y = target.plane(0);
    const Plane& u = target.plane(1);
    const Plane& v = target.plane(2);
    libyuv::ARGBToI420(pixels, stride, y.data, static_cast<int>(y.strideBytes), u.data,
                       static_cast<int>(u.strideBytes), v.data, static_cast<int>(v.strideBytes),
                       target.width(), target.height());
}

void libyuvConvert(benchmark::State& state) {
    Scene scene(static_cast<int>(state.range(0)));
    const Plane& screen = scene.screen().plane(0);
    for (auto _ : state) convertByLibyuv(screen.data, static_cast<int>(screen.strideBytes), scene.target());
}

const std::uint8_t* zoomedOrigin(const Scene& scene) {
    const Plane& screen = scene.screen().plane(0);
    const Point origin = zoomed(scene).originPx;
    return screen.data + static_cast<int>(origin.y) * screen.strideBytes + static_cast<int>(origin.x) * 4;
}

void libyuvZoom(benchmark::State& state) {
    Scene scene(static_cast<int>(state.range(0)));
    const auto scaled = PixelBuffer::make(PixelFormat::bgrx, scene.width(), scene.height());
    const int from = static_cast<int>(scene.screen().plane(0).strideBytes);
    const int to = static_cast<int>(scaled->plane(0).strideBytes);
    for (auto _ : state) {
        libyuv::ARGBScale(zoomedOrigin(scene), from, scene.width() / 2, scene.height() / 2,
                          scaled->plane(0).data, to, scene.width(), scene.height(), libyuv::kFilterBilinear);
        convertByLibyuv(scaled->plane(0).data, to, scene.target());
    }
}

void swscaleZoom(benchmark::State& state) {
    Scene scene(static_cast<int>(state.range(0)));
    struct Free {
        void operator()(SwsContext* context) const { sws_freeContext(context); }
    };
    const std::unique_ptr<SwsContext, Free> context(
        sws_getContext(scene.width() / 2, scene.height() / 2, AV_PIX_FMT_BGR0, scene.width(), scene.height(),
                       AV_PIX_FMT_YUV420P, SWS_BILINEAR, nullptr, nullptr, nullptr));
    if (!context) return state.SkipWithError("no swscale context");
    const std::uint8_t* const from[] = {zoomedOrigin(scene)};
    const int fromStrides[] = {static_cast<int>(scene.screen().plane(0).strideBytes)};
    std::uint8_t* to[3];
    int toStrides[3];
    for (int i = 0; i < 3; ++i) {
        to[i] = scene.target().plane(i).data;
        toStrides[i] = static_cast<int>(scene.target().plane(i).strideBytes);
    }
    for (auto _ : state) sws_scale(context.get(), from, fromStrides, 0, scene.height() / 2, to, toStrides);
}

void heights(benchmark::internal::Benchmark* benchmark) {
    for (const int height : {720, 1080, 1440, 2160}) benchmark->Arg(height);
    benchmark->Unit(benchmark::kMicrosecond);
}

BENCHMARK(frame)->Apply(heights);
BENCHMARK(libyuvConvert)->Apply(heights);
BENCHMARK(zoomedFrame)->Apply(heights);
BENCHMARK(libyuvZoom)->Apply(heights);
BENCHMARK(swscaleZoom)->Apply(heights);
BENCHMARK(frameWithEffects)->Apply(heights);
BENCHMARK(zoomedFrameWithEffects)->Apply(heights);

}  // namespace

BENCHMARK_MAIN();
