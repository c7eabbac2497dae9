#pragma once

#include "linux/x11/Connection.h"
#include "linux/x11/PictureSet.h"

#include <xcb/shm.h>

#include <optional>
#include <span>
#include <vector>

namespace kasto::x11 {

// Reads rectangles of a window or pixmap into a picture, all requests under way at a time. One thread.
class ImageReader {
public:
    explicit ImageReader(const Connection& connection) : connection_(connection) {}

    // Asks for rectangles (in pixels of the picture) of a drawable that holds the picture at (dx, dy). The
    // pixels in them are undefined until `finish`. Blocks only if they do not fit the scratch memory
    // together.
    Result<void> request(std::uint32_t drawable, int dx, int dy, std::span<const PixelRect> rects,
                         const PictureSet& pictures, Picture& into);

    // The same for the pixels of `part` only; where it overlaps an earlier request, it wins.
    Result<void> requestPart(std::uint32_t drawable, const Region& part, const PictureSet& pictures,
                             Picture& into);

    // Waits for all that was asked for; what the server refused to read, in pixels of the picture.
    Region finish();

private:
    struct Pending {
        xcb_shm_get_image_cookie_t cookie;
        PixelRect rect;
        Region part;                  // of the rectangle, what is copied from the scratch memory
        const std::uint8_t* scratch;  // none: it goes straight into place
        Picture* into;
        std::size_t strideBytes;
    };

    enum class Way { inPlace, viaScratch };
    Result<void> ask(std::uint32_t drawable, int dx, int dy, const PixelRect& rect, Way way,
                     const Region& part, const PictureSet& pictures, Picture& into);
    static void copyFromScratch(const Pending& read);

    const Connection& connection_;
    std::optional<SharedMemory> scratch_;
    std::size_t scratchUsed_ = 0;
    std::vector<Pending> pending_;
    Region refused_;
};

}  // namespace kasto::x11
