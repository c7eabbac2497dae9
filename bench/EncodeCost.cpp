// Measures what one picture of a take costs the software encoder, in processor time of all threads, and how
// near the coded picture comes to the original.

#include "movie/h264/EncoderPreset.h"
#include "movie/h264/SoftwareEncoder.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <random>
#include <vector>

namespace kasto {
namespace {

constexpr int kPictures = 60;

enum Content { stillText, scrolledText, zoomedText };

// A page of dark strokes on white, twice as large as the picture.
struct Page {
    int width, height;
    std::vector<std::uint8_t> luma;

    Page(int pageWidth, int pageHeight)
        : width(pageWidth), height(pageHeight), luma(static_cast<std::size_t>(width * height), 235) {
        std::minstd_rand random(1);
        for (int y = 4; y + 20 < height; y += 20)
            for (int x = 0; x + 10 < width; x += 10)
                for (int stroke = 0; random() % 6 != 0 && stroke < 4; ++stroke) drawStroke(x, y, random);
    }

    void drawStroke(int x, int y, std::minstd_rand& random) {
        const bool upright = random() % 2 != 0;
        x += static_cast<int>(random() % 4);
        y += static_cast<int>(random() % 9);
        for (int i = 0; i < 5; ++i) at(upright ? x : x + i, upright ? y + i : y) = 40;
    }

    std::uint8_t& at(int x, int y) { return luma[static_cast<std::size_t>(y * width + x)]; }

    std::uint8_t between(double x, double y) {
        const int left = static_cast<int>(x), top = static_cast<int>(y);
        const double dx = x - left, dy = y - top;
        const double above = at(left, top) * (1 - dx) + at(left + 1, top) * dx;
        const double below = at(left, top + 1) * (1 - dx) + at(left + 1, top + 1) * dx;
        return static_cast<std::uint8_t>(std::lround(above * (1 - dy) + below * dy));
    }
};

std::vector<PixelBufferRef> makePictures(Content content, int width, int height) {
    Page page(2 * width, 2 * height);
    std::vector<PixelBufferRef> pictures;
    for (int i = 0; i < (content == stillText ? 1 : kPictures); ++i) {
        auto picture = PixelBuffer::make(PixelFormat::i420, width, height);
        const double zoom = content == zoomedText ? 1 + i / 60.0 : 1;
        for (int p = 0; p < 3; ++p) {
            const auto& plane = picture->plane(p);
            for (int y = 0; y < plane.height; ++y)
                for (int x = 0; x < plane.width; ++x)
                    plane.data[y * plane.strideBytes + x] =
                        p ? 128 : page.between(i * 9.25 + x / zoom, i * 4.5 + y / zoom);
        }
        pictures.push_back(std::move(picture));
    }
    return pictures;
}

void encodeCost(benchmark::State& state, std::size_t preset, Content content, int width, int height) {
    VideoInputSettings settings{.width = width,
                                .height = height,
                                .averageBitRate = static_cast<std::int64_t>(width * height * 60 * 0.08),
                                .maxKeyFrameInterval = 120,
                                .expectedFrameRate = 60};
    const auto pictures = makePictures(content, width, height);
    auto encoder = openSoftwareEncoderWithPreset(settings, preset).value();
    const auto everywhere = BlockSet::all(width, height);
    std::int64_t timeUnits = 0;
    std::size_t bytes = 0;
    const PictureSink count = [&](const EncodedPicture& picture) { bytes += picture.data.size(); };
    for (auto unused : state) {
        const auto index = static_cast<std::size_t>(timeUnits / 10) % (2 * pictures.size());
        const auto& picture = pictures[std::min(index, 2 * pictures.size() - 1 - index)];
        const PictureToEncode taken{.pixels = picture, .timeUnits = timeUnits, .changed = everywhere};
        if (!encoder->encode(taken, count)) state.SkipWithError("the encoder failed");
        timeUnits += 10;
    }
    if (!encoder->finish(count)) state.SkipWithError("the encoder failed");
    state.counters["kbit/s"] = static_cast<double>(bytes) * 8 * 600 / static_cast<double>(timeUnits) / 1000;
}

#define ENCODE_COST(preset, number)                                                                     \
    BENCHMARK_CAPTURE(encodeCost, preset##_still, number, stillText, 1920, 1080)->Apply(measure);       \
    BENCHMARK_CAPTURE(encodeCost, preset##_scrolled, number, scrolledText, 1920, 1080)->Apply(measure); \
    BENCHMARK_CAPTURE(encodeCost, preset##_zoomed, number, zoomedText, 1920, 1080)->Apply(measure)

void measure(benchmark::internal::Benchmark* benchmark) {
    benchmark->MeasureProcessCPUTime()->Iterations(300)->Unit(benchmark::kMillisecond);
}

ENCODE_COST(ultrafast, 2);
ENCODE_COST(superfast, 1);
ENCODE_COST(veryfast, 0);

}  // namespace
}  // namespace kasto

BENCHMARK_MAIN();
