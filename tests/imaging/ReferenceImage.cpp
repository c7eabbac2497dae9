#include "imaging/ReferenceImage.h"

#include "imaging/ImageContext.h"
#include "imaging/PixelBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace kasto::test {

namespace {

Rgba premultiplied(const Color& c) { return {c.red * c.alpha, c.green * c.alpha, c.blue * c.alpha, c.alpha}; }

Rgba sum(const Rgba& a, double weightA, const Rgba& b, double weightB) {
    Rgba result;
    for (std::size_t i = 0; i < 4; ++i) result[i] = a[i] * weightA + b[i] * weightB;
    return result;
}

Rgba texel(const PixelBuffer& buffer, int column, int row) {
    const auto word =
        pixelAt(buffer, std::clamp(column, 0, buffer.width() - 1), std::clamp(row, 0, buffer.height() - 1));
    const auto channel = [&](int shift) { return (word >> shift & 0xFF) / 255.0; };
    return {channel(16), channel(8), channel(0), buffer.format() == PixelFormat::bgrx ? 1 : channel(24)};
}

// The mean over a box around a place, of a picture that is constant over each pixel. A box as wide as one
// pixel amounts to bilinear interpolation.
Rgba mean(const PixelBuffer& buffer, double x, double y, double width, double height) {
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

}  // namespace

ReferenceImage ReferenceImage::color(const Color& color) {
    return {Image::color(color), [=](Point, Vector) { return premultiplied(color); }};
}

ReferenceImage ReferenceImage::radialGradient(Point center, double radius0, const Color& inner,
                                              double radius1, const Color& outer) {
    return {Image::radialGradient(center, radius0, inner, radius1, outer), [=](Point at, Vector) {
                const double distance = std::hypot(at.x - center.x, at.y - center.y);
                const double place = std::clamp((distance - radius0) / (radius1 - radius0), 0.0, 1.0);
                return sum(premultiplied(inner), 1 - place, premultiplied(outer), place);
            }};
}

ReferenceImage ReferenceImage::pixels(const PixelBufferRef& buffer) {
    return {Image::pixels(buffer), [=](Point at, Vector scale) {
                const bool isInside =
                    at.x >= 0 && at.y >= 0 && at.x < buffer->width() && at.y < buffer->height();
                if (!isInside) return Rgba{};
                return mean(*buffer, at.x, buffer->height() - at.y, std::max(1.0, 1 / scale.dx),
                            std::max(1.0, 1 / scale.dy));
            }};
}

ReferenceImage ReferenceImage::cropped(const Rect& rect) const {
    return {image.cropped(rect),
            [rect, inner = look](Point at, Vector scale) {
                return rect.contains(at) ? inner(at, scale) : Rgba{};
            },
            mixes};
}

ReferenceImage ReferenceImage::translated(double dx, double dy) const {
    return {image.translated(dx, dy),
            [dx, dy, inner = look](Point at, Vector scale) {
                return inner({at.x - dx, at.y - dy}, scale);
            },
            mixes};
}

ReferenceImage ReferenceImage::scaled(double sx, double sy) const {
    return {image.scaled(sx, sy),
            [sx, sy, inner = look](Point at, Vector scale) {
                return inner({at.x / sx, at.y / sy}, {scale.dx * sx, scale.dy * sy});
            },
            mixes};
}

ReferenceImage ReferenceImage::over(const ReferenceImage& background) const {
    return {image.over(background.image),
            [front = look, back = background.look](Point at, Vector scale) {
                const Rgba color = front(at, scale);
                return sum(color, 1, back(at, scale), 1 - color[3]);
            },
            mixes + background.mixes + 1};
}

ReferenceImage ReferenceImage::blend(const ReferenceImage& foreground, const ReferenceImage& background,
                                     const ReferenceImage& mask) {
    return {Image::blend(foreground.image, background.image, mask.image),
            [front = foreground.look, back = background.look, mask = mask.look](Point at, Vector scale) {
                const double alpha = mask(at, scale)[3];
                return sum(front(at, scale), alpha, back(at, scale), 1 - alpha);
            },
            foreground.mixes + background.mixes + mask.mixes + 1};
}

PixelBufferRef drawn(PixelFormat format, int width, int height,
                     const std::function<std::uint32_t(int, int)>& pixel) {
    auto buffer = PixelBuffer::make(format, width, height);
    const Plane& plane = buffer->plane(0);
    for (int row = 0; row < height; ++row) {
        auto* line = reinterpret_cast<std::uint32_t*>(plane.data + row * plane.strideBytes);
        for (int column = 0; column < width; ++column) line[column] = pixel(column, row);
    }
    return buffer;
}

PixelBufferRef noise(PixelFormat format, int width, int height, unsigned seed) {
    std::mt19937 random(seed);
    return drawn(format, width, height, [&](int, int) -> std::uint32_t {
        if (format == PixelFormat::bgrx) return static_cast<std::uint32_t>(random());
        const auto alpha = static_cast<std::uint32_t>(random() % 256);
        const auto channel = [&] { return static_cast<std::uint32_t>(random() % (alpha + 1)); };
        return channel() | channel() << 8 | channel() << 16 | alpha << 24;
    });
}

std::uint32_t pixelAt(const PixelBuffer& buffer, int column, int row) {
    const Plane& plane = buffer.plane(0);
    return reinterpret_cast<const std::uint32_t*>(plane.data + row * plane.strideBytes)[column];
}

namespace {

// BT.709 limited range in real numbers, of colours 0 to 1.
std::array<double, 3> yuvOf(const Rgba& color) {
    const double luma = 0.2126 * color[0] + 0.7152 * color[1] + 0.0722 * color[2];
    return {16 + 219 * luma, 128 + 224 * (color[2] - luma) / (2 * (1 - 0.0722)),
            128 + 224 * (color[0] - luma) / (2 * (1 - 0.2126))};
}

struct Worst {
    double error = 0;
    std::string where;

