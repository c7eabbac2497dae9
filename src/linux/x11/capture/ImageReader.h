#pragma once

#include "linux/x11/capture/PictureSet.h"
#include "linux/x11/server/Connection.h"

#include <xcb/shm.h>

#include <optional>
#include <vector>

namespace kasto::x11 {

enum class ReadMethod {
    best,        // the server copies straight into the pictures where it can
    imagesOnly,  // only what every server with shared memory can
};

// Reads parts of a window or pixmap into a picture, all requests under way at a time. One thread.
class ImageReader {
public:
    ImageReader(const Connection& connection, ReadMethod way);

    // Asks for a part (in pixels of the picture) of a drawable that holds the picture at (dx, dy). May read
    // more where that is cheaper; all that is read, and undefined until `finish`. Blocks only if it does not
    // fit the scratch memory at once.
    Result<Region> request(std::uint32_t drawable, int dx, int dy, const Region& part,
                           const PictureSet& pictures, Picture& into);

    // The same for exactly this part of a pixmap of the picture's size; where it overlaps an earlier request,
    // it wins.
    Result<void> requestExactly(std::uint32_t pixmap, const Region& part, const PictureSet& pictures,
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
    enum class Place { inPlace, viaScratch };

    void copyInServer(std::uint32_t drawable, int dx, int dy, const Region& part, const PictureSet& pictures,
                      Picture& into);
    Result<void> ask(std::uint32_t drawable, int dx, int dy, const PixelRect& rect, Place place,
                     const Region& part, const PictureSet& pictures, Picture& into);
    static void copyFromScratch(const Pending& read);

    const Connection& connection_;
    ServerObject<xcb_free_gc> copyGc_;  // none: the server has no pixmaps in shared memory
    Region copied_;                     // by the server, under way
    std::optional<SharedMemory> scratch_;
    std::size_t scratchUsed_ = 0;
    std::vector<Pending> pending_;
    Region refused_;
};

}  // namespace kasto::x11
