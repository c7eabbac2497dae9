#pragma once

#include "base/Geometry.h"
#include "imaging/PixelBuffer.h"

#include <optional>

namespace kasto {

struct ImageNode;

// The shape of a picture that is a disc: pixels whose centre is nearer to `center` than opaqueRadius are
// opaque, those at visibleRadius or beyond are transparent. In image space of the picture.
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

// A recipe for a picture: an immutable value that is cheap to copy. Nothing is drawn until an ImageContext
// renders it.
//
// Image space has its origin at the bottom-left and y upward; a pixel buffer's last row lies at y 0. One unit
// is one pixel of the buffer, or of the render target. Outside its extent an image is transparent. Colours
// are mixed as they are encoded (sRGB), premultiplied.
//
// Any thread may make and drop images. Nodes come from a pool, so making an image allocates nothing once the
// pool has grown.
class Image {
public:
    // The empty image: its extent is an empty rectangle.
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

    // The picture in a buffer (bgra or bgrx, else the image is empty); the extent is (0, 0, width, height).
    // Holds a reference to the buffer until the last image made from this one is dropped.
    static Image pixels(PixelBufferRef buffer);

    // The same for a picture that the caller knows to have the shape of `disc`. This saves drawing below its
    // opaque part and outside its visible part.
    static Image pixels(PixelBufferRef buffer, const Disc& disc);

    // This image inside the rectangle only. A pixel is inside when its centre is; the right and upper edges
    // do not belong to the rectangle.
    Image cropped(const Rect& rect) const;

    Image translated(double dx, double dy) const;

    // Scaled about the origin; empty unless both factors are positive. Enlarging filters bilinearly at exact
    // fractional positions, reducing averages over the area of each target pixel (box filter). Pixels beyond
    // a buffer's edge repeat the edge.
    Image scaled(double sx, double sy) const;

    // This image over `background` (source over); the extent is that of both.
    Image over(const Image& background) const;

    // `foreground` where the mask's alpha is 1, `background` where it is 0 or outside the mask's extent,
    // mixed in between; the extent is that of both pictures.
    static Image blend(const Image& foreground, const Image& background, const Image& mask);

    // The area outside of which the image is transparent; nullopt if it is infinite, an empty rectangle for
    // the empty image.
    std::optional<Rect> extent() const;

private:
    friend class ImageContext;
    friend struct ImageNode;
    explicit Image(const ImageNode* node);  // takes over one reference
    const ImageNode* node_ = nullptr;
};

}  // namespace kasto