    void add(double expected, int actual, int plane, int column, int row) {
        const double now = std::abs(expected - actual);
        if (now <= error) return;
        error = now;
        where = "plane " + std::to_string(plane) + " at " + std::to_string(column) + "," +
                std::to_string(row) + ": " + std::to_string(actual) + " for " + std::to_string(expected);
    }
};

Rgba colorOf(const ReferenceImage& expected, const Rect& bounds, int column, int row) {
    return expected.look({bounds.x + column + 0.5, bounds.maxY() - row - 0.5}, {1, 1});
}

Worst comparePacked(const ReferenceImage& expected, const PixelBuffer& target, const Rect& bounds) {
    Worst worst;
    for (int row = 0; row < target.height(); ++row) {
        for (int column = 0; column < target.width(); ++column) {
            const Rgba color = colorOf(expected, bounds, column, row);
            const auto word = pixelAt(target, column, row);
            const int channels = target.format() == PixelFormat::bgrx ? 3 : 4;
            for (int i = 0; i < channels; ++i) {
                const int shift = i == 3 ? 24 : 16 - 8 * i;
                worst.add(255 * color[static_cast<std::size_t>(i)], word >> shift & 0xFF, i, column, row);
            }
        }
    }
    return worst;
}

Worst comparePlanar(const ReferenceImage& expected, const PixelBuffer& target, const Rect& bounds) {
    Worst worst;
    const auto sample = [&](int plane, int column, int row) {
        return target.plane(plane).data[row * target.plane(plane).strideBytes + column];
    };
    for (int row = 0; row < target.height(); row += 2) {
        for (int column = 0; column < target.width(); column += 2) {
            Rgba mean{};
            for (int i = 0; i < 4; ++i) {
                const int x = column + i % 2;
                const int y = row + i / 2;
                const Rgba color = colorOf(expected, bounds, x, y);
                worst.add(yuvOf(color)[0], sample(0, x, y), 0, x, y);
                mean = sum(mean, 1, color, 0.25);
            }
            const auto yuv = yuvOf(mean);
            worst.add(yuv[1], sample(1, column / 2, row / 2), 1, column / 2, row / 2);
            worst.add(yuv[2], sample(2, column / 2, row / 2), 2, column / 2, row / 2);
        }
    }
    return worst;
}

}  // namespace

void expectLooksAs(const ReferenceImage& expected, PixelFormat format, const Rect& bounds,
                   std::optional<double> tolerance) {
    const auto target =
        PixelBuffer::make(format, static_cast<int>(bounds.width), static_cast<int>(bounds.height));
    for (int i = 0; i < target->planeCount(); ++i) {
        const Plane& plane = target->plane(i);
        std::fill_n(plane.data, plane.strideBytes * plane.height, 77);  // what was there before
    }
    ImageContext(1).render(expected.image, *target, bounds);

    // Half a level for each rounding to bytes: two along the axes of a picture that is resampled, one for
    // every mix; a little more for the weights. Conversion takes less than nine tenths of it and rounds once.
    const double packed = 1.05 + 0.55 * expected.mixes;
    const bool isPlanar = format == PixelFormat::i420;
    const Worst worst =
        isPlanar ? comparePlanar(expected, *target, bounds) : comparePacked(expected, *target, bounds);
    EXPECT_LE(worst.error, tolerance.value_or(isPlanar ? 0.9 * packed + 0.55 : packed)) << worst.where;
}

}  // namespace kasto::test
