#pragma once

#include "linux/x11/capture/PictureSet.h"
#include "linux/x11/server/Connection.h"

#include <xcb/shm.h>

#include <optional>
#include <vector>

namespace kasto::x11 {

enum class ReadMethod {
    best,        // the server copies into the pictures as pixmaps, if it has pixmaps in shared memory
    imagesOnly,  // only images, which every server with shared memory has
};

// Reads parts of a window or pixmap into a picture. Requests are sent at once and waited for together, so
// that many rectangles cost one round trip. One thread.
class ImageReader {
public:
    ImageReader(const Connection& connection, ReadMethod method);

    // Requests a part (in pixels of the picture) of a drawable; the picture's corner is at (dx, dy) in it.
    // May read more than the part where that is cheaper. Returns the area that is read, which is undefined
    // until `finish`. Blocks only if the scratch memory is too small for all of it.
    Result<Region> request(std::uint32_t drawable, int dx, int dy, const Region& part,
                           const PictureSet& pictures, Picture& into);

    // Requests exactly this part of a pixmap of the picture's size. Where it overlaps an earlier request, it
    // overwrites what the earlier one read.
    Result<void> requestExactly(std::uint32_t pixmap, const Region& part, const PictureSet& pictures,
                                Picture& into);

    // Waits for all requests. Returns the area that the server refused to read, in pixels of the picture.
    Region finish();

private:
    struct Pending {
        xcb_shm_get_image_cookie_t cookie;
        PixelRect rect;
        Region part;                  // of the rectangle: what is copied from the scratch memory
        const std::uint8_t* scratch;  // none if the server writes into the picture itself
        Picture* into;
        std::size_t strideBytes;
    };
    enum class Target { picture, scratch };

    void copyInServer(std::uint32_t drawable, int dx, int dy, const Region& part, const PictureSet& pictures,
                      Picture& into);
    Result<void> ask(std::uint32_t drawable, int dx, int dy, const PixelRect& rect, Target target,
                     const Region& part, const PictureSet& pictures, Picture& into);
    static void copyFromScratch(const Pending& read);

    const Connection& connection_;
    ServerObject<xcb_free_gc> copyGc_;  // none if the server has no pixmaps in shared memory
    Region copied_;                     // requested as copies in the server and not yet waited for
    std::optional<SharedMemory> scratch_;
    std::size_t scratchUsed_ = 0;
    std::vector<Pending> pending_;
    Region refused_;
};

}  // namespace kasto::x11
