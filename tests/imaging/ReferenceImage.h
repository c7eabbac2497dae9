#pragma once

#include "imaging/BlockSet.h"
#include "imaging/Image.h"
#include "imaging/render/ImageContext.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace kasto::test {

// Red, green, blue, alpha; premultiplied; 0 to 1.
using Rgba = std::array<double, 4>;

inline Rgba premultiplied(const Color& c) {
    return {c.red * c.alpha, c.green * c.alpha, c.blue * c.alpha, c.alpha};
}

inline Rgba sum(const Rgba& a, double weightA, const Rgba& b, double weightB) {
    Rgba result;
    for (std::size_t i = 0; i < 4; ++i) result[i] = a[i] * weightA + b[i] * weightB;
    return result;
}

inline Rgba texel(const PixelBuffer& buffer, int column, int row) {
    const Plane& plane = buffer.plane(0);
    const auto* pixel = plane.data + std::clamp(row, 0, plane.height - 1) * plane.strideBytes +
                        4 * std::clamp(column, 0, plane.width - 1);
    return {pixel[2] / 255.0, pixel[1] / 255.0, pixel[0] / 255.0,
            buffer.format() == PixelFormat::bgrx ? 1 : pixel[3] / 255.0};
}

// The mean over a box around a place, of a picture that is constant over each pixel. A box as wide as one
// pixel amounts to bilinear interpolation.
inline Rgba mean(const PixelBuffer& buffer, double x, double y, double width, double height) {
    Rgba total{};
    for (int row = static_cast<int>(std::floor(y - height / 2)); row < y + height / 2; ++row) {
        const double tall = std::min(row + 1.0, y + height / 2) - std::max<double>(row, y - height / 2);
        for (int column = static_cast<int>(std::floor(x - width / 2)); column < x + width / 2; ++column) {
            const double wide =
                std::min(column + 1.0, x + width / 2) - std::max<double>(column, x - width / 2);
            total = sum(total, 1, texel(buffer, column, row), wide * tall / (width * height));
        }
    }
    return total;
}

// An image together with what it should look like: every operation is done twice, once by the image and once
// as arithmetic on single points in double precision.
struct ReferenceImage {
    // The colour at a point of image space, and how many target pixels one unit is wide and high there.
    using Look = std::function<Rgba(Point at, Vector scale)>;

    static ReferenceImage color(const Color& color) {
        return {Image::color(color), [=](Point, Vector) { return premultiplied(color); }};
    }

    static ReferenceImage radialGradient(Point center, double radius0, const Color& inner, double radius1,
                                         const Color& outer) {
        return {Image::radialGradient(center, radius0, inner, radius1, outer), [=](Point at, Vector) {
                    const double distance = std::hypot(at.x - center.x, at.y - center.y);
                    const double place = std::clamp((distance - radius0) / (radius1 - radius0), 0.0, 1.0);
                    return sum(premultiplied(inner), 1 - place, premultiplied(outer), place);
                }};
    }

    static ReferenceImage pixels(const PixelBufferRef& buffer, const Disc& disc = {}) {
        return {Image::pixels(buffer, disc), [=](Point at, Vector scale) {
                    const bool isInside =
                        at.x >= 0 && at.y >= 0 && at.x < buffer->width() && at.y < buffer->height();
                    if (!isInside) return Rgba{};
                    return mean(*buffer, at.x, buffer->height() - at.y, std::max(1.0, 1 / scale.dx),
                                std::max(1.0, 1 / scale.dy));
                }};
    }

    ReferenceImage cropped(const Rect& rect) const {
        const auto inside = [rect, inner = look](Point at, Vector scale) {
            return rect.contains(at) ? inner(at, scale) : Rgba{};
        };
        return {image.cropped(rect), inside, mixes};
    }

    ReferenceImage translated(double dx, double dy) const {
        const auto moved = [dx, dy, inner = look](Point at, Vector scale) {
            return inner({at.x - dx, at.y - dy}, scale);
        };
        return {image.translated(dx, dy), moved, mixes};
    }

    ReferenceImage scaled(double sx, double sy) const {
        const auto enlarged = [sx, sy, inner = look](Point at, Vector scale) {
            return inner({at.x / sx, at.y / sy}, {scale.dx * sx, scale.dy * sy});
        };
        return {image.scaled(sx, sy), enlarged, mixes};
    }

    ReferenceImage over(const ReferenceImage& background) const {
        return {image.over(background.image),
                [front = look, back = background.look](Point at, Vector scale) {
                    const Rgba color = front(at, scale);
                    return sum(color, 1, back(at, scale), 1 - color[3]);
                },
                mixes + background.mixes + 1};
    }

    static ReferenceImage blend(const ReferenceImage& foreground, const ReferenceImage& background,
                                const ReferenceImage& mask) {
        return {Image::blend(foreground.image, background.image, mask.image),
                [front = foreground.look, back = background.look, mask = mask.look](Point at, Vector scale) {
                    const double alpha = mask(at, scale)[3];
                    return sum(front(at, scale), alpha, back(at, scale), 1 - alpha);
                },
                foreground.mixes + background.mixes + mask.mixes + 1};
    }

    Image image;
    Look look = [](Point, Vector) { return Rgba{}; };
    int mixes = 0;  // overs and blends one above the other, each of which rounds once
};

constexpr std::uint8_t kBefore = 77;

