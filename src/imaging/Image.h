#pragma once

#include "base/Geometry.h"
#include "imaging/PixelBuffer.h"

#include <optional>

namespace kasto {

struct ImageNode;

// A picture that is a disc: opaque where a pixel's centre is nearer to the disc's than one radius,
// transparent from the other radius on.
struct Disc {
    Point center;
    double opaqueRadius = 0;
    double visibleRadius = 0;
};

// A colour in sRGB, not premultiplied; every component 0 to 1.
struct Color {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;
    bool operator==(const Color&) const = default;
};

// A recipe for a picture: an immutable value, cheap to copy. Nothing is drawn until ImageContext renders it.
//
// Image space has its origin at the bottom-left and y upward; a pixel buffer's last row lies at y 0. One unit
// is one pixel of the buffer, or of the render target. Outside its extent an image is transparent. Colours
// are mixed as they are encoded (sRGB), premultiplied.
//
// Any thread may make and drop images; making one takes its node from a pool and, once warm, allocates
// nothing.
class Image {
public:
    // The empty image: no extent, nothing to see.
    Image();
    Image(const Image& other);
    Image(Image&& other) noexcept;
    Image& operator=(Image other) noexcept;
    ~Image();

    // One colour everywhere; its extent is infinite.
    static Image color(const Color& color);

    // `inner` up to radius0 around the centre, from there on linearly to `outer` at radius1 and beyond; its
    // extent is infinite. Needs 0 <= radius0 < radius1, else the image is empty.
    static Image radialGradient(Point center, double radius0, const Color& inner, double radius1,
                                const Color& outer);

    // The picture in a buffer (bgra or bgrx); the extent is (0, 0, width, height). The buffer is kept until
    // the last image over it goes.
    static Image pixels(PixelBufferRef buffer);

    // The same, which the caller knows to be such a disc: neither what it hides nor what it does not show
    // need be drawn then.
    static Image pixels(PixelBufferRef buffer, const Disc& disc);

    // This image, seen inside the rectangle only. A pixel is inside when its centre is (half-open).
    Image cropped(const Rect& rect) const;

    Image translated(double dx, double dy) const;

    // Scaled about the origin; both factors positive. Enlarging samples bilinearly at exact fractional
    // places, reducing averages the area of each target pixel; pixels beyond a buffer's edge repeat the edge.
    Image scaled(double sx, double sy) const;

    // This image over `background` (source over); the extent is that of both.
    Image over(const Image& background) const;

    // `foreground` where the mask's alpha is 1, `background` where it is 0 (or the mask has no extent), mixed
    // between; the extent is that of both pictures.
    static Image blend(const Image& foreground, const Image& background, const Image& mask);

    // The area outside of which the image is transparent; none if it is infinite, an empty rectangle if there
    // is nothing at all.
    std::optional<Rect> extent() const;

private:
    friend class ImageContext;
    friend struct ImageNode;
    explicit Image(const ImageNode* node);  // takes over one count
    const ImageNode* node_ = nullptr;
};

}  // namespace kasto