// A buffer without a byte to spare, full of that, so that reading or writing beyond its rows is found.
inline PixelBufferRef tightBuffer(PixelFormat format, int width, int height) {
    const bool isPlanar = format == PixelFormat::i420;
    const int samples = width * height;
    std::vector memory(static_cast<std::size_t>(isPlanar ? samples * 3 / 2 : samples * 4), kBefore);
    const Plane planes[] = {{memory.data(), isPlanar ? width : width * 4, width, height},
                            {memory.data() + samples, width / 2, width / 2, height / 2},
                            {memory.data() + samples / 4 * 5, width / 2, width / 2, height / 2}};
    return PixelBuffer::wrap(format, width, height, std::span(planes, isPlanar ? 3 : 1),
                             [kept = std::move(memory)] {});
}

// A buffer whose pixels are given as words 0xAARRGGBB by column and row.
inline PixelBufferRef drawn(PixelFormat format, int width, int height,
                            const std::function<std::uint32_t(int, int)>& pixel) {
    auto buffer = tightBuffer(format, width, height);
    const Plane& plane = buffer->plane(0);
    for (int row = 0; row < height; ++row) {
        auto* line = reinterpret_cast<std::uint32_t*>(plane.data + row * plane.strideBytes);
        for (int column = 0; column < width; ++column) line[column] = pixel(column, row);
    }
    return buffer;
}

// A buffer of reproducible noise; alpha is premultiplied, or rubbish for bgrx.
inline PixelBufferRef noise(PixelFormat format, int width, int height, unsigned seed) {
    std::mt19937 random(seed);
    return drawn(format, width, height, [&](int, int) -> std::uint32_t {
        if (format == PixelFormat::bgrx) return static_cast<std::uint32_t>(random());
        const auto alpha = static_cast<std::uint32_t>(random() % 256);
        const auto channel = [&] { return static_cast<std::uint32_t>(random() % (alpha + 1)); };
        return channel() | channel() << 8 | channel() << 16 | alpha << 24;
    });
}

// BT.709 limited range in real numbers, of colours 0 to 1.
inline std::array<double, 3> yuvOf(const Rgba& color) {
    const double luma = 0.2126 * color[0] + 0.7152 * color[1] + 0.0722 * color[2];
    return {16 + 219 * luma, 128 + 224 * (color[2] - luma) / (2 * (1 - 0.0722)),
            128 + 224 * (color[0] - luma) / (2 * (1 - 0.2126))};
}

// Renders with several threads and compares every sample of the target, whose size `bounds` gives. No more
// than `tolerance` levels may be between them; by default, what the image's operations may lose by rounding.
// Where `only` some blocks are drawn, the others must stay as they were.
inline void expectLooksAs(const ReferenceImage& expected, PixelFormat format, const Rect& bounds,
                          std::optional<double> tolerance = {}, const BlockSet* only = nullptr) {
    static ImageContext context(3);
    const int width = static_cast<int>(bounds.width);
    const int height = static_cast<int>(bounds.height);
    const auto target = tightBuffer(format, width, height);
    only ? context.render(expected.image, *target, bounds, *only)
         : context.render(expected.image, *target, bounds);

    double worst = 0;
    std::string where;
    const auto compare = [&](int plane, int byte, int row, double wanted) {
        const int actual = target->plane(plane).data[row * target->plane(plane).strideBytes + byte];
        const double error = std::abs(wanted - actual);
        if (error <= worst) return;
        worst = error;
        where = "plane " + std::to_string(plane) + " at " + std::to_string(byte) + "," + std::to_string(row) +
                ": " + std::to_string(actual) + " for " + std::to_string(wanted);
    };
    const bool isPlanar = format == PixelFormat::i420;
    const auto extent = expected.image.extent();
    std::vector<Rgba> means(static_cast<std::size_t>(width));  // of the samples that share their chroma
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < width; ++column) {
            const bool isDrawn = !only || only->contains(column / 16, row / 16);
            const Point at{bounds.x + column + 0.5, bounds.maxY() - row - 0.5};
            const Rgba color = isDrawn ? expected.look(at, {1, 1}) : Rgba{};
            EXPECT_TRUE(!extent || extent->contains(at) || color == Rgba{}) << "seen outside the extent";
            if (!isPlanar) {
                for (int i = 0; i < (format == PixelFormat::bgrx ? 3 : 4); ++i)
                    compare(0, 4 * column + i, row,
                            isDrawn ? 255 * color[static_cast<std::size_t>(i == 3 ? 3 : 2 - i)] : kBefore);
                continue;
            }
            compare(0, column, row, isDrawn ? yuvOf(color)[0] : kBefore);
            auto& mean = means[static_cast<std::size_t>(column / 2)];
            mean = sum(row % 2 + column % 2 ? mean : Rgba{}, 1, color, 0.25);
            if (row % 2 == 0 || column % 2 == 0) continue;
            for (const int plane : {1, 2})
                compare(plane, column / 2, row / 2,
                        isDrawn ? yuvOf(mean)[static_cast<std::size_t>(plane)] : kBefore);
        }
    }
    // Half a level for each rounding to bytes: two along the axes of a picture that is resampled, one for
    // every mix, whose alpha was rounded too; a little more for the weights. Conversion takes less than nine
    // tenths of it and rounds once.
    const double packed = 1.05 + 0.9 * expected.mixes;
    EXPECT_LE(worst, tolerance.value_or(isPlanar ? 0.9 * packed + 0.55 : packed)) << where;
}

}  // namespace kasto::test
